#include "gantt_chart.h"

#include <algorithm>
#include <unordered_map>

#include "dates.h"

namespace cli {
namespace {

constexpr double kNameCharWidth = 6.8;  // px of a 12px sans-serif character, on average
constexpr double kIndent = 14;          // px per outline level

double Middle(size_t row) { return double(row) * kRowHeight + kRowHeight / 2; }

size_t Characters(const std::string& utf8) {
    size_t n = 0;
    for (const char c : utf8) n += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return n;
}

// The first `count` characters, never splitting one.
std::string_view Prefix(const std::string& utf8, size_t count) {
    size_t at = 0;
    for (size_t seen = 0; at < utf8.size(); ++at)
        if ((static_cast<unsigned char>(utf8[at]) & 0xC0) != 0x80 && seen++ == count) break;
    return std::string_view(utf8).substr(0, at);
}

// The messages about each task, one per line, for hovering.
std::vector<std::string> TaskNotes(const ScheduleResult& result) {
    std::unordered_map<std::string_view, size_t> byId;
    for (size_t i = 0; i < result.tasks.size(); ++i) byId.emplace(result.tasks[i].id, i);
    std::vector<std::string> notes(result.tasks.size());
    for (const MessageResult& m : result.messages) {
        const auto found = byId.find(m.taskId);
        if (found == byId.end()) continue;
        std::string& note = notes[found->second];
        if (!note.empty()) note += '\n';
        note += (m.error ? "error: " : "note: ") + Tidy(m.text);
    }
    return notes;
}

const char* BarClass(const TaskResult& t) {
    switch (t.status) {
    case TaskStatus::Fixed: return "bar fixed";
    case TaskStatus::Failed: return "bar failed";
    default: return "bar";
    }
}

void Title(Markup& out, const ScheduleResult& result, const TaskResult& t, const std::string& note) {
    out << "<title>" << Text{t.id} << "  " << Text{t.name};
    if (t.hasDates) out << '\n' << FormatDate(t.start) << " \xE2\x80\x93 " << FormatDate(t.finish);
    out << "\nwork " << FormatHours(t.hours, result.hoursPerDay) << ", " << StatusName(t.status);
    if (!t.resources.empty()) out << "\nresources: " << Text{t.resources};
    if (!note.empty()) out << '\n' << Text{note};
    out << "</title>";
}

void DrawTask(Markup& out, const ScheduleResult& result, size_t row, const TimeScale& scale, const std::string& note) {
    const TaskResult& t = result.tasks[row];
    const double top = double(row) * kRowHeight;
    out << "<g class=\"task\" data-task=\"" << Text{t.id} << "\">";
    Title(out, result, t, note);
    if (!t.hasDates) {
        // Nothing placed: say why in the row itself.
        std::string why = !note.empty() ? note.substr(0, note.find('\n'))
                          : t.summary   ? std::string("none of its tasks was scheduled")
                                        : std::string(StatusName(t.status));
        if (Characters(why) > 100) why = std::string(Prefix(why, 99)) + "\xE2\x80\xA6";
        out << "<text class=\"why\" x=\"4\" y=\"" << top + 15 << "\">\xE2\x9C\x95 " << Text{why} << "</text>";
    } else if (t.summary) {
        const double x1 = scale.X(t.start), x2 = std::max(scale.X(t.finish), x1 + 2);
        out << "<path class=\"summary\" d=\"M" << x1 << ',' << top + 6 << 'H' << x2 << "v9l-4,-4H"
            << x1 + 4 << "l-4,4z\"/>";
    } else if (t.finish <= t.start) {
        const double x = scale.X(t.start);
        out << "<path class=\"milestone\" d=\"M" << x << ',' << top + 4 << "l7,7 -7,7 -7,-7z\"/>";
    } else {
        for (const Span& s : t.intervals) {
            // At least a pixel, so a short piece still shows.
            const double x = scale.X(s.start), width = std::max(1.0, (s.finish - s.start) * scale.pxPerDay);
            out << "<rect class=\"" << BarClass(t) << "\" x=\"" << x << "\" y=\"" << top + 5 << "\" width=\"" << width
                << "\" height=\"12\"/>";
        }
    }
    out << "</g>";
}

// An elbow from the predecessor's end to the successor's, leaving and
// entering on the side the link type names.
void DrawLink(Markup& out, const ScheduleResult& result, const Dependency& link, const TimeScale& scale) {
    const TaskResult& from = result.tasks[link.from];
    const TaskResult& to = result.tasks[link.to];
    if (!from.hasDates || !to.hasDates) return;
    const bool fromFinish = link.type == LinkType::FS || link.type == LinkType::FF;
    const bool toStart = link.type == LinkType::FS || link.type == LinkType::SS;
    const double x1 = scale.X(fromFinish ? from.finish : from.start), y1 = Middle(link.from);
    const double x2 = scale.X(toStart ? to.start : to.finish), y2 = Middle(link.to);
    const double out1 = x1 + (fromFinish ? 6 : -6), in2 = x2 + (toStart ? -6 : 6);
    out << "<path d=\"M" << x1 << ',' << y1 << 'H' << out1;
    if (toStart ? out1 <= in2 : out1 >= in2) {
        out << 'V' << y2;
    } else {
        const double between = y2 + (y2 > y1 ? -kRowHeight / 2 : kRowHeight / 2);
        out << 'V' << between << 'H' << in2 << 'V' << y2;
    }
    out << 'H' << x2 << "\"/>";
}

}  // namespace

double NamesWidth(const ScheduleResult& result) {
    double widest = 0;
    for (const TaskResult& t : result.tasks)
        widest = std::max(widest, t.depth * kIndent + double(Characters(t.id) + 1 + Characters(t.name)) * kNameCharWidth);
    return std::clamp(widest + 16, 200.0, 380.0);
}

void DrawTaskNames(Markup& out, const ScheduleResult& result, double width) {
    const double height = double(result.tasks.size()) * kRowHeight;
    out << "<svg class=\"names\" width=\"" << width << "\" height=\"" << height << "\">"
        << "<rect width=\"100%\" height=\"100%\" fill=\"url(#stripes)\"/>";
    for (size_t row = 0; row < result.tasks.size(); ++row) {
        const TaskResult& t = result.tasks[row];
        const double x = 6 + t.depth * kIndent;
        const size_t fits = size_t(std::max(0.0, (width - x - 6) / kNameCharWidth));
        const size_t idLength = Characters(t.id), nameLength = Characters(t.name);
        out << "<g class=\"name" << (t.summary ? " summary" : "")
            << (t.status == TaskStatus::Failed || t.status == TaskStatus::NotScheduled ? " failed" : "") << "\"><title>"
            << Text{t.id} << "  " << Text{t.name} << "</title><text x=\"" << x << "\" y=\"" << Middle(row) + 4 << "\">";
        if (idLength + 1 + nameLength <= fits) {
            out << "<tspan class=\"id\">" << Text{t.id} << "</tspan> " << Text{t.name};
        } else if (idLength + 2 < fits) {
            out << "<tspan class=\"id\">" << Text{t.id} << "</tspan> " << Text{Prefix(t.name, fits - idLength - 2)} << "\xE2\x80\xA6";
        } else {
            out << "<tspan class=\"id\">" << Text{Prefix(t.id, fits > 1 ? fits - 1 : 0)} << "\xE2\x80\xA6</tspan>";
        }
        out << "</text></g>";
    }
    out << "</svg>";
}

void DrawTaskChart(Markup& out, const ScheduleResult& result, const TimeScale& scale) {
    const double height = double(result.tasks.size()) * kRowHeight;
    out << "<svg class=\"chart\" width=\"" << scale.Width() << "\" height=\"" << height << "\">"
        << "<rect width=\"100%\" height=\"100%\" fill=\"url(#stripes)\"/>";
    DrawNonWorking(out, scale, result.workingTime, height);
    DrawGrid(out, scale, height);
    out << "<g class=\"links\">";
    for (const Dependency& link : result.links) DrawLink(out, result, link, scale);
    out << "</g>";
    const std::vector<std::string> notes = TaskNotes(result);
    for (size_t row = 0; row < result.tasks.size(); ++row) DrawTask(out, result, row, scale, notes[row]);
    out << "</svg>";
}

}  // namespace cli
