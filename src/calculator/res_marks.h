// The search behind RES: the first character at or after an index that is one
// of a growing set of marks, answered without walking the rest of the formula
// each time, since every RES argument searches on to the formula's end.
#pragma once
#include <cstdint>
#include <string_view>
#include <vector>

#include <windows.h>

namespace ostrel {

// The marks, in the order of the list RES takes its first n entries from:
// '*', NUL, 'E', 'e', NUL, NUL, '*', '+', '-', '/', '%', '^', '=', '!', '<',
// '>', '&', '|', NUL, NUL. A character's rank is its first place in that list,
// so "one of the first n entries" is "rank below n". The working text holds no
// NUL, so the NUL entries never match.
class ResMarks {
public:
    // Indexes the text; until then Find and Update must not be called.
    void Build(std::basic_string_view<OLECHAR> text);
    bool Built() const { return size_ != 0; }
    void Clear();

    // The first index >= from whose character is one of the list's first n
    // entries, or -1.
    int32_t Find(int32_t from, int32_t n) const;

    // The character at index i is now c.
    void Update(int32_t i, OLECHAR c);

private:
    // A segment tree of the lowest rank in each span; leaves from size_ on.
    std::vector<uint8_t> ranks_;
    int32_t size_ = 0;
    int32_t length_ = 0;
};

}  // namespace ostrel
