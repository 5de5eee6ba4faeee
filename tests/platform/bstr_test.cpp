// Strings with a byte-length prefix: layout, null strings, lengths and
// reallocation.
#include <cstdint>
#include <cstring>

#include "system_test_support.h"

namespace {

DWORD Prefix(BSTR s) {
    DWORD n;
    std::memcpy(&n, reinterpret_cast<const char*>(s) - sizeof n, sizeof n);
    return n;
}

TEST(Bstr, LayoutLengthsAndNullStrings) {
    BSTR s = SysAllocString(OLESTR("abc"));
    EXPECT_EQ(Prefix(s), 6u);
    EXPECT_EQ(SysStringLen(s), 3u);
    EXPECT_EQ(SysStringByteLen(s), 6u);
    EXPECT_EQ(s[3], 0);
    SysFreeString(s);
    s = SysAllocStringByteLen("abc", 3);  // odd lengths are kept, and terminated
    EXPECT_EQ(SysStringByteLen(s), 3u);
    EXPECT_EQ(SysStringLen(s), 1u);
    EXPECT_EQ(std::memcmp(s, "abc\0", 5), 0);
    SysFreeString(s);
    s = SysAllocStringLen(nullptr, 5);  // content unspecified, length and terminator set
    EXPECT_EQ(SysStringLen(s), 5u);
    EXPECT_EQ(s[5], 0);
    SysFreeString(s);
    s = SysAllocString(OLESTR(""));
    ASSERT_NE(s, nullptr) << "an empty string is not a null string";
    EXPECT_EQ(SysStringLen(s), 0u);
    SysFreeString(s);

    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    SysFreeString(nullptr);
    EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr);  // beyond 32 bits of bytes
    EXPECT_EQ(SysAllocStringByteLen(nullptr, UINT32_MAX), nullptr);
    EXPECT_EQ(SysAllocStringByteLen(nullptr, UINT32_MAX - 5), nullptr);
}

TEST(Bstr, ReAlloc) {
    BSTR s = SysAllocString(OLESTR("hello"));
    ASSERT_TRUE(SysReAllocStringLen(&s, s + 1, 3));  // from inside the old string
    EXPECT_EQ(SysStringLen(s), 3u);
    EXPECT_EQ(std::memcmp(s, OLESTR("ell"), 4 * sizeof(OLECHAR)), 0);
    ASSERT_TRUE(SysReAllocString(&s, s + 1));
    EXPECT_EQ(std::memcmp(s, OLESTR("ll"), 3 * sizeof(OLECHAR)), 0);
    ASSERT_TRUE(SysReAllocStringLen(&s, nullptr, 4));  // without a source the old text stays
    EXPECT_EQ(SysStringLen(s), 4u);
    EXPECT_EQ(std::memcmp(s, OLESTR("ll"), 2 * sizeof(OLECHAR)), 0);
    EXPECT_EQ(s[4], 0);

    // Failures leave the string alone.
    BSTR before = s;
    EXPECT_FALSE(SysReAllocStringLen(&s, nullptr, 0x80000000u));
    EXPECT_EQ(s, before);
    EXPECT_EQ(SysStringLen(s), 4u);
#ifndef _WIN32
    // Our layer's own guard: the platform documents an access violation for
    // a null address of the string, so nothing can expect a refusal there.
    EXPECT_FALSE(SysReAllocString(nullptr, OLESTR("x")));
    EXPECT_FALSE(SysReAllocStringLen(nullptr, OLESTR("x"), 1));
#endif
    ASSERT_TRUE(SysReAllocString(&s, nullptr));
    EXPECT_EQ(s, nullptr);
}

}  // namespace
