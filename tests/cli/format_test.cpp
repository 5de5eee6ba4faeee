// The project format: dates and durations, calendar words to rules, and
// every kind of bad input named by its position or its JSON path.
#include <gtest/gtest.h>

#include "calendar_words.h"
#include "dates.h"
#include "project_reader.h"

namespace cli {
namespace {

TEST(Format, DatesAndDurations) {
    EXPECT_EQ(*ParseDate("2026-03-02"), 46083.0);
    EXPECT_DOUBLE_EQ(*ParseDate("2026-03-02 12:00"), 46083.5);
    EXPECT_DOUBLE_EQ(*ParseDate("2026-03-02T06:00"), 46083.25);
    for (const char* bad : {"2026-02-29", "2026-3-2", "2026-03-02 25:00", "1899-12-31", "2026-03-02x", ""})
        EXPECT_FALSE(ParseDate(bad)) << bad;
    EXPECT_EQ(FormatDate(46083.5), "2026-03-02 12:00");
    EXPECT_EQ(Weekday(46083.0), 1);  // a Monday

    const struct {
        const char* text;
        double hours;
    } durations[] = {{"3d", 24}, {"4h", 4}, {"90m", 1.5}, {"1.5d", 12}, {"0h", 0}, {"2", 2}};
    for (const auto& d : durations) EXPECT_DOUBLE_EQ(*ParseHours(d.text, 8, false), d.hours) << d.text;
    for (const char* bad : {"", "d", "3x", "-1d", "+2h", "1e999h", "3 d"}) EXPECT_FALSE(ParseHours(bad, 8, false)) << bad;
    EXPECT_DOUBLE_EQ(*ParseHours("-2d", 24, true), -48);
    EXPECT_EQ(FormatHours(24, 8), "3d");
    EXPECT_EQ(FormatHours(4.5, 8), "4h 30m");
}

TEST(Format, CalendarWordsGiveTheRuleFamilies) {
    const DATE day = 732.0;  // working hours keep only their times
    const struct {
        RuleSpec (*read)(std::string_view);
        const char* words;
        RuleSpec rule;
    } cases[] = {
        {WorkingHours, "08:00-12:00", {day + 8 / 24.0, day + 0.5, true, crWorkingHour, "", ""}},
        {WorkingHours, "13:00-24:00", {day + 13 / 24.0, day + 1.0, true, crWorkingHour, "", ""}},
        // The weekday is the day of the month: Sunday 1, Saturday 7.
        {WeekdayOff, "Saturday", {FromCivil(1903, 1, 7), FromCivil(1903, 1, 7), false, crRecurDayWeek, "", ""}},
        {WeekdayOff, "mon", {FromCivil(1903, 1, 2), FromCivil(1903, 1, 2), false, crRecurDayWeek, "", ""}},
        {Holiday, "2026-12-25", {FromCivil(2026, 12, 25), FromCivil(2026, 12, 25), false, crSpecialDay, "", ""}},
        {Holiday, "2026-08-03..2026-08-14", {FromCivil(2026, 8, 3), FromCivil(2026, 8, 15), false, crPeriod, "", ""}},
        {YearlyHoliday, "02-29", {FromCivil(1920, 2, 29), FromCivil(1920, 2, 29), false, crRecurDateYear, "", ""}},
        // Yearly n-th weekday: year 1929 + n, 1934 for the last.
        {NthWeekday, "last monday of may", {FromCivil(1934, 5, 2), FromCivil(1934, 5, 2), false, crRecurDayYear, "", ""}},
        {NthWeekday, "4th Thursday of November",
         {FromCivil(1933, 11, 5), FromCivil(1933, 11, 5), false, crRecurDayYear, "", ""}},
        // Monthly n-th weekday: month n of 1915.
        {NthWeekday, "first saturday of every month",
         {FromCivil(1915, 1, 7), FromCivil(1915, 1, 7), false, crRecurDayMonth, "", ""}},
        {WorkingDay, "2026-03-07", {FromCivil(2026, 3, 7), FromCivil(2026, 3, 7), true, crSpecialDay, "", ""}},
        {WorkingDay, "2026-03-07 08:00-12:00",
         {FromCivil(2026, 3, 7) + 8 / 24.0, FromCivil(2026, 3, 7) + 0.5, true, crSpecialDay, "", ""}},
    };
    for (const auto& c : cases) EXPECT_EQ(c.read(c.words), c.rule) << c.words;

    const struct {
        RuleSpec (*read)(std::string_view);
        const char* words;
    } bad[] = {{WorkingHours, "12:00-08:00"}, {WorkingHours, "8-12"},          {WeekdayOff, "someday"},
               {Holiday, "2026-13-01"},       {Holiday, "2026-08-14..2026-08-03"}, {YearlyHoliday, "02-30"},
               {NthWeekday, "sixth monday of may"}, {NthWeekday, "last monday of maybe"}, {NthWeekday, "monday"},
               {WorkingDay, "2026-03-07 08:00"}};
    for (const auto& b : bad) EXPECT_THROW(b.read(b.words), WordsError) << b.words;
}

TEST(Format, ReadsAnOutline) {
    const Project p = ReadProjectText(R"({
      "start": "2026-03-02", "finish": "2026-03-31", "hours_per_day": 6,
      "resources": [{"id": "r", "units": 2}],
      "tasks": [{"id": "S", "priority": 3, "children": [
        {"id": "A", "duration": "2d", "resources": [{"id": "r", "units": 2}]},
        {"id": "B", "name": "Bee", "predecessors": [{"id": "A", "type": "SF", "lag": "-1d"}],
         "constraint": {"type": "snet", "date": "2026-03-04"}}]}]})",
                                      "p.json");
    ASSERT_EQ(p.tasks.size(), 3u);
    EXPECT_TRUE(p.tasks[0].summary);
    EXPECT_TRUE(p.tasks[0].ownPriority);
    EXPECT_EQ(p.tasks[1].parent, 0);
    EXPECT_EQ(p.tasks[1].hours, 12);
    EXPECT_EQ(p.tasks[2].name, "Bee");
    ASSERT_EQ(p.tasks[2].predecessors.size(), 1u);
    EXPECT_EQ(p.tasks[2].predecessors[0].type, LinkType::SF);
    EXPECT_EQ(p.tasks[2].predecessors[0].lagHours, -24);
    EXPECT_EQ(p.tasks[2].constraint, Constraint::SNET);
    EXPECT_EQ(p.finish, FromCivil(2026, 4, 1));  // the end of the last day
    ASSERT_NE(p.FindCalendar("standard"), nullptr);
    EXPECT_EQ(p.FindCalendar("standard")->rules, StandardCalendar().rules);
}

