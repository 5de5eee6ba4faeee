#include "html_report.h"

#include <algorithm>
#include <cmath>

#include "dates.h"
#include "gantt_chart.h"
#include "load_chart.h"
#include "markup.h"
#include "output_file.h"
#include "time_axis.h"

namespace cli {
namespace {

constexpr double kAxisHeight = 40;

constexpr const char* kStyle = R"css(
body{font:13px/1.4 system-ui,-apple-system,"Segoe UI",Roboto,"DejaVu Sans",sans-serif;color:#1f2328;margin:16px 20px;background:#fff}
h1{font-size:20px;margin:0 0 4px}h2{font-size:15px;margin:20px 0 6px}
p.meta{margin:0 0 8px;color:#57606a}
.legend{display:flex;flex-wrap:wrap;gap:4px 16px;margin:6px 0;color:#57606a}
.legend svg{display:inline-block;vertical-align:middle;margin-right:4px}
.scroll{overflow:auto;border:1px solid #d0d7de;max-width:100%}
#tasks{max-height:78vh}#load{max-height:60vh}
.frame{display:grid}
.corner,.top,.left{background:#fff;position:sticky}
.corner{top:0;left:0;z-index:3;border-right:1px solid #d0d7de;border-bottom:1px solid #d0d7de;font-weight:600;padding:20px 0 0 6px;box-sizing:border-box;height:40px}
.top{top:0;z-index:2}.left{left:0;z-index:1;border-right:1px solid #d0d7de}
svg{display:block}text{font-size:12px;fill:#1f2328}
.axis text{font-size:11px;fill:#57606a}.axis .tick,.axis .minor,.axis .base{stroke:#afb8c1;stroke-width:1}
path.grid{stroke:#eaeef2;fill:none}path.major{stroke:#d0d7de}
.off{fill:#f0f1f4}
.names .id{fill:#6e7781;font-size:11px}.name.summary text{font-weight:600}.name.failed text{fill:#cf222e}
.bar{fill:#4a7fd4}.bar.fixed{fill:#8c959f}.bar.failed{fill:#cf222e}
.summary{fill:#32383f}.milestone{fill:#8250df}
.task:hover .bar,.task:hover .summary,.task:hover .milestone{stroke:#0b1f3a;stroke-width:1.5}
.why{fill:#cf222e;font-size:11px}
.links path{fill:none;stroke:#8c959f;stroke-width:1;marker-end:url(#arrow)}
#arrow path{fill:#8c959f}
.band{fill:#fff;stroke:#eaeef2}
.detail{font-size:11px;fill:#57606a}.warn{fill:#bc4c00;font-weight:600}
.resource .base{stroke:#d0d7de}.offered{fill:#dafbe1}.limit{fill:none;stroke:#1a7f37;stroke-width:1.5}
.taken{fill:#4a7fd4;fill-opacity:.85}.over{fill:#fb8f44}
ul.messages{padding-left:20px;margin:0}ul.messages li{margin:2px 0}.error{color:#cf222e;font-weight:600}.note{color:#57606a}
.messages .detail{display:block;color:#57606a;white-space:pre-line}
)css";

// Shared by both charts: the row stripes and the links' arrowhead.
constexpr const char* kDefinitions =
    "<svg width=\"0\" height=\"0\" style=\"position:absolute\" aria-hidden=\"true\"><defs>"
    "<pattern id=\"stripes\" width=\"8\" height=\"44\" patternUnits=\"userSpaceOnUse\">"
    "<rect y=\"22\" width=\"8\" height=\"22\" fill=\"#f6f8fa\"/></pattern>"
    "<marker id=\"arrow\" viewBox=\"0 0 8 8\" refX=\"8\" refY=\"4\" markerWidth=\"6\" markerHeight=\"6\" orient=\"auto\">"
    "<path d=\"M0,0L8,4L0,8z\"/></marker></defs></svg>";

constexpr const char* kLegend =
    "<div class=\"legend\">"
    "<span><svg width=\"22\" height=\"12\"><rect class=\"bar\" width=\"22\" height=\"12\"/></svg>scheduled</span>"
    "<span><svg width=\"22\" height=\"12\"><rect class=\"bar fixed\" width=\"22\" height=\"12\"/></svg>fixed</span>"
    "<span><svg width=\"22\" height=\"12\"><rect class=\"bar failed\" width=\"22\" height=\"12\"/></svg>failed</span>"
    "<span><svg width=\"22\" height=\"12\"><path class=\"summary\" d=\"M0,1H22v9l-4,-4H4l-4,4z\"/></svg>summary</span>"
    "<span><svg width=\"14\" height=\"14\"><path class=\"milestone\" d=\"M7,0l7,7 -7,7 -7,-7z\"/></svg>milestone</span>"
    "<span><svg width=\"22\" height=\"12\"><rect class=\"off\" width=\"22\" height=\"12\" stroke=\"#d0d7de\"/></svg>not working time</span>"
    "<span><svg width=\"22\" height=\"12\"><rect class=\"offered\" width=\"22\" height=\"12\"/><path class=\"limit\" d=\"M0,1H22\"/></svg>offered units</span>"
    "<span><svg width=\"22\" height=\"12\"><rect class=\"taken\" width=\"22\" height=\"12\"/></svg>taken</span>"
    "<span><svg width=\"22\" height=\"12\"><rect class=\"over\" width=\"22\" height=\"12\"/></svg>over-allocated</span>"
    "</div>";

// Horizontal scrolling of one chart moves the other, so dates line up.
constexpr const char* kScript =
    "<script>(function(){var a=document.getElementById('tasks'),b=document.getElementById('load');"
    "if(!a||!b)return;function tie(f,t){f.addEventListener('scroll',function(){"
    "if(t.scrollLeft!==f.scrollLeft)t.scrollLeft=f.scrollLeft;});}tie(a,b);tie(b,a);})();</script>";

// A scrolling block: a corner, the axis along the top, a names column
// down the left (both staying in view), and the chart.
template <class Names, class Chart>
void Section(Markup& out, const char* id, const char* corner, double namesWidth, const TimeScale& scale, Names names,
             Chart chart) {
    out << "<div class=\"scroll\" id=\"" << id << "\"><div class=\"frame\" style=\"grid-template-columns:" << namesWidth
        << "px " << scale.Width() << "px\"><div class=\"corner\">" << corner << "</div><div class=\"top\"><svg width=\""
        << scale.Width() << "\" height=\"" << kAxisHeight << "\">";
    DrawAxis(out, scale, kAxisHeight);
    out << "</svg></div><div class=\"left\">";
    names();
    out << "</div><div>";
    chart();
    out << "</div></div></div>";
}

void Messages(Markup& out, const ScheduleResult& result) {
    out << "<h2>Messages</h2>";
    if (result.messages.empty()) {
        out << "<p class=\"meta\">None.</p>";
        return;
    }
    out << "<ul class=\"messages\">";
    for (const MessageResult& m : result.messages) {
        out << "<li><span class=\"" << (m.error ? "error\">error" : "note\">note") << "</span> ";
        if (!m.taskId.empty()) out << "task " << Text{m.taskId} << " \xE2\x80\x9C" << Text{m.taskName} << "\xE2\x80\x9D: ";
        const std::string text = Tidy(m.text), detail = Tidy(m.detail);
        out << Text{text};
        if (!detail.empty() && detail != text) out << "<span class=\"detail\">" << Text{detail} << "</span>";
        out << "</li>";
    }
    out << "</ul>";
}

// The range's finish is exclusive; people name the last day it holds.
DATE LastDay(DATE finish) { return finish == std::floor(finish) ? finish - 1 : finish; }

}  // namespace

Span ReportRange(const ScheduleResult& result) {
    Span range{result.start, result.finish};
    bool any = false;
    for (const TaskResult& t : result.tasks) {
        if (!t.hasDates) continue;
        range.start = any ? std::min(range.start, t.start) : t.start;
        range.finish = any ? std::max(range.finish, t.finish) : t.finish;
        any = true;
    }
    // Out to the whole weeks the chart shows.
    const TimeScale scale = ChooseScale(range);
    return {scale.origin, scale.origin + scale.days};
}

std::string HtmlReport(const ScheduleResult& result) {
    const TimeScale scale = ChooseScale(ReportRange(result));
    const double namesWidth = NamesWidth(result);
    std::vector<std::vector<LoadStep>> loads;
    for (const ResourceLoad& r : result.resources)
        loads.push_back(LoadSteps(result, r, scale.origin, scale.origin + scale.days));

    Markup out;
    out.str().reserve(result.tasks.size() * 700 + 20000);
    const std::string title = result.projectName.empty() ? std::string("Schedule") : result.projectName;
    out << "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">"
        << "<meta name=\"viewport\" content=\"width=device-width\"><title>" << Text{title}
        << " \xC2\xB7 ostrel schedule</title><style>" << kStyle << "</style></head><body>" << kDefinitions << "<h1>"
        << Text{title} << "</h1><p class=\"meta\">" << FormatDate(result.start, true) << " to "
        << FormatDate(LastDay(result.finish), true) << " \xC2\xB7 " << result.Count(TaskStatus::Scheduled) << " scheduled, "
        << result.Count(TaskStatus::Fixed) << " fixed, " << result.Count(TaskStatus::Failed) << " failed, "
        << result.Count(TaskStatus::NotScheduled) << " not scheduled";
    if (result.RunFailed()) out << " \xC2\xB7 <span class=\"warn\">the run failed</span>";
    if (result.interrupted) out << " \xC2\xB7 <span class=\"warn\">stopped by Ctrl-C</span>";
    out << "</p>" << kLegend << "<h2>Tasks</h2>";
    Section(
        out, "tasks", "Task", namesWidth, scale, [&] { DrawTaskNames(out, result, namesWidth); },
        [&] { DrawTaskChart(out, result, scale); });
    if (!result.resources.empty()) {
        out << "<h2>Resource load</h2>";
        Section(
            out, "load", "Resource", namesWidth, scale, [&] { DrawLoadNames(out, result, loads, namesWidth); },
            [&] { DrawLoadChart(out, result, loads, scale); });
    }
    Messages(out, result);
    out << kScript << "</body></html>\n";
    return std::move(out.str());
}

void WriteHtmlFile(const std::string& fileName, const ScheduleResult& result) {
    WriteFileWhole(fileName, HtmlReport(result));
}

}  // namespace cli
