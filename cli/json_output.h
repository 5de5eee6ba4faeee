// The schedule as JSON for machines: tasks with their dates and intervals,
// statuses, messages and resource loads. Dates as "YYYY-MM-DD HH:MM".
#pragma once
#include <nlohmann/json.hpp>
#include <string>

#include "results.h"

namespace cli {

// Written out directly rather than through a document: a 100,000-task
// schedule would otherwise be built as a tree of maps only to be printed.
// One task, message or resource use a line.
std::string ResultJson(const ScheduleResult& result);
// Writes beside the target and renames, so a failed write leaves no half
// file behind. Throws RunError on failure.
void WriteJsonFile(const std::string& fileName, const ScheduleResult& result);
void WriteJsonFile(const std::string& fileName, const nlohmann::json& document);

}  // namespace cli
