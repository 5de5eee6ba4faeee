#include "json_source.h"

#include <cstdio>

namespace cli {

nlohmann::json ParseJson(const std::string& text, const std::string& fileName) {
    try {
        return nlohmann::json::parse(text);
    } catch (const nlohmann::json::parse_error& e) {
        // The parser counts the byte it stopped at from 1; lines and
        // columns are counted here so that they are ours, not its wording.
        const size_t end = e.byte == 0 ? 0 : std::min<size_t>(e.byte - 1, text.size());
        size_t line = 1, column = 1;
        for (size_t i = 0; i < end; ++i) {
            if (text[i] == '\n') {
                ++line;
                column = 1;
            } else if ((static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
                ++column;
            }
        }
        std::string detail = e.what();
        const size_t at = detail.find("syntax error ");
        if (at != std::string::npos) detail = detail.substr(at);
        throw InputError(fileName + ":" + std::to_string(line) + ":" + std::to_string(column) + ": " + detail);
    }
}

std::string ReadFile(const std::string& fileName) {
    // Straight into the string: a large project is read once, not copied
    // again out of a string stream.
    std::FILE* file = std::fopen(fileName.c_str(), "rb");
    if (!file) throw InputError(fileName + ": cannot open the file");
    std::string text;
    char buffer[1 << 16];
    for (size_t got; (got = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, got);
    const bool failed = std::ferror(file) != 0;
    std::fclose(file);
    if (failed) throw InputError(fileName + ": cannot read the file");
    return text;
}

}  // namespace cli
