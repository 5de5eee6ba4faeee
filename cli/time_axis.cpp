#include "time_axis.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include "dates.h"

namespace cli {
namespace {

constexpr double kCharWidth = 6.5;  // px of an 11px sans-serif character, on average
constexpr const char* kMonths[] = {"January", "February", "March",     "April",   "May",      "June",
                                   "July",    "August",   "September", "October", "November", "December"};

enum class Unit { Day, Week, Month, Year };

struct Tiers {
    Unit upper, lower;
};

Tiers TiersFor(const TimeScale& scale) {
    if (scale.pxPerDay >= 16) return {Unit::Month, Unit::Day};
    if (scale.pxPerDay * 7 >= 18) return {Unit::Month, Unit::Week};
    return {Unit::Year, Unit::Month};
}

DATE Next(DATE at, Unit unit) {
    const CivilDate c = ToCivil(at);
    switch (unit) {
    case Unit::Day: return at + 1;
    case Unit::Week: return at + 7;
    case Unit::Month: return c.month == 12 ? FromCivil(c.year + 1, 1, 1) : FromCivil(c.year, c.month + 1, 1);
    case Unit::Year: return FromCivil(c.year + 1, 1, 1);
    }
    return at + 1;
}

// The first boundary of the unit at or after the chart's origin (a Monday).
DATE First(DATE origin, Unit unit) {
    const CivilDate c = ToCivil(origin);
    switch (unit) {
    case Unit::Day:
    case Unit::Week: return origin;
    case Unit::Month: return c.day == 1 ? origin : Next(origin, Unit::Month);
    case Unit::Year: return c.month == 1 && c.day == 1 ? origin : FromCivil(c.year + 1, 1, 1);
    }
    return origin;
}

// Labels for a stretch starting at `at`, longest first.
std::vector<std::string> Labels(DATE at, Unit unit, bool upper) {
    const CivilDate c = ToCivil(at);
    const std::string month = kMonths[c.month - 1];
    switch (unit) {
    case Unit::Day:
    case Unit::Week: return {std::to_string(c.day)};
    case Unit::Month:
        if (upper) return {month + " " + std::to_string(c.year), month.substr(0, 3) + " " + std::to_string(c.year), month.substr(0, 3)};
        return {month.substr(0, 3), month.substr(0, 1)};
    case Unit::Year: return {std::to_string(c.year)};
    }
    return {};
}

// Calls back with each stretch of the unit that meets the chart, clipped.
void ForEach(const TimeScale& scale, Unit unit, const std::function<void(DATE, DATE, bool)>& visit) {
    const DATE end = scale.origin + scale.days;
    const DATE first = First(scale.origin, unit);
    if (first > scale.origin) visit(scale.origin, std::min(first, end), false);  // a part, no boundary
    for (DATE at = first; at < end; at = Next(at, unit)) visit(at, std::min(Next(at, unit), end), true);
}

void DrawTier(Markup& out, const TimeScale& scale, Unit unit, bool upper, double top, double height) {
    Markup ticks;
    double lastEnd = -1e9;
    ForEach(scale, unit, [&](DATE from, DATE to, bool boundary) {
        const double x = scale.X(from), room = scale.X(to) - x - 6;
        if (boundary) {
            if (upper)
                out << "<line class=\"tick\" data-date=\"" << FormatDate(from, true) << "\" x1=\"" << x << "\" x2=\"" << x
                    << "\" y1=\"" << top << "\" y2=\"" << top + height << "\"/>";
            else
                ticks << 'M' << x << ',' << top << 'v' << height;
        }
        if (x < lastEnd) return;
        for (const std::string& label : Labels(from, unit, upper)) {
            const double width = double(label.size()) * kCharWidth;
            // A day or week label may run over its stretch a little: the
            // next one is skipped then.
            if (width > room && (upper || unit == Unit::Month)) continue;
            out << "<text x=\"" << x + 3 << "\" y=\"" << top + height - 5 << "\">" << label << "</text>";
            lastEnd = x + 3 + width + 4;
            break;
        }
    });
    if (!ticks.str().empty()) out << "<path class=\"minor\" d=\"" << ticks.str() << "\"/>";
}

}  // namespace

TimeScale ChooseScale(Span range) {
    TimeScale scale;
    const double first = std::floor(range.start);
    scale.origin = first - (Weekday(first) + 6) % 7;
    const double last = std::ceil(std::max(range.finish, range.start + 1));
    const double end = last + (8 - Weekday(last)) % 7;
    scale.days = std::max(7.0, end - scale.origin);
    scale.pxPerDay = std::clamp(1000 / scale.days, 3.0, 60.0);
    if (scale.Width() > 40000) scale.pxPerDay = 40000 / scale.days;
    return scale;
}

void DrawAxis(Markup& out, const TimeScale& scale, double height) {
    const Tiers tiers = TiersFor(scale);
    out << "<g class=\"axis\">";
    DrawTier(out, scale, tiers.upper, true, 0, height / 2);
    DrawTier(out, scale, tiers.lower, false, height / 2, height / 2);
    out << "<line class=\"base\" x1=\"0\" x2=\"" << scale.Width() << "\" y1=\"" << height - 0.5 << "\" y2=\""
        << height - 0.5 << "\"/></g>";
}

void DrawGrid(Markup& out, const TimeScale& scale, double height) {
    const Tiers tiers = TiersFor(scale);
    for (const Unit unit : {tiers.lower, tiers.upper}) {
        Markup d;
        ForEach(scale, unit, [&](DATE from, DATE, bool boundary) {
            if (boundary) d << 'M' << scale.X(from) << ",0v" << height;
        });
        out << "<path class=\"" << (unit == tiers.upper ? "grid major" : "grid") << "\" d=\"" << d.str() << "\"/>";
    }
}

void DrawNonWorking(Markup& out, const TimeScale& scale, const std::vector<Span>& working, double height) {
    const bool hours = scale.pxPerDay >= 40;
    const DATE end = scale.origin + scale.days;
    Markup d;
    auto shade = [&](DATE from, DATE to) {
        if (!hours) from = std::ceil(from), to = std::floor(to);  // whole days only
        from = std::max(from, scale.origin);
        to = std::min(to, end);
        if (to > from) d << 'M' << scale.X(from) << ",0h" << (to - from) * scale.pxPerDay << 'v' << height << 'H' << scale.X(from) << 'z';
    };
    DATE at = scale.origin;
    for (const Span& s : working) {
        if (s.start > at) shade(at, s.start);
        at = std::max(at, s.finish);
    }
    shade(at, end);
    out << "<path class=\"off\" d=\"" << d.str() << "\"/>";
}

}  // namespace cli
