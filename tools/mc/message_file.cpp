#include "message_file.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <set>
#include <sstream>

namespace mc {
namespace {

std::string Trim(const std::string& s) {
    size_t b = 0, e = s.size();
    while (b < e && std::isspace(static_cast<unsigned char>(s[b]))) ++b;
    while (e > b && std::isspace(static_cast<unsigned char>(s[e - 1]))) --e;
    return s.substr(b, e - b);
}

std::string Lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    return s;
}

uint32_t ParseNumber(int line, const std::string& text) {
    std::string t = Trim(text);
    if (t.empty()) throw ParseError(line, "a number is missing");
    try {
        size_t used = 0;
        unsigned long long v = std::stoull(t, &used, 0);
        if (used != t.size() || v > 0xFFFFFFFFull) throw ParseError(line, "bad number '" + t + "'");
        return uint32_t(v);
    } catch (const std::logic_error&) {
        throw ParseError(line, "bad number '" + t + "'");
    }
}

// "(Name=0x3:SYMBOL Other=0x1)" -> {name -> value}; the optional ":SYMBOL"
// names a header symbol, which this tool does not need.
std::map<std::string, uint32_t> ParseNameList(int line, const std::string& body) {
    std::map<std::string, uint32_t> names;
    std::istringstream in(body);
    std::string item;
    while (in >> item) {
        size_t eq = item.find('=');
        if (eq == std::string::npos) throw ParseError(line, "expected Name=value in '" + item + "'");
        std::string value = item.substr(eq + 1);
        value = value.substr(0, value.find(':'));
        names[Lower(item.substr(0, eq))] = ParseNumber(line, value);
    }
    return names;
}

}  // namespace

MessageFile ParseMessageFile(const std::string& content) {
    std::vector<std::string> lines;
    {
        std::istringstream in(content);
        std::string l;
        while (std::getline(in, l)) {
            if (!l.empty() && l.back() == '\r') l.pop_back();
            lines.push_back(l);
        }
    }

    MessageFile file;
    std::map<std::string, uint32_t> severities = {{"success", 0}, {"informational", 1}, {"warning", 2}, {"error", 3}};
    std::map<std::string, uint32_t> facilities = {{"system", 0xFF}, {"application", 0xFFF}};
    std::set<std::string> languages;
    std::set<uint32_t> seen;

    uint32_t nextCode = 0, severity = 0, facility = 0;
    Message current;
    bool inMessage = false;

    for (size_t i = 0; i < lines.size(); ++i) {
        const int lineNo = int(i) + 1;
        std::string line = Trim(lines[i]);
        if (line.empty() || line[0] == ';') continue;

        size_t eq = line.find('=');
        if (eq == std::string::npos) throw ParseError(lineNo, "expected Keyword=value");
        std::string key = Lower(Trim(line.substr(0, eq)));
        std::string value = Trim(line.substr(eq + 1));

        if (key == "severitynames" || key == "facilitynames" || key == "languagenames") {
            // The list may span lines up to its closing parenthesis.
            while (value.find(')') == std::string::npos && i + 1 < lines.size()) {
                value += ' ';
                value += Trim(lines[++i]);
            }
            if (value.empty() || value.front() != '(' || value.back() != ')')
                throw ParseError(lineNo, "a name list must be enclosed in parentheses");
            auto names = ParseNameList(lineNo, value.substr(1, value.size() - 2));
            if (key == "severitynames") severities = names;
            else if (key == "facilitynames") for (auto& n : names) facilities[n.first] = n.second;
            else for (auto& n : names) languages.insert(n.first);
        } else if (key == "messageidtypedef") {
            file.idTypedef = value;
        } else if (key == "messageid") {
            inMessage = true;
            current = Message{};
            nextCode = value.empty() ? nextCode : ParseNumber(lineNo, value);
            if (nextCode > 0xFFFF) throw ParseError(lineNo, "a message code must fit in 16 bits");
        } else if (key == "severity" || key == "facility") {
            if (!inMessage) throw ParseError(lineNo, key + " outside a message");
            auto& table = key == "severity" ? severities : facilities;
            auto it = table.find(Lower(value));
            if (it == table.end()) throw ParseError(lineNo, "unknown " + key + " '" + value + "'");
            (key == "severity" ? severity : facility) = it->second;
        } else if (key == "symbolicname") {
            if (!inMessage) throw ParseError(lineNo, "SymbolicName outside a message");
            current.symbol = value;
        } else if (key == "language") {
            if (!inMessage) throw ParseError(lineNo, "Language outside a message");
            if (!languages.empty() && !languages.count(Lower(value)))
                throw ParseError(lineNo, "unknown language '" + value + "'");
            std::string text;
            bool closed = false;
            while (++i < lines.size()) {
                std::string t = lines[i];
                if (!t.empty() && t.back() == '\r') t.pop_back();
                if (t == ".") {
                    closed = true;
                    break;
                }
                text += t + "\r\n";
            }
            if (!closed) throw ParseError(lineNo, "message text is not ended by a line holding '.'");
            current.id = (severity << 30) | (facility << 16) | nextCode;
            current.text = text;
            if (!seen.insert(current.id).second) throw ParseError(lineNo, "message number defined twice");
            file.messages.push_back(current);
            ++nextCode;
            inMessage = false;
        } else {
            throw ParseError(lineNo, "unknown keyword '" + key + "'");
        }
    }
    if (inMessage) throw ParseError(int(lines.size()), "message without text");
    return file;
}

}  // namespace mc
