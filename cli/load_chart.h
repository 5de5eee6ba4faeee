// The resource part of the Gantt page: for each resource, the units its
// tasks take over time against the units it offers, day by day, with the
// days it is over-allocated in a warning colour.
#pragma once
#include <vector>

#include "markup.h"
#include "results.h"
#include "time_axis.h"

namespace cli {

// A stretch of equal days in a resource's load.
struct LoadStep {
    DATE start = 0, finish = 0;
    double taken = 0;    // the most units its tasks take at one moment
    double offered = 0;  // the most units it offers at one moment
    bool over = false;   // while it works, at some moment it is given more than it offers
};

// Day by day over [from, to), from the tasks' placed intervals and the
// resource's offered units (its full units throughout when those were not
// read). A task's interval runs across nights and days off, so what it
// takes then is no over-allocation: the resource only works when it offers. Neighbouring equal days are one step, so a long project draws in
// few shapes.
std::vector<LoadStep> LoadSteps(const ScheduleResult& result, const ResourceLoad& resource, DATE from, DATE to);

constexpr double kLoadRowHeight = 56;  // px per resource

// Each resource's name, its units, and whether it is over-allocated; the
// row of an over-allocated one has the class "over".
void DrawLoadNames(Markup& out, const ScheduleResult& result, const std::vector<std::vector<LoadStep>>& loads,
                   double width);
// Each resource's chart as a group with its id in data-resource.
void DrawLoadChart(Markup& out, const ScheduleResult& result, const std::vector<std::vector<LoadStep>>& loads,
                   const TimeScale& scale);

}  // namespace cli
