#include "calculator/res_marks.h"

#include <algorithm>

namespace ostrel {
namespace {

constexpr uint8_t kNoMark = 0xFF;

uint8_t Rank(OLECHAR c) {
    switch (c) {
    case '*': return 0;
    case 'E': return 2;
    case 'e': return 3;
    case '+': return 7;
    case '-': return 8;
    case '/': return 9;
    case '%': return 10;
    case '^': return 11;
    case '=': return 12;
    case '!': return 13;
    case '<': return 14;
    case '>': return 15;
    case '&': return 16;
    case '|': return 17;
    default: return kNoMark;
    }
}

}  // namespace

void ResMarks::Build(std::basic_string_view<OLECHAR> text) {
    length_ = int32_t(text.size());
    size_ = 1;
    while (size_ < length_) size_ *= 2;
    ranks_.assign(size_t(size_) * 2, kNoMark);
    for (int32_t i = 0; i < length_; ++i) ranks_[size_ + i] = Rank(text[i]);
    for (int32_t node = size_ - 1; node >= 1; --node)
        ranks_[node] = std::min(ranks_[2 * node], ranks_[2 * node + 1]);
}

void ResMarks::Clear() {
    ranks_.clear();
    size_ = length_ = 0;
}

int32_t ResMarks::Find(int32_t from, int32_t n) const {
    if (from < 0) from = 0;
    if (from >= length_ || n <= 0) return -1;
    const auto matches = [&](int32_t node) { return ranks_[node] < n; };
    int32_t node = size_ + from;
    if (!matches(node)) {
        // Up until a right sibling holds a match; siblings met on the way up
        // cover the indexes after `from` in order.
        for (;;) {
            if (node == 1) return -1;
            if ((node & 1) == 0 && matches(node + 1)) {
                ++node;
                break;
            }
            node /= 2;
        }
        while (node < size_) node = matches(2 * node) ? 2 * node : 2 * node + 1;
    }
    return node - size_;
}

void ResMarks::Update(int32_t i, OLECHAR c) {
    if (i < 0 || i >= length_) return;
    int32_t node = size_ + i;
    ranks_[node] = Rank(c);
    for (node /= 2; node >= 1; node /= 2) ranks_[node] = std::min(ranks_[2 * node], ranks_[2 * node + 1]);
}

}  // namespace ostrel
