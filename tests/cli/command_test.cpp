// The command end to end: small projects whose dates are worked out by
// hand, the built-in example, exit codes, and the calendar and calc
// commands, all through the components.
#include <algorithm>
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "commands.h"

namespace cli {
namespace {

struct Output {
    int code;
    std::string out, err;
};

std::string WriteProject(const std::string& name, const std::string& text) {
    std::ofstream(name) << text;
    return name;
}

Output Schedule(const std::string& text, ScheduleArgs args = {}) {
    args.file = WriteProject("cli_test_project.json", text);
    std::ostringstream out, err;
    const int code = RunSchedule(args, out, err);
    return {code, out.str(), err.str()};
}

// The table row of a task: its id column onwards.
std::string Row(const std::string& table, const std::string& id) {
    std::istringstream lines(table);
    for (std::string line; std::getline(lines, line);) {
        const size_t at = line.find_first_not_of(' ');
        if (at != std::string::npos && line.compare(at, id.size() + 1, id + " ") == 0) return line;
    }
    return "(no row " + id + ")";
}

const char* const kWeek = R"("start": "2026-03-02", "finish": "2026-04-30", )";

TEST(Command, DatesWorkedOutByHand) {
    const struct {
        const char* what;
        std::string project;
        std::vector<std::pair<const char*, const char*>> rows;  // id, "start  finish"
    } cases[] = {
        {"finish-to-start on the standard calendar",
         std::string("{") + kWeek + R"("tasks": [{"id": "A", "duration": "1d"},
            {"id": "B", "duration": "2d", "predecessors": ["A"]}]})",
         {{"A", "2026-03-02 08:00  2026-03-02 17:00"}, {"B", "2026-03-03 08:00  2026-03-04 17:00"}}},
        {"a holiday and a weekend are stepped over",
         R"({"start": "2026-04-02", "finish": "2026-04-30",
            "calendars": {"standard": {"holidays": ["2026-04-03"]}},
            "tasks": [{"id": "A", "duration": "2d"}]})",
         {{"A", "2026-04-02 08:00  2026-04-06 17:00"}}},
        {"a part-time resource works its own hours",
         std::string("{") + kWeek + R"("calendars": {"half": {"hours": ["09:00-13:00"]}},
            "resources": [{"id": "r", "calendar": "half"}],
            "tasks": [{"id": "A", "duration": "1d", "resources": ["r"]}]})",
         {{"A", "2026-03-02 09:00  2026-03-03 13:00"}}},
        {"start-to-start with a lag of one calendar day",
         std::string("{") + kWeek + R"("tasks": [{"id": "A", "duration": "2d"},
            {"id": "B", "duration": "4h", "predecessors": [{"id": "A", "type": "SS", "lag": "1d"}]}]})",
         {{"A", "2026-03-02 08:00  2026-03-03 17:00"}, {"B", "2026-03-03 08:00  2026-03-03 12:00"}}},
        {"a summary spans its children",
         std::string("{") + kWeek + R"("tasks": [{"id": "S", "children": [{"id": "A", "duration": "1d",
            "constraint": {"type": "snet", "date": "2026-03-04"}}, {"id": "B", "duration": "1d"}]}]})",
         {{"S", "2026-03-02 08:00  2026-03-04 17:00"}, {"A", "2026-03-04 08:00  2026-03-04 17:00"}}},
    };
    for (const auto& c : cases) {
        const Output o = Schedule(c.project);
        EXPECT_EQ(o.code, kExitOk) << c.what << "\n" << o.out << o.err;
        for (const auto& [id, dates] : c.rows)
            EXPECT_NE(Row(o.out, id).find(dates), std::string::npos) << c.what << ": " << Row(o.out, id);
    }
}

TEST(Command, BuiltInExample) {
    std::ostringstream out, err;
    const int code = RunSchedule({}, out, err);
    EXPECT_LE(code, kExitTasksFailed) << err.str();
    EXPECT_EQ(err.str(), "");
    const std::string table = out.str();
    EXPECT_NE(Row(table, "P1.1").find("2026-03-02 09:00  2026-03-02 11:00"), std::string::npos);
    EXPECT_NE(Row(table, "P1.1").find("fixed"), std::string::npos);
    EXPECT_NE(Row(table, "P1.3").find("2026-03-02 13:00  2026-03-04 12:00"), std::string::npos) << Row(table, "P1.3");
    // Early-hours electrician, one calendar day after the survey starts.
    EXPECT_NE(Row(table, "P1.5").find("2026-03-03 13:00  2026-03-04 13:00"), std::string::npos) << Row(table, "P1.5");
    EXPECT_NE(Row(table, "P1").find("summary"), std::string::npos);
    // The fixed meeting and the site walk both take Ana at 09:00.
    EXPECT_NE(table.find("ana is over-allocated"), std::string::npos) << table;
    // Messages name tasks by id and name.
    EXPECT_EQ(table.find("task 1"), std::string::npos);
}

