// Task memory and the local heap.
#include <cstring>

#include "system_test_support.h"

namespace {

TEST(TaskMemory, ZeroSizesAndReallocation) {
    void* empty = CoTaskMemAlloc(0);
    EXPECT_NE(empty, nullptr);
    EXPECT_EQ(CoTaskMemRealloc(empty, 0), nullptr);  // frees it
    auto* p = static_cast<char*>(CoTaskMemRealloc(nullptr, 4));
    ASSERT_NE(p, nullptr);
    std::memcpy(p, "abc", 4);
    p = static_cast<char*>(CoTaskMemRealloc(p, 4096));
    EXPECT_STREQ(p, "abc");
    CoTaskMemFree(p);
}

TEST(LocalMemory, FreeAnswersNullAndRefusesWhatItDidNotAllocate) {
    auto* zeroed = static_cast<unsigned char*>(LocalAlloc(LPTR, 64));
    ASSERT_NE(zeroed, nullptr);
    for (int i = 0; i < 64; ++i) ASSERT_EQ(zeroed[i], 0) << i;
    EXPECT_EQ(LocalFree(zeroed), nullptr);
    SetLastError(0);
    EXPECT_EQ(LocalFree(zeroed), zeroed);  // freed twice: the block comes back
    EXPECT_LAST_ERROR(ERROR_INVALID_HANDLE);
    int onStack = 0;
    EXPECT_EQ(LocalFree(&onStack), &onStack);
    EXPECT_EQ(LocalFree(nullptr), nullptr);
    HLOCAL movable = LocalAlloc(LMEM_MOVEABLE, 16);
    EXPECT_NE(movable, nullptr);
    EXPECT_EQ(LocalFree(movable), nullptr);
}

}  // namespace
