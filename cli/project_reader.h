// A project document to a checked Project. Every problem is an InputError
// naming the file and the JSON path: `tasks[3].predecessors[0]: no task "X"`.
#pragma once
#include <nlohmann/json.hpp>
#include <string>

#include "json_source.h"
#include "project.h"

namespace cli {

Project ReadProject(const nlohmann::json& document, const std::string& fileName);
// Parses and reads in one go.
Project ReadProjectText(const std::string& text, const std::string& fileName);

// The calendar every project has under the name "standard" unless it
// defines its own: 08:00-12:00 and 13:00-17:00, Saturdays and Sundays off.
Calendar StandardCalendar();

}  // namespace cli
