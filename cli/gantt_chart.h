// The task part of the Gantt page: the names column and the chart beside
// it, one row per task in outline order.
#pragma once
#include "markup.h"
#include "results.h"
#include "time_axis.h"

namespace cli {

constexpr double kRowHeight = 22;  // px per task row

// Wide enough for most names at their depth, within bounds; longer names
// are cut with an ellipsis and shown whole on hover.
double NamesWidth(const ScheduleResult& result);
// The names column as one SVG element.
void DrawTaskNames(Markup& out, const ScheduleResult& result, double width);
// The chart as one SVG element: non-working time, grid, bars, summaries,
// milestones, links, and failed tasks with their messages on hover. Each
// task's drawing is a group with the task's id in data-task.
void DrawTaskChart(Markup& out, const ScheduleResult& result, const TimeScale& scale);

}  // namespace cli