TEST(Command, ExitCodesAndJson) {
    // Bad input: a message on stderr, nothing on stdout, no file written.
    std::remove("cli_test_out.json");
    ScheduleArgs args;
    args.json = "cli_test_out.json";
    Output o = Schedule(std::string("{") + kWeek + R"("tasks": [{"id": "A", "duration": "1w"}]})", args);
    EXPECT_EQ(o.code, kExitBadInput);
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(o.err, "cli_test_project.json: tasks[0].duration: \"1w\" is not a duration such as \"3d\", \"4h\" or \"90m\"\n");
    EXPECT_FALSE(std::ifstream("cli_test_out.json").good());

    o = Schedule(std::string("{") + kWeek + R"("tasks": [{"id": "A", "duration": "1d"}]})", args);
    EXPECT_EQ(o.code, kExitOk) << o.err;
    std::ifstream written("cli_test_out.json");
    std::stringstream text;
    text << written.rdbuf();
    EXPECT_NE(text.str().find("\"start\": \"2026-03-02 08:00\""), std::string::npos) << text.str();

    // A task that cannot fit before its must-finish date fails: exit 1.
    o = Schedule(std::string("{") + kWeek + R"("tasks": [{"id": "A", "duration": "1d"},
        {"id": "B", "duration": "1d", "predecessors": ["A"], "constraint": {"type": "fab", "date": "2026-03-02 12:00"}}]})");
    EXPECT_EQ(o.code, kExitTasksFailed) << o.out;
    EXPECT_NE(o.out.find("task B \"B\""), std::string::npos) << o.out;

    args.file = "no-such-file.json";
    std::ostringstream out, err;
    EXPECT_EQ(RunSchedule(args, out, err), kExitBadInput);
    EXPECT_EQ(err.str(), "no-such-file.json: cannot open the file\n");
}

TEST(Command, CalendarAndCalc) {
    const std::string file = WriteProject("cli_test_calendar.json", R"({"start": "2026-03-02", "finish": "2026-03-31",
        "calendars": {"half": {"hours": ["09:00-13:00"], "days_off": ["sunday"]}},
        "resources": [{"id": "r", "calendar": "half"}], "tasks": []})");
    std::ostringstream out, err;
    EXPECT_EQ(RunCalendar({file, "r", "2026-03-06", "2026-03-08"}, out, err), kExitOk) << err.str();
    EXPECT_EQ(out.str(),
              "2026-03-06 09:00  2026-03-06 13:00  1\n"
              "2026-03-07 09:00  2026-03-07 13:00  1\n"
              "working hours: 8\n");
    std::ostringstream out2, err2;
    EXPECT_EQ(RunCalendar({file, "nobody", "2026-03-06", "2026-03-08"}, out2, err2), kExitBadInput);
    EXPECT_EQ(err2.str(), "--resource: no resource \"nobody\" in cli_test_calendar.json\n");

    std::ostringstream n, e;
    EXPECT_EQ(RunCalc("(2+3)*4", n, e), kExitOk);
    EXPECT_EQ(n.str(), "20\n");
    std::ostringstream bad, why;
    EXPECT_EQ(RunCalc("(2 +", bad, why), kExitBadInput);
    EXPECT_EQ(bad.str(), "");
    EXPECT_NE(why.str(), "");
}

// The program run through the system's shell: cmd.exe on Windows, which
// reads '/' as a switch and hands back exit codes as they are.
#ifdef _WIN32
std::string Program() {
    std::string path = OSTREL_PROGRAM;
    std::replace(path.begin(), path.end(), '/', '\\');
    return path;
}
int ExitCode(int status) { return status; }
constexpr char kNull[] = "NUL";
FILE* OpenPipe(const std::string& command) { return _popen(command.c_str(), "r"); }
int ClosePipe(FILE* pipe) { return _pclose(pipe); }
#else
std::string Program() { return OSTREL_PROGRAM; }
int ExitCode(int status) { return WEXITSTATUS(status); }
constexpr char kNull[] = "/dev/null";
FILE* OpenPipe(const std::string& command) { return popen(command.c_str(), "r"); }
int ClosePipe(FILE* pipe) { return pclose(pipe); }
#endif

TEST(Command, TheProgramItself) {
    const std::string program = Program();
    const std::string null = kNull;
    FILE* pipe = OpenPipe(program + " --version");
    ASSERT_NE(pipe, nullptr);
    char line[128] = {};
    ASSERT_NE(std::fgets(line, sizeof line, pipe), nullptr);
    EXPECT_EQ(std::string(line).rfind("ostrel ", 0), 0u);
    EXPECT_EQ(ClosePipe(pipe), 0);
    EXPECT_EQ(ExitCode(std::system((program + " schedule --bogus 2>" + null).c_str())), kExitBadInput);
    EXPECT_EQ(ExitCode(std::system((program + " generate --tasks 30 -o cli_test_gen.json").c_str())), 0);
    // Again, over the file the first run wrote.
    EXPECT_EQ(ExitCode(std::system((program + " generate --tasks 30 -o cli_test_gen.json").c_str())), 0);
    EXPECT_LE(ExitCode(std::system((program + " schedule -q cli_test_gen.json >" + null).c_str())), 1);
}

}  // namespace
}  // namespace cli
