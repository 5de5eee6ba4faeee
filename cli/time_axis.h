// Where dates fall across a chart, and the time axis drawn over it: two
// tiers (months over days, months over weeks, or years over months, as the
// scale allows), each label drawn only where it fits.
#pragma once
#include <Ostrel.h>

#include "markup.h"
#include "results.h"

namespace cli {

struct TimeScale {
    DATE origin = 0;        // the chart's left edge, a midnight
    double days = 0;        // calendar days across the chart
    double pxPerDay = 1;
    double X(DATE date) const { return (date - origin) * pxPerDay; }
    double Width() const { return days * pxPerDay; }
};

// Whole weeks, Monday to Monday, around the range. A span reads at about
// 1,000 px (a laptop's screen beside the names); longer ones scroll, with
// at least 3 px a day while the chart stays within 40,000 px.
TimeScale ChooseScale(Span range);

// The axis as SVG content, height px tall. Each upper-tier boundary is a
// line with its date in data-date, so a reader of the page can tell where
// a date is drawn.
void DrawAxis(Markup& out, const TimeScale& scale, double height);
// Light vertical lines at both tiers' boundaries, height px tall.
void DrawGrid(Markup& out, const TimeScale& scale, double height);
// Shades what is not working time: whole days off always, the hours
// between working periods only when an hour is wide enough to see.
void DrawNonWorking(Markup& out, const TimeScale& scale, const std::vector<Span>& working, double height);

}  // namespace cli
