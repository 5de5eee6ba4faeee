// Code pages: Windows-1252 as the ANSI page, UTF-8, sizes and failures.
#include <functional>
#include <string>

#include "system_test_support.h"

namespace {

std::u16string ToWide(UINT page, const std::string& bytes, DWORD flags = 0) {
    std::u16string out(bytes.size() * 2 + 2, u'\0');
    int n = MultiByteToWideChar(page, flags, bytes.data(), int(bytes.size()), out.data(), int(out.size()));
    out.resize(size_t(n));
    return out;
}

std::string ToBytes(UINT page, const std::u16string& wide, BOOL* usedDefault = nullptr, const char* defaultChar = nullptr) {
    std::string out(wide.size() * 4 + 4, '\0');
    int n = WideCharToMultiByte(page, 0, wide.data(), int(wide.size()), out.data(), int(out.size()), defaultChar,
                                usedDefault);
    out.resize(size_t(n));
    return out;
}

std::string Units(const std::u16string& s) {
    std::string out;
    char b[8];
    for (char16_t c : s) std::snprintf(b, sizeof b, " %04X", unsigned(c)), out += b;
    return out;
}

TEST(CodePage, AnsiIsWindows1252WithThePlatformsUndefinedBytes) {
    EXPECT_EQ(GetACP(), 1252u);
    // 0x80-0x9F as the platform maps them; the five undefined bytes become
    // the C1 controls of the same value.
    const std::u16string expected = u"\u20AC\u0081\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039"
                                    u"\u0152\u008D\u017D\u008F\u0090\u2018\u2019\u201C\u201D\u2022\u2013\u2014"
                                    u"\u02DC\u2122\u0161\u203A\u0153\u009D\u017E\u0178";
    std::string high;
    for (int b = 0x80; b <= 0x9F; ++b) high += char(b);
    EXPECT_EQ(Units(ToWide(CP_ACP, high, MB_ERR_INVALID_CHARS)), Units(expected));

    // Every byte comes back unchanged, and none needed the default character.
    std::string all;
    for (int b = 1; b < 256; ++b) all += char(b);
    BOOL usedDefault = TRUE;
    EXPECT_EQ(test::Escaped(ToBytes(1252, ToWide(1252, all), &usedDefault)), test::Escaped(all));
    EXPECT_FALSE(usedDefault);
}

TEST(CodePage, UnmappableCharactersBecomeTheDefaultCharacterWithoutBestFit) {
    BOOL usedDefault = FALSE;
    // U+0100 and U+FF0F have look-alikes ('A', '/') that are deliberately not used.
    EXPECT_EQ(test::Escaped(ToBytes(CP_ACP, u"a\u20AC\u00E9\u0100\uFF0F\u4E2D", &usedDefault)), "a\\x80\\xE9???");
    EXPECT_TRUE(usedDefault);
    EXPECT_EQ(ToBytes(CP_ACP, u"x\u0100", &usedDefault, "*"), "x*");
    EXPECT_TRUE(usedDefault);
    // A surrogate pair is two units 1252 cannot hold.
    EXPECT_EQ(ToBytes(CP_ACP, u"\U0001F600"), "??");
}

TEST(CodePage, Utf8RoundTripsAndReplacesMalformedSequences) {
    const std::string utf8 = "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_EQ(Units(ToWide(CP_UTF8, utf8)), Units(u"a\u00E9\u20AC\U0001F600"));
    EXPECT_EQ(test::Escaped(ToBytes(CP_UTF8, u"a\u00E9\u20AC\U0001F600")), test::Escaped(utf8));

    // Each malformed piece is one U+FFFD; MB_ERR_INVALID_CHARS refuses it.
    EXPECT_EQ(Units(ToWide(CP_UTF8, "a\xFF" "b")), Units(u"a\uFFFDb"));
    EXPECT_EQ(Units(ToWide(CP_UTF8, "a\xE2\x82" "b")), Units(u"a\uFFFDb"));
    EXPECT_EQ(Units(ToWide(CP_UTF8, "\xC0\xAF")), Units(u"\uFFFD\uFFFD"));
    WCHAR out[8];
    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "a\xFF", 2, out, 8), 0);
    EXPECT_LAST_ERROR(ERROR_NO_UNICODE_TRANSLATION);

    // A lone surrogate becomes U+FFFD, or a failure with WC_ERR_INVALID_CHARS.
    const std::u16string lone = {u'a', char16_t(0xD83D), u'b'};
    EXPECT_EQ(test::Escaped(ToBytes(CP_UTF8, lone)), "a\\xEF\\xBF\\xBDb");
    char bytes[16];
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, lone.data(), 3, bytes, 16, nullptr, nullptr), 0);
    EXPECT_LAST_ERROR(ERROR_NO_UNICODE_TRANSLATION);
}

