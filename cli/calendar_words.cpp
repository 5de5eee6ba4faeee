#include "calendar_words.h"

#include <array>
#include <string>

#include "dates.h"

namespace cli {
namespace {

// Any day serves for working hours; the rule set keeps only the times.
constexpr DATE kAnyDay = 732.0;  // 1902-01-01

std::string Quoted(std::string_view words) { return "\"" + std::string(words) + "\""; }

std::string Lower(std::string_view words) {
    std::string out(words);
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = char(c - 'A' + 'a');
    return out;
}

// 1 = Sunday ... 7 = Saturday, the numbering the rule families use.
int WeekdayNumber(const std::string& word) {
    static const std::array<const char*, 7> names = {"sunday",   "monday", "tuesday", "wednesday",
                                                     "thursday", "friday", "saturday"};
    for (int i = 0; i < 7; ++i)
        if (word == names[size_t(i)] || word == std::string(names[size_t(i)], 3)) return i + 1;
    return 0;
}

int MonthNumber(const std::string& word) {
    static const std::array<const char*, 12> names = {"january", "february", "march",     "april",   "may",      "june",
                                                      "july",    "august",   "september", "october", "november", "december"};
    for (int i = 0; i < 12; ++i)
        if (word == names[size_t(i)] || word == std::string(names[size_t(i)], 3)) return i + 1;
    return 0;
}

// 1..4, and 5 for "last" (the rule families' week index 5 also serves the
// last occurrence of a weekday in a month).
int Ordinal(const std::string& word) {
    static const std::array<std::array<const char*, 2>, 5> names = {
        {{"first", "1st"}, {"second", "2nd"}, {"third", "3rd"}, {"fourth", "4th"}, {"last", "5th"}}};
    for (int i = 0; i < 5; ++i)
        if (word == names[size_t(i)][0] || word == names[size_t(i)][1]) return i + 1;
    return 0;
}

std::vector<std::string> Words(std::string_view text) {
    std::vector<std::string> out;
    std::string word;
    for (char c : Lower(text)) {
        if (c == ' ') {
            if (!word.empty()) out.push_back(std::move(word));
            word.clear();
        } else {
            word.push_back(c);
        }
    }
    if (!word.empty()) out.push_back(std::move(word));
    return out;
}

RuleSpec WholeDay(DATE day, bool working, tagRULETYPE type, std::string_view words) {
    // The same date as start and stop makes the rule set take the whole day.
    return RuleSpec{day, day, working, type, std::string(words), {}};
}

std::pair<double, double> ClockSpan(std::string_view words, std::string_view span) {
    const size_t dash = span.find('-');
    const auto from = dash == std::string_view::npos ? std::nullopt : ParseClock(span.substr(0, dash));
    const auto to = dash == std::string_view::npos ? std::nullopt : ParseClock(span.substr(dash + 1));
    if (!from || !to) throw WordsError(Quoted(words) + " is not working hours such as \"08:00-12:00\"");
    if (*to <= *from) throw WordsError(Quoted(words) + " ends before it starts");
    return {*from, *to};
}

}  // namespace

RuleSpec WorkingHours(std::string_view words) {
    const auto [from, to] = ClockSpan(words, words);
    return RuleSpec{kAnyDay + from, kAnyDay + to, true, crWorkingHour, std::string(words), {}};
}

RuleSpec WeekdayOff(std::string_view words) {
    const int weekday = WeekdayNumber(Lower(words));
    if (!weekday) throw WordsError(Quoted(words) + " is not a weekday such as \"saturday\"");
    return WholeDay(FromCivil(1903, 1, weekday), false, crRecurDayWeek, words);
}

RuleSpec Holiday(std::string_view words) {
    const size_t dots = words.find("..");
    if (dots == std::string_view::npos) {
        const auto day = words.size() == 10 ? ParseDate(words) : std::nullopt;
        if (!day) throw WordsError(Quoted(words) + " is not a date such as \"2026-12-25\"");
        return WholeDay(*day, false, crSpecialDay, words);
    }
    const std::string_view first = words.substr(0, dots), last = words.substr(dots + 2);
    const auto from = first.size() == 10 ? ParseDate(first) : std::nullopt;
    const auto to = last.size() == 10 ? ParseDate(last) : std::nullopt;
    if (!from || !to) throw WordsError(Quoted(words) + " is not a span of dates such as \"2026-08-03..2026-08-14\"");
    if (*to < *from) throw WordsError(Quoted(words) + " ends before it starts");
    return RuleSpec{*from, *to + 1.0, false, crPeriod, std::string(words), {}};
}

RuleSpec YearlyHoliday(std::string_view words) {
    // 2000 is a leap year, so 02-29 is accepted; the rule family keeps it.
    const auto day = words.size() == 5 ? ParseDate("2000-" + std::string(words)) : std::nullopt;
    if (!day) throw WordsError(Quoted(words) + " is not a month and day such as \"12-25\"");
    const CivilDate c = ToCivil(*day);
    return WholeDay(FromCivil(1920, c.month, c.day), false, crRecurDateYear, words);
}

RuleSpec NthWeekday(std::string_view words) {
    const std::vector<std::string> w = Words(words);
    const bool everyMonth = w.size() == 5 && w[3] == "every" && w[4] == "month";
    if ((w.size() != 4 && !everyMonth) || w[2] != "of")
        throw WordsError(Quoted(words) + " is not a weekday of a month such as \"last monday of may\"");
    const int n = Ordinal(w[0]);
    if (!n) throw WordsError(Quoted(words) + ": \"" + w[0] + "\" is not first, second, third, fourth or last");
    const int weekday = WeekdayNumber(w[1]);
    if (!weekday) throw WordsError(Quoted(words) + ": \"" + w[1] + "\" is not a weekday");
    if (everyMonth) return WholeDay(FromCivil(1915, n, weekday), false, crRecurDayMonth, words);
    const int month = MonthNumber(w[3]);
    if (!month) throw WordsError(Quoted(words) + ": \"" + w[3] + "\" is not a month");
    return WholeDay(FromCivil(1929 + n, month, weekday), false, crRecurDayYear, words);
}

RuleSpec WorkingDay(std::string_view words) {
    const auto day = words.size() >= 10 ? ParseDate(words.substr(0, 10)) : std::nullopt;
    if (!day || (words.size() > 10 && words[10] != ' '))
        throw WordsError(Quoted(words) + " is not a date, with or without hours, such as \"2026-03-07 08:00-12:00\"");
    if (words.size() == 10) return WholeDay(*day, true, crSpecialDay, words);
    const auto [from, to] = ClockSpan(words, words.substr(11));
    return RuleSpec{*day + from, *day + to, true, crSpecialDay, std::string(words), {}};
}

}  // namespace cli
