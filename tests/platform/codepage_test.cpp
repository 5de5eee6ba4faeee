// Code pages: Windows-1252 as the ANSI page, UTF-8, sizes and failures.
#include <functional>

#include "system_test_support.h"

namespace {

OleString ToWide(UINT page, const std::string& bytes, DWORD flags = 0) {
    OleString out(bytes.size() + 2, OLESTR('\0'));
    out.resize(size_t(MultiByteToWideChar(page, flags, bytes.data(), int(bytes.size()), out.data(), int(out.size()))));
    return out;
}

std::string ToBytes(UINT page, const OleString& wide, BOOL* usedDefault = nullptr, const char* defaultChar = nullptr) {
    std::string out(wide.size() * 4 + 4, '\0');
    out.resize(size_t(WideCharToMultiByte(page, 0, wide.data(), int(wide.size()), out.data(), int(out.size()),
                                          defaultChar, usedDefault)));
    return test::Escaped(out);
}

std::string Units(const OleString& s) {
    std::string out;
    char b[8];
    for (OLECHAR c : s) std::snprintf(b, sizeof b, " %04X", unsigned(c)), out += b;
    return out;
}

TEST(CodePage, AnsiIsWindows1252WithThePlatformsUndefinedBytes) {
    EXPECT_EQ(GetACP(), 1252u);
    // The five bytes 1252 leaves undefined become the C1 controls of the same value.
    std::string high;
    for (int b = 0x80; b <= 0x9F; ++b) high += char(b);
    EXPECT_EQ(Units(ToWide(CP_ACP, high, MB_ERR_INVALID_CHARS)),
              Units(OLESTR("\u20AC\u0081\u201A\u0192\u201E\u2026\u2020\u2021\u02C6\u2030\u0160\u2039\u0152\u008D"
                           "\u017D\u008F\u0090\u2018\u2019\u201C\u201D\u2022\u2013\u2014\u02DC\u2122\u0161\u203A"
                           "\u0153\u009D\u017E\u0178")));
    std::string all;  // every byte survives the round trip
    for (int b = 1; b < 256; ++b) all += char(b);
    BOOL usedDefault = TRUE;
    EXPECT_EQ(ToBytes(1252, ToWide(1252, all), &usedDefault), test::Escaped(all));
    EXPECT_FALSE(usedDefault);
}

TEST(CodePage, UnmappableCharactersBecomeALookAlikeOrTheDefaultCharacter) {
    BOOL usedDefault = FALSE;
    EXPECT_EQ(ToBytes(CP_ACP, OLESTR("a\u20AC\u00E9\u0100\uFF0F\u4E2D"), &usedDefault), "a\\x80\\xE9A/?");
    EXPECT_TRUE(usedDefault);
    EXPECT_EQ(ToBytes(CP_ACP, OLESTR("x\u0100\u0142"), &usedDefault, "*"), "xAl");
    EXPECT_FALSE(usedDefault) << "a look-alike is not the default character";
    EXPECT_EQ(ToBytes(CP_ACP, OLESTR("\U0001F600")), "??");  // two units 1252 cannot hold

    // Asked not to, the page uses no look-alike.
    char bytes[8];
    EXPECT_EQ(WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, OLESTR("\u0100\uFF0F"), 2, bytes, 8, "*", &usedDefault), 2);
    EXPECT_EQ(std::string(bytes, 2), "**");
    EXPECT_TRUE(usedDefault);

    // The OEM page is 437, with its own look-alikes.
    EXPECT_EQ(Units(ToWide(CP_OEMCP, "a\x80\xB0")), Units(OLESTR("a\u00C7\u2591")));
    EXPECT_EQ(ToBytes(CP_OEMCP, OLESTR("\u00C7\u2591\u0160\u20AC")), "\\x80\\xB0S?");
}

TEST(CodePage, Utf8RoundTripsAndReplacesMalformedSequences) {
    EXPECT_EQ(Units(ToWide(CP_UTF8, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80")), Units(OLESTR("a\u00E9\u20AC\U0001F600")));
    EXPECT_EQ(ToBytes(CP_UTF8, OLESTR("a\u00E9\u20AC\U0001F600")), "a\\xC3\\xA9\\xE2\\x82\\xAC\\xF0\\x9F\\x98\\x80");
    // Each malformed piece is one U+FFFD; a lone surrogate is one too.
    EXPECT_EQ(Units(ToWide(CP_UTF8, "a\xFF" "b\xE2\x82" "c\xC0\xAF")), Units(OLESTR("a\uFFFDb\uFFFDc\uFFFD\uFFFD")));
    EXPECT_EQ(ToBytes(CP_UTF8, {OLESTR('a'), OLECHAR(0xD83D), OLESTR('b')}), "a\\xEF\\xBF\\xBDb");
}

TEST(CodePage, SizesFailuresAndTheirErrors) {
    WCHAR wide[8];
    char bytes[8];
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "abc", -1, nullptr, 0), 4);  // -1 counts the terminator
    EXPECT_EQ(MultiByteToWideChar(CP_ACP, 0, "abc", -1, wide, 4), 4);
    EXPECT_EQ(wide[3], 0);
    EXPECT_EQ(WideCharToMultiByte(CP_UTF8, 0, OLESTR("\u20AC"), 1, nullptr, 0, nullptr, nullptr), 3);

    BOOL used = FALSE;
    const OleString lone = {OLESTR('a'), OLECHAR(0xDC00)};
    struct Case {
        std::function<int()> call;
        DWORD error;
        bool wineAccepts;
    };
    const Case cases[] = {
        {[&] { return MultiByteToWideChar(CP_ACP, 0, "abc", -1, wide, 3); }, ERROR_INSUFFICIENT_BUFFER, false},
        {[&] { return WideCharToMultiByte(CP_UTF8, 0, OLESTR("\u20AC"), 1, bytes, 2, nullptr, nullptr); },
         ERROR_INSUFFICIENT_BUFFER, false},
        {[&] { return MultiByteToWideChar(12345, 0, "a", 1, wide, 8); }, ERROR_INVALID_PARAMETER, false},
        {[&] { return MultiByteToWideChar(CP_ACP, 0, "a", 0, wide, 8); }, ERROR_INVALID_PARAMETER, false},
        {[&] { return MultiByteToWideChar(CP_ACP, 0, "a", 1, nullptr, 8); }, ERROR_INVALID_PARAMETER, false},
        {[&] { return MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, "a\xFF", 2, wide, 8); },
         ERROR_NO_UNICODE_TRANSLATION, false},
        {[&] { return WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, lone.data(), 2, bytes, 8, nullptr, nullptr); },
         ERROR_NO_UNICODE_TRANSLATION, false},
        // UTF-8 takes no flag but MB_ERR_INVALID_CHARS and no default
        // character, as the platform documents; Wine differs from the
        // documented platform here and converts anyway.
        {[&] { return MultiByteToWideChar(CP_UTF8, MB_PRECOMPOSED, "a", 1, wide, 8); }, ERROR_INVALID_FLAGS, true},
        {[&] { return WideCharToMultiByte(CP_UTF8, 0, OLESTR("a"), 1, bytes, 8, nullptr, &used); },
         ERROR_INVALID_PARAMETER, true},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        SetLastError(0);
        if (cases[i].wineAccepts && test::UnderWine()) {
            EXPECT_EQ(cases[i].call(), 1) << "case " << i;
            continue;
        }
        EXPECT_EQ(cases[i].call(), 0) << "case " << i;
        EXPECT_LAST_ERROR(cases[i].error) << "case " << i;
    }
}

}  // namespace
