// The platform's string table: strings are kept in blocks of sixteen, block
// n (from 1) holding the strings numbered (n - 1) * 16 to n * 16 - 1, each
// as a 16-bit length followed by that many UTF-16 units, no terminator; an
// absent string is a length of 0.
#pragma once
#include <map>
#include <string>
#include <vector>

namespace rc {

// The RT_STRING resources for the given strings, by block number.
std::map<unsigned, std::vector<unsigned char>> StringTableBlocks(const std::map<unsigned, std::u16string>& strings);

}  // namespace rc