TEST(CodePage, SizesTerminatorsAndShortBuffers) {
    WCHAR wide[8];
    char bytes[8];
    // Size queries; -1 counts the terminator and converts it.
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "abc", -1, nullptr, 0), 4);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "abc", 3, nullptr, 0), 3);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"\u20AC", -1, nullptr, 0, nullptr, nullptr), 4);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "abc", -1, wide, 4), 4);
    EXPECT_EQ(wide[3], 0);
    EXPECT_EQ(WideCharToMultiByte(CP_ACP, 0, u"x", -1, bytes, 2, nullptr, nullptr), 2);
    EXPECT_EQ(bytes[1], 0);

    SetLastError(0);
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "abc", -1, wide, 3), 0);
    EXPECT_LAST_ERROR(ERROR_INSUFFICIENT_BUFFER);
    SetLastError(0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, u"\u20AC", 1, bytes, 2, nullptr, nullptr), 0);
    EXPECT_LAST_ERROR(ERROR_INSUFFICIENT_BUFFER);
}

TEST(CodePage, BadArgumentsAreRefused) {
    WCHAR wide[8];
    char bytes[8];
    BOOL used = FALSE;
    struct Case {
        const char* name;
        std::function<int()> call;
        DWORD error;
    };
    const Case cases[] = {
        {"unknown page", [&] { return MultiByteToWideChar(12345, 0, "a", 1, wide, 8); }, ERROR_INVALID_PARAMETER},
        {"OEM page", [&] { return MultiByteToWideChar(CP_OEMCP, 0, "a", 1, wide, 8); }, ERROR_INVALID_PARAMETER},
        {"empty source", [&] { return MultiByteToWideChar(CP_ACP, 0, "a", 0, wide, 8); }, ERROR_INVALID_PARAMETER},
        {"null source", [&] { return MultiByteToWideChar(CP_ACP, 0, nullptr, 1, wide, 8); }, ERROR_INVALID_PARAMETER},
        {"negative room", [&] { return MultiByteToWideChar(CP_ACP, 0, "a", 1, wide, -1); }, ERROR_INVALID_PARAMETER},
        {"room without buffer", [&] { return MultiByteToWideChar(CP_ACP, 0, "a", 1, nullptr, 8); },
         ERROR_INVALID_PARAMETER},
        {"UTF-8 with MB_PRECOMPOSED", [&] { return MultiByteToWideChar(CP_UTF8, MB_PRECOMPOSED, "a", 1, wide, 8); },
         ERROR_INVALID_FLAGS},
        {"ANSI with WC_ERR_INVALID_CHARS",
         [&] { return WideCharToMultiByte(CP_ACP, WC_ERR_INVALID_CHARS, u"a", 1, bytes, 8, nullptr, nullptr); },
         ERROR_INVALID_FLAGS},
        {"UTF-8 with a default character",
         [&] { return WideCharToMultiByte(CP_UTF8, 0, u"a", 1, bytes, 8, "?", nullptr); }, ERROR_INVALID_PARAMETER},
        {"UTF-8 asking about the default",
         [&] { return WideCharToMultiByte(CP_UTF8, 0, u"a", 1, bytes, 8, nullptr, &used); }, ERROR_INVALID_PARAMETER},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        SetLastError(0);
        EXPECT_EQ(c.call(), 0);
        EXPECT_LAST_ERROR(c.error);
    }
}

}  // namespace
