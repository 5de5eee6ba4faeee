// The command's subcommands, each writing to the given streams and
// answering the exit code: 0 done, 1 some tasks failed, 2 bad input or a
// failed run, 130 stopped by Ctrl-C.
#pragma once
#include <cstdint>
#include <ostream>
#include <string>

namespace cli {

enum ExitCode { kExitOk = 0, kExitTasksFailed = 1, kExitBadInput = 2, kExitInterrupted = 130 };

struct ScheduleArgs {
    std::string file;   // empty: the built-in example
    std::string json;   // --json OUT
    std::string html;   // --html OUT: the Gantt page
    bool timings = false;
    bool quiet = false;  // no table
};
int RunSchedule(const ScheduleArgs& args, std::ostream& out, std::ostream& err);

struct CalendarArgs {
    std::string file, resource, from, to;
};
int RunCalendar(const CalendarArgs& args, std::ostream& out, std::ostream& err);

int RunCalc(const std::string& formula, std::ostream& out, std::ostream& err);

struct GenerateArgs {
    size_t tasks = 100, resources = 0;  // 0 resources: one for every 20 tasks
    std::uint32_t seed = 1;
    std::string output;  // empty: stdout
};
int RunGenerate(const GenerateArgs& args, std::ostream& out, std::ostream& err);

}  // namespace cli
