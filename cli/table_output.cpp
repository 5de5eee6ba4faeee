#include "table_output.h"

#include <algorithm>
#include <array>

#include "dates.h"

namespace cli {

const char* StatusName(TaskStatus status) {
    switch (status) {
    case TaskStatus::Scheduled: return "scheduled";
    case TaskStatus::Fixed: return "fixed";
    case TaskStatus::Failed: return "FAILED";
    case TaskStatus::NotScheduled: return "not scheduled";
    case TaskStatus::Summary: return "summary";
    }
    return "";
}

namespace {

// Display width of UTF-8 text: one column per character.
size_t Width(const std::string& text) {
    size_t n = 0;
    for (char c : text) n += (static_cast<unsigned char>(c) & 0xC0) != 0x80;
    return n;
}

void Cell(std::ostream& out, const std::string& text, size_t width, bool last) {
    out << text;
    if (!last) out << std::string(width - Width(text) + 2, ' ');
}

}  // namespace

void WriteTable(std::ostream& out, const ScheduleResult& result, bool colour) {
    constexpr size_t kColumns = 7;
    const std::array<std::string, kColumns> header = {"ID", "NAME", "START", "FINISH", "WORK", "RESOURCES", "STATUS"};
    std::vector<std::array<std::string, kColumns>> rows;
    rows.reserve(result.tasks.size());
    for (const TaskResult& t : result.tasks) {
        rows.push_back({std::string(size_t(t.depth) * 2, ' ') + t.id, t.name,
                        t.hasDates ? FormatDate(t.start) : "-", t.hasDates ? FormatDate(t.finish) : "-",
                        FormatHours(t.hours, result.hoursPerDay), t.resources.empty() ? "-" : t.resources,
                        StatusName(t.status)});
    }
    std::array<size_t, kColumns> widths{};
    for (size_t c = 0; c < kColumns; ++c) {
        widths[c] = Width(header[c]);
        for (const auto& row : rows) widths[c] = std::max(widths[c], Width(row[c]));
    }
    for (size_t c = 0; c < kColumns; ++c) Cell(out, header[c], widths[c], c + 1 == kColumns);
    out << '\n';
    for (size_t i = 0; i < rows.size(); ++i) {
        const TaskResult& t = result.tasks[i];
        const bool bold = colour && t.summary;
        const bool red = colour && (t.status == TaskStatus::Failed || t.status == TaskStatus::NotScheduled);
        if (bold) out << "\x1b[1m";
        for (size_t c = 0; c < kColumns; ++c) {
            if (red && c + 1 == kColumns) out << "\x1b[31m";
            Cell(out, rows[i][c], widths[c], c + 1 == kColumns);
        }
        if (bold || red) out << "\x1b[0m";
        out << '\n';
    }
}

void WriteMessages(std::ostream& out, const ScheduleResult& result) {
    for (const MessageResult& m : result.messages) {
        out << (m.error ? "error: " : "note: ");
        if (!m.taskId.empty()) out << "task " << m.taskId << " \"" << m.taskName << "\": ";
        out << m.text << '\n';
        if (!m.detail.empty() && m.detail != m.text) out << "  " << m.detail << '\n';
    }
}

void WriteSummary(std::ostream& out, const ScheduleResult& result) {
    if (result.RunFailed()) out << "the run failed; ";
    if (result.interrupted) out << "stopped by Ctrl-C; ";
    out << result.Count(TaskStatus::Scheduled) << " scheduled, " << result.Count(TaskStatus::Fixed) << " fixed, "
        << result.Count(TaskStatus::Failed) << " failed, " << result.Count(TaskStatus::NotScheduled)
        << " not scheduled, " << result.messages.size() << " messages\n";
}

}  // namespace cli
