// The project's tasks as the scheduler's records (tagScheduleData): keys
// are the task ids as texts, so the engine's own messages name tasks the
// way the project does; resources are keyed by their ids.
#pragma once
#include <Ostrel.h>

#include <vector>

#include "project.h"

namespace cli {

// One record per task, in outline order; arrays in task memory.
std::vector<tagScheduleData> BuildRecords(const Project& project);
// Frees what a record holds (its keys and arrays), as a record's owner must.
void FreeRecord(tagScheduleData& record);

tagCONSTRAINT EngineConstraint(Constraint kind);
tagPRED_TYPE EngineLinkType(LinkType type);

}  // namespace cli
