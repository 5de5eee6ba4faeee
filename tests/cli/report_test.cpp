// The Gantt page's pieces without a browser: escaping and numbers in the
// markup, a resource's load in day steps, and a page for a large schedule.
#include <gtest/gtest.h>

#include "dates.h"
#include "html_report.h"
#include "load_chart.h"
#include "markup.h"

namespace cli {
namespace {

TEST(Report, MarkupEscapesProjectTextAndRoundsNumbers) {
    Markup m;
    m << Text{"a<b & \"c\" 'd'\x01"} << ' ' << 12.0 << ' ' << 12.54 << ' ' << -1.25 << ' ' << -0.04 << ' ' << size_t(7);
    EXPECT_EQ(m.str(), "a&lt;b &amp; &quot;c&quot; &#39;d&#39;\xEF\xBF\xBD 12 12.5 -1.3 0 7");
    EXPECT_EQ(Tidy("line one\r\nline two\r\n"), "line one\nline two");
}

// Monday 2 March 2026, working 08:00-17:00 on the two days shown.
ScheduleResult OneResource(const std::vector<Span>& intervals) {
    const DATE monday = FromCivil(2026, 3, 2);
    ScheduleResult result;
    ResourceLoad r;
    r.id = "ana";
    for (size_t i = 0; i < intervals.size(); ++i) {
        TaskResult t;
        t.id = "T" + std::to_string(i);
        t.intervals = {intervals[i]};
        result.tasks.push_back(t);
        r.uses.push_back({i, t.id, intervals[i].start, intervals[i].finish, 1, 0});
    }
    for (int d = 0; d < 2; ++d) {
        r.offered.emplace_back(monday + d + 8 / 24.0, 1);
        r.offered.emplace_back(monday + d + 17 / 24.0, 0);
    }
    result.resources.push_back(r);
    return result;
}

TEST(Report, LoadStepsMarkOverAllocationOnlyWhileTheResourceWorks) {
    const DATE monday = FromCivil(2026, 3, 2);
    const auto at = [&](int day, int hour) { return monday + day + hour / 24.0; };
    const struct {
        const char* what;
        std::vector<Span> intervals;
        std::vector<bool> overByDay;  // Monday to Wednesday
    } cases[] = {
        {"two tasks at once on Monday", {{at(0, 9), at(0, 11)}, {at(0, 8), at(0, 12)}}, {true, false, false}},
        {"one after the other", {{at(0, 8), at(0, 12)}, {at(0, 12), at(0, 17)}}, {false, false, false}},
        {"across the night: nothing is taken while it does not work",
         {{at(0, 13), at(1, 12)}, {at(0, 18), at(1, 7)}}, {false, false, false}},
        {"on Tuesday only", {{at(1, 8), at(1, 17)}, {at(1, 16), at(1, 17)}}, {false, true, false}},
    };
    for (const auto& c : cases) {
        const ScheduleResult result = OneResource(c.intervals);
        const std::vector<LoadStep> steps = LoadSteps(result, result.resources[0], monday, monday + 3);
        ASSERT_FALSE(steps.empty()) << c.what;
        EXPECT_EQ(steps.front().start, monday);
        EXPECT_EQ(steps.back().finish, monday + 3);
        for (int d = 0; d < 3; ++d) {
            const DATE noon = monday + d + 0.5;
            for (const LoadStep& s : steps) {
                if (s.start <= noon && noon < s.finish) {
                    EXPECT_EQ(s.over, c.overByDay[size_t(d)]) << c.what << ", day " << d;
                }
            }
        }
    }
    // Equal days are one step: a resource with nothing to do is one step over a year.
    ScheduleResult idle = OneResource({});
    idle.resources[0].offered.clear();
    EXPECT_EQ(LoadSteps(idle, idle.resources[0], monday, monday + 365).size(), 1u);
}

TEST(Report, PageForTwoThousandTasksStaysSmallAndEscaped) {
    ScheduleResult result;
    result.projectName = "Big <project> & \"friends\"";
    result.start = FromCivil(2026, 1, 5);
    result.finish = FromCivil(2027, 12, 31);
    ResourceLoad r;
    r.id = "R1";
    for (size_t i = 0; i < 2000; ++i) {
        TaskResult t;
        t.id = "T" + std::to_string(i);
        t.name = i % 2 ? "Task <" + t.id + "> & 'more'" : std::string(200, 'x');
        t.hasDates = true;
        t.start = result.start + double(i % 500);
        t.finish = t.start + 2.5;
        t.intervals = {{t.start, t.finish}};
        t.status = TaskStatus::Scheduled;
        result.tasks.push_back(t);
        if (i) result.links.push_back({i - 1, i, LinkType::FS});
        r.uses.push_back({i, t.id, t.start, t.finish, 1, 20});
    }
    result.resources.push_back(r);
    const std::string page = HtmlReport(result);
    EXPECT_LT(page.size(), 3'000'000u);
    EXPECT_EQ(page.find("<project>"), std::string::npos);
    EXPECT_EQ(page.find("Task <"), std::string::npos);
    EXPECT_NE(page.find("Big &lt;project&gt; &amp; &quot;friends&quot;"), std::string::npos);
    EXPECT_NE(page.find("Task &lt;T1&gt; &amp; &#39;more&#39;"), std::string::npos);
    // Self-contained: nothing is fetched.
    for (const char* outside : {"src=", "href=", "http:", "https:", "@import"})
        EXPECT_EQ(page.find(outside), std::string::npos) << outside;
}

}  // namespace
}  // namespace cli
