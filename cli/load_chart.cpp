#include "load_chart.h"

#include <algorithm>
#include <cmath>

#include "dates.h"
#include "text.h"

namespace cli {
namespace {

// Shorter than this, a moment of over-allocation is the rounding of two
// dates that meet, not a real one: half a minute.
constexpr double kMoment = 1.0 / 2880;

bool Over(const std::vector<LoadStep>& steps) {
    return std::any_of(steps.begin(), steps.end(), [](const LoadStep& s) { return s.over; });
}

}  // namespace

std::vector<LoadStep> LoadSteps(const ScheduleResult& result, const ResourceLoad& resource, DATE from, DATE to) {
    const size_t days = size_t(std::max(0.0, std::ceil(to - from)));
    std::vector<LoadStep> daily(days);
    for (size_t d = 0; d < days; ++d) daily[d].start = from + double(d), daily[d].finish = from + double(d) + 1;

    std::vector<std::pair<DATE, double>> changes;  // units taken up or given back
    for (const ResourceUse& use : resource.uses)
        for (const Span& s : result.tasks[use.task].intervals) {
            changes.emplace_back(s.start, use.units);
            changes.emplace_back(s.finish, -use.units);
        }
    std::sort(changes.begin(), changes.end());
    const auto& offers = resource.offered;

    double taken = 0, offered = offers.empty() ? resource.units : 0;
    size_t c = 0, o = 0;
    DATE at = -1e9;
    while (at < to) {
        for (; c < changes.size() && changes[c].first <= at; ++c) taken += changes[c].second;
        for (; o < offers.size() && offers[o].first <= at; ++o) offered = offers[o].second;
        const DATE next = std::min({c < changes.size() ? changes[c].first : to, o < offers.size() ? offers[o].first : to, to});
        const DATE start = std::max(at, from);
        if (next > start) {
            const double units = std::round(taken * 1e6) / 1e6;
            const bool over = offered > 0 && units > offered + 1e-9 && next - start > kMoment;
            const size_t last = std::min(days, size_t(std::ceil(next - from)));
            for (size_t d = size_t(std::floor(start - from)); d < last; ++d) {
                daily[d].taken = std::max(daily[d].taken, units);
                daily[d].offered = std::max(daily[d].offered, offered);
                daily[d].over = daily[d].over || over;
            }
        }
        at = next;
    }

    std::vector<LoadStep> steps;
    for (const LoadStep& day : daily) {
        if (!steps.empty() && steps.back().taken == day.taken && steps.back().offered == day.offered &&
            steps.back().over == day.over)
            steps.back().finish = day.finish;
        else
            steps.push_back(day);
    }
    return steps;
}

void DrawLoadNames(Markup& out, const ScheduleResult& result, const std::vector<std::vector<LoadStep>>& loads,
                   double width) {
    out << "<svg class=\"names\" width=\"" << width << "\" height=\"" << double(loads.size()) * kLoadRowHeight << "\">";
    for (size_t r = 0; r < loads.size(); ++r) {
        const ResourceLoad& resource = result.resources[r];
        const double top = double(r) * kLoadRowHeight;
        const bool over = Over(loads[r]);
        out << "<g class=\"resource-name" << (over ? " over" : "") << "\" data-resource=\"" << Text{resource.id}
            << "\"><title>" << Text{resource.id} << "  " << Text{resource.name} << "</title>"
            << "<rect class=\"band\" y=\"" << top << "\" width=\"100%\" height=\"" << kLoadRowHeight << "\"/>"
            << "<text x=\"6\" y=\"" << top + 20 << "\"><tspan class=\"id\">" << Text{resource.id} << "</tspan> "
            << Text{resource.name} << "</text><text class=\"detail\" x=\"6\" y=\"" << top + 38 << "\">offers "
            << FormatNumber(resource.units) << (resource.units == 1 ? " unit" : " units") << ", work "
            << FormatHours(resource.workHours, result.hoursPerDay);
        if (over) out << "<tspan class=\"warn\"> \xE2\x9A\xA0 over-allocated</tspan>";
        out << "</text></g>";
    }
    out << "</svg>";
}

void DrawLoadChart(Markup& out, const ScheduleResult& result, const std::vector<std::vector<LoadStep>>& loads,
                   const TimeScale& scale) {
    const double height = double(loads.size()) * kLoadRowHeight;
    out << "<svg class=\"chart\" width=\"" << scale.Width() << "\" height=\"" << height << "\">";
    DrawGrid(out, scale, height);
    for (size_t r = 0; r < loads.size(); ++r) {
        const std::vector<LoadStep>& steps = loads[r];
        const double top = double(r) * kLoadRowHeight, base = top + kLoadRowHeight - 8;
        double peak = 0;
        for (const LoadStep& s : steps) peak = std::max({peak, s.taken, s.offered});
        if (peak <= 0) peak = 1;
        auto y = [&](double units) { return base - (kLoadRowHeight - 16) * units / peak; };
        Markup offered, limit, taken, over;
        for (const LoadStep& s : steps) {
            const double x1 = scale.X(s.start), x2 = scale.X(s.finish);
            if (s.offered > 0) offered << 'M' << x1 << ',' << y(s.offered) << 'H' << x2 << 'V' << base << 'H' << x1 << 'z';
            limit << (limit.str().empty() ? 'M' : 'L') << x1 << ',' << y(s.offered) << 'H' << x2;
            if (s.taken > 0)
                (s.over ? over : taken) << 'M' << x1 << ',' << y(s.taken) << 'H' << x2 << 'V' << base << 'H' << x1 << 'z';
        }
        out << "<g class=\"resource\" data-resource=\"" << Text{result.resources[r].id} << "\"><line class=\"base\" x1=\"0\" x2=\""
            << scale.Width() << "\" y1=\"" << base << "\" y2=\"" << base << "\"/><path class=\"offered\" d=\"" << offered.str()
            << "\"/><path class=\"taken\" d=\"" << taken.str() << "\"/>";
        if (!over.str().empty()) out << "<path class=\"over\" d=\"" << over.str() << "\"/>";
        out << "<path class=\"limit\" d=\"" << limit.str() << "\"/></g>";
    }
    out << "</svg>";
}

}  // namespace cli
