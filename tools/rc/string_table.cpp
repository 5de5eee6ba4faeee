#include "string_table.h"

#include <stdexcept>

namespace rc {
namespace {

void PutWord(std::vector<unsigned char>& out, unsigned value) {
    out.push_back(static_cast<unsigned char>(value & 0xFF));
    out.push_back(static_cast<unsigned char>((value >> 8) & 0xFF));
}

}  // namespace

std::map<unsigned, std::vector<unsigned char>> StringTableBlocks(const std::map<unsigned, std::u16string>& strings) {
    std::map<unsigned, std::vector<unsigned char>> blocks;
    for (auto it = strings.begin(); it != strings.end();) {
        const unsigned block = it->first / 16 + 1;
        std::vector<unsigned char>& out = blocks[block];
        for (unsigned id = (block - 1) * 16; id < block * 16; ++id) {
            if (it == strings.end() || it->first != id) {
                PutWord(out, 0);
                continue;
            }
            if (it->second.size() > 0xFFFF) throw std::length_error("string " + std::to_string(id) + " is too long");
            PutWord(out, unsigned(it->second.size()));
            for (char16_t c : it->second) PutWord(out, c);
            ++it;
        }
    }
    return blocks;
}

}  // namespace rc
