// The Gantt page: one self-contained HTML file (inline CSS, SVG drawn
// here, a few lines of script that keep the two charts scrolled together)
// that works offline. Tasks with their bars and links over a time axis,
// each resource's load against what it offers, then the engine's messages.
#pragma once
#include <string>

#include "results.h"

namespace cli {

// The stretch of time the page draws: the whole weeks around the dated
// tasks, or around the project's range when nothing has dates. The
// calendars a page shades are read over this range (AddCalendars).
Span ReportRange(const ScheduleResult& result);

std::string HtmlReport(const ScheduleResult& result);
// Written whole or not at all; throws RunError when it cannot be.
void WriteHtmlFile(const std::string& fileName, const ScheduleResult& result);

}  // namespace cli
