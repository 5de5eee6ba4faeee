// What the command does as a host beyond translating the file: the order it
// asks the engine for, a resource's units on its calendar, and start dates
// that fall on midnight. Dates are worked out by hand on the standard
// calendar (08:00-12:00, 13:00-17:00, weekends off).
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

#include "commands.h"
#include "link_levels.h"
#include "project_reader.h"

namespace cli {
namespace {

TEST(HostScheduling, LinkLevels) {
    const Project p = ReadProjectText(R"({"start": "2026-03-02", "finish": "2026-04-30", "tasks": [
        {"id": "A", "duration": "1d"},
        {"id": "S", "predecessors": ["A"], "children": [
            {"id": "B", "duration": "1d"},
            {"id": "C", "duration": "1d", "predecessors": ["B"]}]},
        {"id": "D", "duration": "1d", "predecessors": ["S"]},
        {"id": "E", "duration": "1d", "predecessors": [{"id": "C", "type": "SS"}, "A"]},
        {"id": "X", "duration": "1d", "predecessors": ["Y"]},
        {"id": "Y", "duration": "1d", "predecessors": ["X"]}]})",
                                      "p.json");
    // A summary's links reach its tasks, a link to a summary waits for all
    // of them, and a circle still gets depths.
    const std::vector<unsigned> expected = {0, 2, 1, 2, 3, 3, 1, 0};
    const std::vector<unsigned> levels = LinkLevels(p);
    ASSERT_EQ(levels.size(), p.tasks.size());
    for (size_t i = 0; i < p.tasks.size(); ++i) {
        if (p.tasks[i].id != "X" && p.tasks[i].id != "Y") {
            EXPECT_EQ(levels[i], expected[i]) << p.tasks[i].id;
        }
    }
    EXPECT_NE(levels[6], levels[7]);
}

std::string Row(const std::string& table, const std::string& id) {
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        const size_t at = line.find_first_not_of(' ');
        if (at != std::string::npos && line.compare(at, id.size() + 1, id + " ") == 0) return line;
    }
    return "(no row " + id + ")";
}

TEST(HostScheduling, DatesAHostShouldGet) {
    const struct {
        const char* what;
        const char* tasks;
        std::vector<std::pair<const char*, const char*>> rows;  // id, "start  finish"
    } cases[] = {
        // Left to the engine's order, B (no resources) would go first, wait
        // for A, and A would be placed twice, the second time a day later.
        {"a task with fewer resources still follows its predecessor",
         R"([{"id": "B", "duration": "1d", "predecessors": ["A"]},
             {"id": "A", "duration": "1d", "resources": ["r"]}])",
         {{"A", "2026-03-02 08:00  2026-03-02 17:00"}, {"B", "2026-03-03 08:00  2026-03-03 17:00"}}},
        {"a resource offering two units takes a two-unit task on its calendar",
         R"([{"id": "A", "duration": "1d", "resources": [{"id": "crew", "units": 2}]}])",
         {{"A", "2026-03-02 08:00  2026-03-02 17:00"}}},
        // The fixed task makes r's profile ready for 2 March only; the
        // start-no-earlier date lies far beyond, at midnight.
        {"a start date at midnight far ahead still meets working hours",
         R"([{"id": "F", "duration": "2h", "resources": ["r"],
              "fixed": {"start": "2026-03-02 09:00", "finish": "2026-03-02 11:00"}},
             {"id": "L", "duration": "1d", "resources": ["r"], "constraint": {"type": "snet", "date": "2026-04-27"}}])",
         {{"L", "2026-04-27 08:00  2026-04-27 17:00"}}},
    };
    for (const auto& c : cases) {
        const std::string file = "host_scheduling_project.json";
        std::ofstream(file) << R"({"start": "2026-03-02", "finish": "2026-06-30",
            "resources": [{"id": "r"}, {"id": "crew", "units": 2}], "tasks": )"
                            << c.tasks << "}";
        ScheduleArgs args;
        args.file = file;
        std::ostringstream out, err;
        EXPECT_EQ(RunSchedule(args, out, err), kExitOk) << c.what << "\n" << out.str() << err.str();
        for (const auto& [id, dates] : c.rows)
            EXPECT_NE(Row(out.str(), id).find(dates), std::string::npos) << c.what << ": " << Row(out.str(), id);
    }
}

}  // namespace
}  // namespace cli
