// ostrel-rc -o <table.cpp> [--file TYPE ID PATH]... [--string ID TEXT]...
//           [--version A.B.C.D [--version-string NAME=TEXT]...]
//
// Writes the C++ source of a module's resource table: each --file as
// resource TYPE ID holding the file's bytes as they are (the platform's
// resource compiler stores a type library or a registry script that way),
// the --string entries as string-table blocks, and with --version a version
// block as RT_VERSION 1.
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>

#include "resource_source.h"
#include "string_table.h"
#include "utf16.h"
#include "version_info.h"

namespace {

struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

unsigned Number(const std::string& text, unsigned max) {
    size_t used = 0;
    unsigned long value = 0;
    try {
        value = std::stoul(text, &used, 0);
    } catch (const std::exception&) {
        used = 0;
    }
    if (used == 0 || used != text.size() || value > max) throw UsageError("not a number up to " + std::to_string(max) + ": " + text);
    return unsigned(value);
}

void ParseVersion(const std::string& text, unsigned short (&version)[4]) {
    std::istringstream parts(text);
    std::string part;
    for (int i = 0; i < 4; ++i) {
        if (!std::getline(parts, part, '.')) {
            if (i == 0) throw UsageError("not a version: " + text);
            break;  // missing parts are 0
        }
        version[i] = static_cast<unsigned short>(Number(part, 0xFFFF));
    }
    if (std::getline(parts, part)) throw UsageError("not a version: " + text);
}

std::vector<unsigned char> ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw std::runtime_error(path + ": cannot be read");
    std::ostringstream content;
    content << in.rdbuf();
    const std::string bytes = content.str();
    return std::vector<unsigned char>(bytes.begin(), bytes.end());
}

// Keeps the time stamp when nothing changed, so nothing rebuilds.
void WriteIfChanged(const std::string& path, const std::string& content) {
    std::ifstream old(path, std::ios::binary);
    if (old) {
        std::ostringstream s;
        s << old.rdbuf();
        if (s.str() == content) return;
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    if (!out.flush()) throw std::runtime_error(path + ": cannot be written");
}

bool IsTypeName(const std::string& type) {
    if (type.empty()) return false;
    for (char c : type)
        if (!(c >= 'A' && c <= 'Z') && !(c >= '0' && c <= '9') && c != '_') return false;
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        std::string output;
        std::vector<rc::Resource> resources;
        std::map<unsigned, std::u16string> strings;
        rc::VersionInfo version;
        bool hasVersion = false;
        for (int i = 1; i < argc; ++i) {
            const std::string a = argv[i];
            auto next = [&]() -> std::string {
                if (i + 1 >= argc) throw UsageError(a + " needs a value");
                return argv[++i];
            };
            if (a == "-o") {
                output = next();
            } else if (a == "--file") {
                const std::string type = next();
                const unsigned id = Number(next(), 0xFFFF);
                if (!IsTypeName(type)) throw UsageError("not a resource type name: " + type);
                resources.push_back({type, id, ReadFile(next())});
            } else if (a == "--string") {
                const unsigned id = Number(next(), 0xFFFF);
                if (!strings.emplace(id, rc::Utf16(next())).second) throw UsageError("string " + std::to_string(id) + " given twice");
            } else if (a == "--version") {
                ParseVersion(next(), version.version);
                hasVersion = true;
            } else if (a == "--version-string") {
                const std::string entry = next();
                const size_t equals = entry.find('=');
                if (equals == 0 || equals == std::string::npos) throw UsageError("not NAME=TEXT: " + entry);
                version.strings.emplace_back(rc::Utf16(entry.substr(0, equals)), rc::Utf16(entry.substr(equals + 1)));
            } else {
                throw UsageError("unknown argument: " + a);
            }
        }
        if (output.empty()) throw UsageError("no output file (-o)");
        if (!version.strings.empty() && !hasVersion) throw UsageError("--version-string without --version");

        for (auto& [block, data] : rc::StringTableBlocks(strings)) resources.push_back({"STRING", block, std::move(data)});
        if (hasVersion) resources.push_back({"VERSION", 1, rc::VersionBlock(version)});
        WriteIfChanged(output, rc::ResourceSource(resources));
    } catch (const UsageError& e) {
        std::cerr << "ostrel-rc: " << e.what() << "\n"
                  << "usage: ostrel-rc -o <table.cpp> [--file TYPE ID PATH]... [--string ID TEXT]...\n"
                  << "                 [--version A.B.C.D [--version-string NAME=TEXT]...]\n";
        return 2;
    } catch (const std::exception& e) {
        std::cerr << "ostrel-rc: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
