// Running a project through the components: calendars as VoRules, their
// profiles as VoAvailability, the tasks through VoScheduler, and the
// answers read back into a ScheduleResult.
#pragma once
#include <Ostrel.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <vector>

#include "project.h"
#include "results.h"
#include "text.h"

namespace cli {

// A component call that failed where it should not have.
struct RunError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// The component runtime for the lifetime of the object.
class ComSession {
public:
    ComSession();
    ~ComSession();
    ComSession(const ComSession&) = delete;
    ComSession& operator=(const ComSession&) = delete;
};

// A calendar's rules as a rule set; a rule the set refuses (it overlaps
// another) is an InputError naming where it was written.
Ref<IVoRules> MakeRules(const Project& project, const Calendar& calendar);
// A profile over the calendar offering the given units in working time.
Ref<IVoAvailability> MakeProfile(const Project& project, const Calendar& calendar, double units);

struct RunOptions {
    std::atomic<bool>* stop = nullptr;  // set to stop the run (Ctrl-C)
    // Called now and then with the placements done and the tasks to place.
    std::function<void(unsigned long done, unsigned long total)> progress;
};

ScheduleResult Schedule(const Project& project, const RunOptions& options = {});

// A profile's points over [from, to): each point's units hold up to the next.
std::vector<tagAVAILABILITYPOINT> ReadPoints(IVoAvailability* profile, DATE from, DATE to);
// Reads the project calendar's working periods and each resource's offered
// units over the range into the result, for reports that draw them.
void AddCalendars(const Project& project, Span range, ScheduleResult& result);

}  // namespace cli