TEST(Format, BadInputIsNamedByPositionOrPath) {
    const std::string head = R"("start": "2026-03-02", "finish": "2026-03-31", "resources": [{"id": "r"}], )";
    const struct {
        std::string text;
        const char* message;
    } cases[] = {
        {"{\n  \"start\": \"2026-03-02\",\n  oops\n}", "p.json:3:3: syntax error"},
        {"", "p.json:1:1: syntax error"},
        {"[]", "p.json: a project is a JSON object"},
        {R"({"start": "2026-03-02", "tasks": []})", "p.json: a project needs \"start\" and \"finish\" dates"},
        {"{" + head + R"("tasks": [], "colour": 1})", "p.json: unknown field \"colour\""},
        {"{" + head + R"("tasks": [{"id": "A", "lenght": "1d"}]})", "p.json: tasks[0]: unknown field \"lenght\""},
        {"{" + head + R"("tasks": [{"id": "A"}, {"id": "B", "predecessors": ["X"]}]})",
         "p.json: tasks[1].predecessors[0]: no task \"X\""},
        {"{" + head + R"("tasks": [{"id": "A", "children": [{"id": "B", "predecessors": ["A"]}]}]})",
         "p.json: tasks[0].children[0].predecessors[0]: \"A\" is a summary of \"B\" or inside it"},
        {"{" + head + R"("tasks": [{"id": "A", "duration": "3 days"}]})",
         "p.json: tasks[0].duration: \"3 days\" is not a duration"},
        {"{" + head + R"("tasks": [{"id": "A", "constraint": {"type": "mso", "date": "2026-04-02"}}]})",
         "p.json: tasks[0].constraint.date: 2026-04-02 is outside the project (2026-03-02 to 2026-04-01)"},
        {"{" + head + R"("tasks": [{"id": "A", "constraint": {"type": "soon"}}]})",
         "p.json: tasks[0].constraint.type: \"soon\" is not a constraint"},
        {"{" + head + R"("tasks": [{"id": "A", "resources": ["q"]}]})", "p.json: tasks[0].resources[0]: no resource \"q\""},
        {"{" + head + R"("tasks": [{"id": "A", "resources": [{"id": "r", "units": 2}]}]})",
         "p.json: tasks[0].resources[0]: units must be above 0 and at most the 1"},
        {"{" + head + R"("tasks": [{"id": "A"}, {"id": "A"}]})", "p.json: tasks[1].id: the id \"A\" is also used at tasks[0]"},
        {"{" + head + R"("tasks": [{"id": "A", "predecessors": [{"id": "A"}]}]})",
         "p.json: tasks[0].predecessors[0]: a task cannot follow itself"},
        {"{" + head + R"("tasks": [{"id": "A", "predecessors": [{"id": "A", "type": "XX"}]}]})",
         "p.json: tasks[0].predecessors[0].type: \"XX\" is not a link type"},
        {"{" + head + R"("calendars": {"c": {"hours": ["9-5"]}}, "tasks": []})",
         "p.json: calendars.c.hours[0]: \"9-5\" is not working hours"},
        {"{" + head + R"("calendar": "night", "tasks": []})", "p.json: calendar: no calendar \"night\""},
        {"{" + head + R"("tasks": [{"id": "A", "fixed": {"start": "2026-03-05"}}]})",
         "p.json: tasks[0].fixed: fixed dates need \"start\" and \"finish\""},
    };
    for (const auto& c : cases) {
        try {
            ReadProjectText(c.text, "p.json");
            ADD_FAILURE() << "accepted: " << c.text;
        } catch (const InputError& e) {
            EXPECT_EQ(std::string(e.what()).rfind(c.message, 0), 0u) << e.what() << "\n  expected: " << c.message;
        }
    }
}

}  // namespace
}  // namespace cli
