#include <gtest/gtest.h>
#include <windows.h>

#include <cstdint>
#include <cstring>

namespace {

DWORD Prefix(BSTR s) {
    DWORD n;
    std::memcpy(&n, reinterpret_cast<const char*>(s) - sizeof n, sizeof n);
    return n;
}

TEST(Bstr, LayoutIsByteLengthPrefixAndTerminator) {
    BSTR s = SysAllocString(OLESTR("abc"));
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(Prefix(s), 6u);
    EXPECT_EQ(SysStringLen(s), 3u);
    EXPECT_EQ(SysStringByteLen(s), 6u);
    EXPECT_EQ(s[3], 0);
    SysFreeString(s);
}

TEST(Bstr, NullSourcesAndNullStrings) {
    EXPECT_EQ(SysAllocString(nullptr), nullptr);
    EXPECT_EQ(SysStringLen(nullptr), 0u);
    EXPECT_EQ(SysStringByteLen(nullptr), 0u);
    SysFreeString(nullptr);

    BSTR blank = SysAllocStringLen(nullptr, 5);  // content unspecified, length and terminator set
    ASSERT_NE(blank, nullptr);
    EXPECT_EQ(SysStringLen(blank), 5u);
    EXPECT_EQ(blank[5], 0);
    SysFreeString(blank);

    BSTR empty = SysAllocString(OLESTR(""));
    ASSERT_NE(empty, nullptr) << "an empty string is not a null string";
    EXPECT_EQ(SysStringLen(empty), 0u);
    SysFreeString(empty);
}

TEST(Bstr, ByteLengthKeepsOddLengthsAndTerminates) {
    BSTR s = SysAllocStringByteLen("abc", 3);
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(SysStringByteLen(s), 3u);
    EXPECT_EQ(SysStringLen(s), 1u);
    const char* bytes = reinterpret_cast<const char*>(s);
    EXPECT_EQ(std::memcmp(bytes, "abc", 3), 0);
    EXPECT_EQ(bytes[3], 0);
    EXPECT_EQ(bytes[4], 0);
    SysFreeString(s);
}

TEST(Bstr, LengthsBeyondThirtyTwoBitsGiveNull) {
    EXPECT_EQ(SysAllocStringLen(nullptr, 0x80000000u), nullptr);
    EXPECT_EQ(SysAllocStringByteLen(nullptr, UINT32_MAX), nullptr);
    EXPECT_EQ(SysAllocStringByteLen(nullptr, UINT32_MAX - 5), nullptr);
}

TEST(Bstr, ReAllocFromInsideTheOldString) {
    BSTR s = SysAllocString(OLESTR("hello"));
    ASSERT_TRUE(SysReAllocStringLen(&s, s + 1, 3));
    EXPECT_EQ(SysStringLen(s), 3u);
    EXPECT_EQ(std::memcmp(s, OLESTR("ell"), 4 * sizeof(OLECHAR)), 0);
    ASSERT_TRUE(SysReAllocString(&s, s + 1));
    EXPECT_EQ(std::memcmp(s, OLESTR("ll"), 3 * sizeof(OLECHAR)), 0);
    SysFreeString(s);
}

TEST(Bstr, ReAllocWithoutSourceKeepsTheOldText) {
    BSTR s = SysAllocString(OLESTR("ab"));
    ASSERT_TRUE(SysReAllocStringLen(&s, nullptr, 4));
    EXPECT_EQ(SysStringLen(s), 4u);
    EXPECT_EQ(s[0], u'a');
    EXPECT_EQ(s[1], u'b');
    EXPECT_EQ(s[4], 0);
    ASSERT_TRUE(SysReAllocString(&s, nullptr));
    EXPECT_EQ(s, nullptr);
}

TEST(Bstr, ReAllocFailuresLeaveTheStringAlone) {
    EXPECT_FALSE(SysReAllocString(nullptr, OLESTR("x")));
    EXPECT_FALSE(SysReAllocStringLen(nullptr, OLESTR("x"), 1));
    BSTR s = SysAllocString(OLESTR("keep"));
    BSTR before = s;
    EXPECT_FALSE(SysReAllocStringLen(&s, nullptr, 0x80000000u));
    EXPECT_EQ(s, before);
    EXPECT_EQ(SysStringLen(s), 4u);
    SysFreeString(s);
}

}  // namespace
