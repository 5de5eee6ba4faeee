// ostrel schedule [FILE]: read, schedule, show, write.
#include <chrono>
#include <cstdio>
#include <iostream>

#include "commands.h"
#include "engine_run.h"
#include "example_project.h"
#include "html_report.h"
#include "json_output.h"
#include "project_reader.h"
#include "table_output.h"
#include "terminal.h"

namespace cli {
namespace {

class Stopwatch {
public:
    double Lap() {
        const auto now = std::chrono::steady_clock::now();
        const double seconds = std::chrono::duration<double>(now - last_).count();
        last_ = now;
        return seconds;
    }

private:
    std::chrono::steady_clock::time_point last_ = std::chrono::steady_clock::now();
};

// A one-line bar on stderr, redrawn at most ten times a second.
class ProgressBar {
public:
    void Show(unsigned long done, unsigned long total) {
        const auto now = std::chrono::steady_clock::now();
        if (now - last_ < std::chrono::milliseconds(100)) return;
        last_ = now;
        const unsigned long shown = total ? std::min(done, total) : 0;
        const int filled = total ? int(30 * shown / total) : 0;
        std::fprintf(stderr, "\rscheduling [%-30s] %lu/%lu", std::string(size_t(filled), '#').c_str(), shown, total);
        std::fflush(stderr);
        drawn_ = true;
    }
    ~ProgressBar() {
        if (drawn_) std::fprintf(stderr, "\r%60s\r", "");
    }

private:
    std::chrono::steady_clock::time_point last_{};
    bool drawn_ = false;
};

}  // namespace

int RunSchedule(const ScheduleArgs& args, std::ostream& out, std::ostream& err) {
    Stopwatch clock;
    auto timing = [&](const char* stage) {
        // Each stage as it ends, so a long run shows where it is.
        const double seconds = clock.Lap();
        if (args.timings) err << "timings: " << stage << ' ' << seconds << " s" << std::endl;
    };
    // Ctrl-C is caught from the start: during reading it stops before
    // anything is scheduled, during the run it stops the scheduler; the
    // files are then written whole from what was scheduled.
    std::atomic<bool> stop{false};
    CatchInterrupt(stop);
    struct Release {
        ~Release() { ReleaseInterrupt(); }
    } release;
    try {
        const Project project = args.file.empty() ? ReadProjectText(kExampleProject, "(built-in example)")
                                                  : ReadProjectText(ReadFile(args.file), args.file);
        timing("read");
        if (stop) {
            err << "ostrel: stopped by Ctrl-C before scheduling; nothing written\n";
            return kExitInterrupted;
        }

        ComSession session;
        RunOptions options;
        options.stop = &stop;
        ScheduleResult result;
        {
            ProgressBar bar;
            if (IsTerminal(stderr))
                options.progress = [&](unsigned long done, unsigned long total) { bar.Show(done, total); };
            result = Schedule(project, options);
        }
        timing("schedule");

        if (!args.quiet) {
            WriteTable(out, result, WantsColour(stdout));
            out << '\n';
        }
        WriteMessages(out, result);
        WriteSummary(out, result);
        out.flush();
        timing("table");

        if (!args.json.empty()) {
            WriteJsonFile(args.json, result);
            timing("json");
        }
        if (!args.html.empty()) {
            AddCalendars(project, ReportRange(result), result);
            WriteHtmlFile(args.html, result);
            timing("html");
        }

        if (result.interrupted) return kExitInterrupted;
        if (result.RunFailed()) return kExitBadInput;
        return result.Count(TaskStatus::Failed) + result.Count(TaskStatus::NotScheduled) ? kExitTasksFailed : kExitOk;
    } catch (const InputError& e) {
        err << e.what() << '\n';
    } catch (const RunError& e) {
        err << "ostrel: " << e.what() << '\n';
    }
    return kExitBadInput;
}

}  // namespace cli
