#include "json_output.h"

#include "dates.h"
#include "output_file.h"

namespace cli {

nlohmann::json ResultJson(const ScheduleResult& result) {
    using nlohmann::json;
    json doc;
    doc["project"] = result.projectName;
    doc["start"] = FormatDate(result.start);
    doc["finish"] = FormatDate(result.finish);
    doc["run"] = {{"flags", result.runFlags},
                  {"failed", result.RunFailed()},
                  {"interrupted", result.interrupted},
                  {"scheduled", result.Count(TaskStatus::Scheduled)},
                  {"fixed", result.Count(TaskStatus::Fixed)},
                  {"tasks_failed", result.Count(TaskStatus::Failed)},
                  {"not_scheduled", result.Count(TaskStatus::NotScheduled)}};
    json& tasks = doc["tasks"] = json::array();
    for (const TaskResult& t : result.tasks) {
        json task = {{"id", t.id},
                     {"name", t.name},
                     {"depth", t.depth},
                     {"summary", t.summary},
                     {"status", StatusName(t.status)},
                     {"work_hours", t.hours}};
        if (t.parent >= 0) task["parent"] = result.tasks[size_t(t.parent)].id;
        if (t.hasDates) {
            task["start"] = FormatDate(t.start);
            task["finish"] = FormatDate(t.finish);
            json& intervals = task["intervals"] = json::array();
            for (const Span& s : t.intervals) intervals.push_back({FormatDate(s.start), FormatDate(s.finish)});
        }
        if (!t.resources.empty()) task["resources"] = t.resources;
        tasks.push_back(std::move(task));
    }
    json& messages = doc["messages"] = json::array();
    for (const MessageResult& m : result.messages) {
        json message = {{"severity", m.error ? "error" : "note"}, {"text", m.text}, {"detail", m.detail}};
        if (!m.taskId.empty()) message["task"] = {{"id", m.taskId}, {"name", m.taskName}};
        messages.push_back(std::move(message));
    }
    json& resources = doc["resources"] = json::array();
    for (const ResourceLoad& r : result.resources) {
        json uses = json::array();
        for (const ResourceUse& u : r.uses)
            uses.push_back({{"task", u.taskId}, {"start", FormatDate(u.start)}, {"finish", FormatDate(u.finish)},
                            {"units", u.units}, {"work_hours", u.hours}});
        resources.push_back({{"id", r.id}, {"name", r.name}, {"units", r.units}, {"work_hours", r.workHours},
                             {"uses", std::move(uses)}});
    }
    return doc;
}

void WriteJsonFile(const std::string& fileName, const nlohmann::json& document) {
    WriteFileWhole(fileName, document.dump(1) + '\n');
}

}  // namespace cli
