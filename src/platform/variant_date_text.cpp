// Dates <-> en-US text, in the forms the platform writes and reads.
//
// Written: "1/14/2004 12:00:00 PM"; a date with no time part gives the date
// alone, a date on day 0 gives the time alone ("12:00:00 PM"). The invariant
// locale writes "01/14/2004 12:00:00" instead. Read: month/day/year with /, -
// or , between, year-month-day, month names and abbreviations, weekday names
// (ignored), and times as h:mm[:ss] with an optional AM/PM.
#ifndef _WIN32

#include <windows.h>

#include <cmath>
#include <cstdio>
#include <ctime>
#include <vector>

#include "variant_internal.h"

namespace ostrel::platform {

namespace {

constexpr LANGID kInvariantLanguage = 0x7f;

std::u16string Widen(const char* text) {
    std::u16string wide;
    for (; *text; ++text) wide.push_back(static_cast<char16_t>(*text));
    return wide;
}

bool IsLeap(int64_t year) { return (year % 4 == 0 && year % 100 != 0) || year % 400 == 0; }

unsigned DaysInMonth(int64_t year, unsigned month) {
    static const unsigned days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return month == 2 && IsLeap(year) ? 29 : days[month - 1];
}

int64_t CurrentYear() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    localtime_r(&now, &local);
    return local.tm_year + 1900;
}

struct Token {
    enum class Kind { Number, Month, Weekday, Am, Pm, Colon, Separator };
    Kind kind;
    int value = 0;   // number value or month 1-12
    int digits = 0;  // digits written, for numbers
};

int MatchName(const std::string& word, const char* const* names, int count) {
    for (int i = 0; i < count; ++i) {
        const std::string full = names[i];
        if (word == full || (word.size() >= 3 && full.compare(0, word.size(), word) == 0)) return i + 1;
    }
    return 0;
}

bool Tokenize(const OLECHAR* p, const OLECHAR* end, std::vector<Token>* tokens) {
    static const char* const months[] = {"january", "february", "march",     "april",   "may",      "june",
                                         "july",    "august",   "september", "october", "november", "december"};
    static const char* const weekdays[] = {"sunday", "monday", "tuesday", "wednesday", "thursday", "friday",
                                           "saturday"};
    while (p < end) {
        const OLECHAR c = *p;
        if (c == u' ' || c == u'\t' || c == 0x00A0) {
            ++p;
        } else if (c >= u'0' && c <= u'9') {
            Token t{Token::Kind::Number};
            for (; p < end && *p >= u'0' && *p <= u'9'; ++p) {
                if (++t.digits > 5) return false;
                t.value = t.value * 10 + (*p - u'0');
            }
            tokens->push_back(t);
        } else if ((c | 0x20) >= u'a' && (c | 0x20) <= u'z') {
            std::string word;
            for (; p < end && (*p | 0x20) >= u'a' && (*p | 0x20) <= u'z'; ++p) word.push_back(static_cast<char>(*p | 0x20));
            if (word == "am") {
                tokens->push_back({Token::Kind::Am});
            } else if (word == "pm") {
                tokens->push_back({Token::Kind::Pm});
            } else if (int month = MatchName(word, months, 12)) {
                tokens->push_back({Token::Kind::Month, month});
            } else if (MatchName(word, weekdays, 7)) {
                tokens->push_back({Token::Kind::Weekday});
            } else {
                return false;
            }
        } else if (c == u':') {
            tokens->push_back({Token::Kind::Colon});
            ++p;
        } else if (c == u'/' || c == u'-' || c == u',') {
            tokens->push_back({Token::Kind::Separator});
            ++p;
        } else {
            return false;
        }
    }
    return true;
}

// Two-digit years through the platform's window: 0-49 are 2000-2049, 50-99
// are 1950-1999 (also when written with leading zeros, "0099").
int64_t WindowYear(int64_t year) { return year < 50 ? year + 2000 : year < 100 ? year + 1900 : year; }

bool ResolveDate(const std::vector<int>& numbers, const std::vector<int>& digits, int monthName, int64_t* year,
                 unsigned* month, unsigned* day) {
    const size_t n = numbers.size();
    if (monthName) {
        *month = static_cast<unsigned>(monthName);
        if (n == 1 && (numbers[0] > 31 || digits[0] > 2)) {
            *year = numbers[0];
            *day = 1;
        } else if (n == 1) {
            *year = CurrentYear();
            *day = static_cast<unsigned>(numbers[0]);
        } else if (n == 2 && (numbers[0] > 31 || digits[0] > 2)) {
            *year = numbers[0];
            *day = static_cast<unsigned>(numbers[1]);
        } else if (n == 2) {
            *day = static_cast<unsigned>(numbers[0]);
            *year = numbers[1];
        } else {
            return false;
        }
    } else if (n == 3 && (numbers[0] > 31 || digits[0] > 2)) {
        *year = numbers[0];
        *month = static_cast<unsigned>(numbers[1]);
        *day = static_cast<unsigned>(numbers[2]);
    } else if (n == 3 || n == 2) {
        *month = static_cast<unsigned>(numbers[0]);
        *day = static_cast<unsigned>(numbers[1]);
        *year = n == 3 ? numbers[2] : CurrentYear();
        // A first number that cannot be a month is the day (14/1/2004).
        if (*month > 12 && *day <= 12) std::swap(*month, *day);
    } else {
        return false;
    }
    if (*year < 100 && (monthName || n == 3)) *year = WindowYear(*year);
    return *year >= 100 && *year <= 9999 && *month >= 1 && *month <= 12 && *day >= 1 &&
           *day <= DaysInMonth(*year, *month);
}

}  // namespace

