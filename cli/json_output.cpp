#include "json_output.h"

#include <charconv>
#include <cmath>

#include "dates.h"
#include "output_file.h"

namespace cli {
namespace {

class JsonText {
public:
    JsonText& Raw(std::string_view text) {
        out_.append(text);
        return *this;
    }
    // "key": with the separator that comes before it.
    JsonText& Key(std::string_view key) {
        if (!first_) out_.append(", ");
        first_ = false;
        return String(key).Raw(": ");
    }
    JsonText& Open(char bracket) {
        out_.push_back(bracket);
        first_ = true;
        return *this;
    }
    JsonText& Close(char bracket) {
        out_.push_back(bracket);
        first_ = false;
        return *this;
    }
    JsonText& String(std::string_view text) {
        out_.push_back('"');
        for (const char c : text) {
            const auto u = static_cast<unsigned char>(c);
            if (c == '"' || c == '\\') {
                out_.push_back('\\');
                out_.push_back(c);
            } else if (u < 0x20) {
                static const char hex[] = "0123456789abcdef";
                out_.append("\\u00");
                out_.push_back(hex[u >> 4]);
                out_.push_back(hex[u & 15]);
            } else {
                out_.push_back(c);  // UTF-8 as it is
            }
        }
        out_.push_back('"');
        return *this;
    }
    JsonText& Number(double value) {
        if (!std::isfinite(value)) return Raw("null");
        char digits[32];
        const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
        out_.append(digits, end);
        return *this;
    }
    JsonText& Bool(bool value) { return Raw(value ? "true" : "false"); }
    JsonText& Date(DATE date) { return String(FormatDate(date)); }
    // Separates elements of an array written one to a line.
    JsonText& Next(bool first) { return Raw(first ? "\n  " : ",\n  "); }
    std::string& str() { return out_; }

private:
    std::string out_;
    bool first_ = true;
};

}  // namespace

std::string ResultJson(const ScheduleResult& result) {
    JsonText j;
    j.str().reserve(result.tasks.size() * 260 + result.messages.size() * 200 + 1024);
    j.Raw("{\n \"project\": ").String(result.projectName);
    j.Raw(",\n \"start\": ").Date(result.start).Raw(",\n \"finish\": ").Date(result.finish);
    j.Raw(",\n \"run\": ").Open('{');
    j.Key("flags").Number(double(result.runFlags)).Key("failed").Bool(result.RunFailed());
    j.Key("interrupted").Bool(result.interrupted);
    j.Key("scheduled").Number(double(result.Count(TaskStatus::Scheduled)));
    j.Key("fixed").Number(double(result.Count(TaskStatus::Fixed)));
    j.Key("tasks_failed").Number(double(result.Count(TaskStatus::Failed)));
    j.Key("not_scheduled").Number(double(result.Count(TaskStatus::NotScheduled))).Close('}');

    j.Raw(",\n \"tasks\": [");
    for (size_t i = 0; i < result.tasks.size(); ++i) {
        const TaskResult& t = result.tasks[i];
        j.Next(i == 0).Open('{').Key("id").String(t.id).Key("name").String(t.name).Key("depth").Number(t.depth);
        if (t.parent >= 0) j.Key("parent").String(result.tasks[size_t(t.parent)].id);
        j.Key("summary").Bool(t.summary).Key("status").String(StatusName(t.status)).Key("work_hours").Number(t.hours);
        if (t.hasDates) {
            j.Key("start").Date(t.start).Key("finish").Date(t.finish).Key("intervals").Raw("[");
            for (size_t k = 0; k < t.intervals.size(); ++k)
                j.Raw(k ? ", [" : "[").Date(t.intervals[k].start).Raw(", ").Date(t.intervals[k].finish).Raw("]");
            j.Raw("]");
        }
        if (!t.resources.empty()) j.Key("resources").String(t.resources);
        j.Close('}');
    }
    j.Raw(result.tasks.empty() ? "]" : "\n ]");

    j.Raw(",\n \"messages\": [");
    for (size_t i = 0; i < result.messages.size(); ++i) {
        const MessageResult& m = result.messages[i];
        j.Next(i == 0).Open('{').Key("severity").String(m.error ? "error" : "note");
        if (!m.taskId.empty())
            j.Key("task").Open('{').Key("id").String(m.taskId).Key("name").String(m.taskName).Close('}');
        j.Key("text").String(m.text).Key("detail").String(m.detail).Close('}');
    }
    j.Raw(result.messages.empty() ? "]" : "\n ]");

    j.Raw(",\n \"resources\": [");
    for (size_t i = 0; i < result.resources.size(); ++i) {
        const ResourceLoad& r = result.resources[i];
        j.Next(i == 0).Open('{').Key("id").String(r.id).Key("name").String(r.name).Key("units").Number(r.units);
        j.Key("work_hours").Number(r.workHours).Key("uses").Raw("[");
        for (size_t k = 0; k < r.uses.size(); ++k) {
            const ResourceUse& u = r.uses[k];
            j.Raw(k ? ",\n    " : "\n    ").Open('{').Key("task").String(u.taskId).Key("start").Date(u.start);
            j.Key("finish").Date(u.finish).Key("units").Number(u.units).Key("work_hours").Number(u.hours).Close('}');
        }
        j.Raw(r.uses.empty() ? "]}" : "\n  ]}");
    }
    j.Raw(result.resources.empty() ? "]\n}\n" : "\n ]\n}\n");
    return std::move(j.str());
}

void WriteJsonFile(const std::string& fileName, const ScheduleResult& result) {
    WriteFileWhole(fileName, ResultJson(result));
}

void WriteJsonFile(const std::string& fileName, const nlohmann::json& document) {
    WriteFileWhole(fileName, document.dump(1) + '\n');
}

}  // namespace cli
