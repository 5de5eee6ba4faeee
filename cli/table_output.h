// The schedule as a plain table for people, then the engine's messages.
#pragma once
#include <ostream>

#include "results.h"

namespace cli {

void WriteTable(std::ostream& out, const ScheduleResult& result, bool colour);
void WriteMessages(std::ostream& out, const ScheduleResult& result);
// One line: how many tasks were scheduled, failed, fixed, left.
void WriteSummary(std::ostream& out, const ScheduleResult& result);

}  // namespace cli