HRESULT FormatDate(DATE value, LCID lcid, std::u16string* out) {
    SYSTEMTIME st;
    if (!VariantTimeToSystemTime(value, &st)) return E_INVALIDARG;
    const bool invariant = (lcid & 0x3ff) == kInvariantLanguage;
    // Whether there is a date or a time part is decided on the value as
    // given, before rounding to the second, as the platform does.
    const double whole = std::trunc(value);
    const bool showDate = whole != 0;
    const bool showTime = !showDate || value != whole;
    char date[32] = "", time[32] = "";
    if (invariant) {
        std::snprintf(date, sizeof date, "%02u/%02u/%04u", st.wMonth, st.wDay, st.wYear);
        std::snprintf(time, sizeof time, "%02u:%02u:%02u", st.wHour, st.wMinute, st.wSecond);
    } else {
        std::snprintf(date, sizeof date, "%u/%u/%u", st.wMonth, st.wDay, st.wYear);
        const unsigned hour12 = st.wHour % 12 == 0 ? 12 : st.wHour % 12;
        std::snprintf(time, sizeof time, "%u:%02u:%02u %s", hour12, st.wMinute, st.wSecond,
                      st.wHour < 12 ? "AM" : "PM");
    }
    std::string text = showDate ? date : "";
    if (showDate && showTime) text += " ";
    if (showTime) text += time;
    *out = Widen(text.c_str());
    return S_OK;
}

HRESULT ParseDate(const OLECHAR* text, UINT length, DATE* out) {
    const OLECHAR* end = text;
    if (text)
        while (end < text + length && *end) ++end;
    std::vector<Token> tokens;
    if (!text || !Tokenize(text, end, &tokens)) return DISP_E_TYPEMISMATCH;

    std::vector<int> numbers, digits;
    int monthName = 0;
    bool haveTime = false;
    int hour = 0, minute = 0, second = 0;
    for (size_t i = 0; i < tokens.size(); ++i) {
        const Token& t = tokens[i];
        const bool timeFollows = i + 1 < tokens.size() && tokens[i + 1].kind == Token::Kind::Colon;
        const bool meridiemFollows =
            i + 1 < tokens.size() && (tokens[i + 1].kind == Token::Kind::Am || tokens[i + 1].kind == Token::Kind::Pm);
        if (t.kind == Token::Kind::Number && (timeFollows || meridiemFollows)) {
            if (haveTime) return DISP_E_TYPEMISMATCH;
            haveTime = true;
            hour = t.value;
            int* fields[] = {&minute, &second};
            for (int* field : fields) {
                if (i + 2 >= tokens.size() || tokens[i + 1].kind != Token::Kind::Colon ||
                    tokens[i + 2].kind != Token::Kind::Number)
                    break;
                *field = tokens[i + 2].value;
                i += 2;
            }
            if (i + 1 < tokens.size() && tokens[i + 1].kind == Token::Kind::Colon) return DISP_E_TYPEMISMATCH;
            if (i + 1 < tokens.size() && (tokens[i + 1].kind == Token::Kind::Am || tokens[i + 1].kind == Token::Kind::Pm)) {
                if (hour < 1 || hour > 12) return DISP_E_TYPEMISMATCH;
                hour = hour % 12 + (tokens[i + 1].kind == Token::Kind::Pm ? 12 : 0);
                ++i;
            }
        } else if (t.kind == Token::Kind::Number) {
            if (numbers.size() == 3) return DISP_E_TYPEMISMATCH;
            numbers.push_back(t.value);
            digits.push_back(t.digits);
        } else if (t.kind == Token::Kind::Month) {
            if (monthName) return DISP_E_TYPEMISMATCH;
            monthName = t.value;
        } else if (t.kind != Token::Kind::Weekday && t.kind != Token::Kind::Separator) {
            return DISP_E_TYPEMISMATCH;  // a stray colon or AM/PM
        }
    }
    if (hour > 23 || minute > 59 || second > 59) return DISP_E_TYPEMISMATCH;

    int64_t days = 0;
    if (!numbers.empty() || monthName) {
        int64_t year;
        unsigned month, day;
        if (!ResolveDate(numbers, digits, monthName, &year, &month, &day)) return DISP_E_TYPEMISMATCH;
        days = DaysFromCivil(year, month, day);
    } else if (!haveTime) {
        return DISP_E_TYPEMISMATCH;
    }
    *out = DateFromParts(days, hour, minute, second);
    return S_OK;
}

}  // namespace ostrel::platform

#endif
