// ostrel-mc --header <file.h> [--resources <file.cpp>] <messages.mc>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <sstream>

#include "message_file.h"
#include "message_table.h"

namespace {

bool WriteIfChanged(const std::string& path, const std::string& content) {
    std::ifstream old(path, std::ios::binary);
    if (old) {
        std::stringstream s;
        s << old.rdbuf();
        if (s.str() == content) return true;  // keep the time stamp: nothing rebuilds
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out << content;
    return bool(out.flush());
}

int Usage() {
    std::cerr << "usage: ostrel-mc --header <file.h> [--resources <file.cpp>] <messages.mc>\n";
    return 2;
}

}  // namespace

int main(int argc, char** argv) {
    std::string header, resources, input;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--header" && i + 1 < argc) header = argv[++i];
        else if (a == "--resources" && i + 1 < argc) resources = argv[++i];
        else if (!a.empty() && a[0] != '-' && input.empty()) input = a;
        else return Usage();
    }
    if (input.empty() || header.empty()) return Usage();

    std::ifstream in(input, std::ios::binary);
    if (!in) {
        std::cerr << input << ": cannot be read\n";
        return 1;
    }
    std::stringstream content;
    content << in.rdbuf();

    try {
        mc::MessageFile file = mc::ParseMessageFile(content.str());
        std::string guard = "OSTREL_GENERATED_MESSAGES_H";
        if (!WriteIfChanged(header, mc::HeaderText(file, guard))) {
            std::cerr << header << ": cannot be written\n";
            return 1;
        }
        if (!resources.empty() &&
            !WriteIfChanged(resources, mc::ResourceSourceText(mc::BuildMessageTable(file)))) {
            std::cerr << resources << ": cannot be written\n";
            return 1;
        }
    } catch (const mc::ParseError& e) {
        std::cerr << input << ":" << e.what() << "\n";
        return 1;
    }
    return 0;
}
