// ostrel: schedules a project file through the Ostrel components.
#include <CLI/CLI.hpp>
#include <iostream>

#include "commands.h"

int main(int argc, char** argv) {
    CLI::App app{"ostrel: schedules projects with the Ostrel engine.\n"
                 "Exit codes: 0 all scheduled, 1 some tasks failed, 2 bad input or a failed run, 130 stopped."};
    app.set_version_flag("--version", std::string("ostrel ") + OSTREL_VERSION);
    app.require_subcommand(1);
    app.footer("Example:\n  ostrel schedule                  # the built-in example project\n"
               "  ostrel schedule --html example.html  # and its Gantt page\n"
               "  ostrel schedule plan.json --json plan-out.json");

    cli::ScheduleArgs schedule;
    auto* s = app.add_subcommand("schedule", "Schedule a project and print its tasks' dates");
    s->add_option("FILE", schedule.file, "Project file (JSON); without one, the built-in example")
        ->check(CLI::ExistingFile);
    s->add_option("--json", schedule.json, "Also write the results as JSON to this file");
    s->add_option("--html", schedule.html,
                  "Also write the Gantt page to this file: one self-contained HTML file with the tasks' bars, "
                  "links and resource loads");
    s->add_flag("--timings", schedule.timings, "Print each stage's time to stderr as it ends");
    s->add_flag("-q,--quiet", schedule.quiet, "Leave out the table; print messages and the summary only");
    s->footer("Example:\n  ostrel schedule plan.json --json out.json --html plan.html --timings");

    cli::CalendarArgs calendar;
    auto* c = app.add_subcommand("calendar", "List the working periods of a calendar");
    c->add_option("FILE", calendar.file, "Project file (JSON)")->required()->check(CLI::ExistingFile);
    c->add_option("--resource", calendar.resource, "A resource's calendar instead of the project's");
    c->add_option("--from", calendar.from, "First day, YYYY-MM-DD")->required();
    c->add_option("--to", calendar.to, "Last day, YYYY-MM-DD")->required();
    c->footer("Example:\n  ostrel calendar plan.json --resource ben --from 2026-03-02 --to 2026-03-08");

    std::string formula;
    auto* k = app.add_subcommand("calc", "Evaluate a formula with the calculator");
    k->add_option("FORMULA", formula, "The formula")->required();
    k->footer("Example:\n  ostrel calc \"(2+3)*4\"");

    cli::GenerateArgs generate;
    auto* g = app.add_subcommand("generate", "Write a generated project for trying the engine at scale");
    g->add_option("--tasks", generate.tasks, "Number of tasks, summaries included")->required()->check(CLI::Range(1, 10000000));
    g->add_option("--resources", generate.resources, "Number of resources (default: one per 20 tasks, at least 5)");
    g->add_option("--seed", generate.seed, "Random seed (same seed, same project)");
    g->add_option("-o,--output", generate.output, "Write to this file instead of stdout");
    g->footer("Example:\n  ostrel generate --tasks 100000 --seed 7 -o big.json && ostrel schedule big.json -q --timings");

    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& e) {
        const int code = app.exit(e);
        return code == 0 ? 0 : cli::kExitBadInput;
    }
    if (s->parsed()) return cli::RunSchedule(schedule, std::cout, std::cerr);
    if (c->parsed()) return cli::RunCalendar(calendar, std::cout, std::cerr);
    if (k->parsed()) return cli::RunCalc(formula, std::cout, std::cerr);
    return cli::RunGenerate(generate, std::cout, std::cerr);
}
