// What a schedule run produced, in the host's terms: tasks by id in outline
// order with their dates, the engine's messages with the task's id and
// name, and the resources' loads. The table, the JSON file and any other
// report (an HTML page) are written from this alone.
#pragma once
#include <Ostrel.h>

#include <string>
#include <vector>

#include "project.h"

namespace cli {

enum class TaskStatus { Scheduled, Fixed, Failed, NotScheduled, Summary };
const char* StatusName(TaskStatus status);

struct Span {
    DATE start = 0, finish = 0;
};

struct TaskResult {
    std::string id, name;
    int depth = 0;
    int parent = -1;  // index into ScheduleResult::tasks
    bool summary = false;
    bool hasDates = false;
    DATE start = 0, finish = 0;
    double hours = 0;         // working hours of work (summed for a summary)
    std::vector<Span> intervals;
    std::string resources;    // "alice, bob×0.5"
    TaskStatus status = TaskStatus::NotScheduled;
};

struct MessageResult {
    std::string taskId, taskName;  // empty for a message about the whole run
    bool error = false;
    std::string text, detail;
};

struct ResourceUse {
    size_t task = 0;  // index into ScheduleResult::tasks
    std::string taskId;
    DATE start = 0, finish = 0;
    double units = 0, hours = 0;
};

struct ResourceLoad {
    std::string id, name;
    double units = 1;       // what the resource offers
    double workHours = 0;   // assigned work: hours × units over its tasks
    std::vector<ResourceUse> uses;
    // The units the resource offers from each point to the next, over the
    // report's range; filled by AddCalendars for reports that draw it.
    std::vector<std::pair<DATE, double>> offered;
};

// A link between two tasks, by index into ScheduleResult::tasks.
struct Dependency {
    size_t from = 0, to = 0;  // predecessor, successor
    LinkType type = LinkType::FS;
};

struct ScheduleResult {
    std::string projectName;
    DATE start = 0, finish = 0;
    double hoursPerDay = 8;
    unsigned long runFlags = 0;  // tagSCHEDULERESULT bits of the run
    bool interrupted = false;
    std::vector<TaskResult> tasks;
    std::vector<MessageResult> messages;
    std::vector<ResourceLoad> resources;
    std::vector<Dependency> links;
    // The project calendar's working periods over the report's range, in
    // order; filled by AddCalendars like ResourceLoad::offered.
    std::vector<Span> workingTime;

    bool RunFailed() const { return (runFlags & srFail) != 0; }
    size_t Count(TaskStatus status) const {
        size_t n = 0;
        for (const TaskResult& t : tasks) n += t.status == status;
        return n;
    }
};

}  // namespace cli
