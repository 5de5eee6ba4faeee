// Which stored intervals a rule must overlap to be in force at a moment: the
// moment's own marker dates, one or two per family.
#pragma once
#include <vector>

#include <Ostrel.h>

namespace ostrel {

struct RuleProbe {
    DATE dtStart;
    DATE dtStop;     // exclusive
    ULONG dwFamily;  // the filter bits that ask for this probe
};

// The probes for dtStart, each as long as dtStop - dtStart (whatever its
// sign), for the families whose bits are in dwFilter, in marker-year order:
// working hours, weekday, day of month, week-of-month weekday, yearly date,
// yearly weekday, then [dtStart, dtStop) itself for special days and periods.
// The marker dates carry dtStart's time of day to the whole second. On the
// last 4th occurrence of a weekday in its month, the 5th-week rules are
// probed too. A dtStart the calendar cannot hold throws EVoError with the
// code E_FAIL.
std::vector<RuleProbe> ProbeRules(DATE dtStart, DATE dtStop, ULONG dwFilter);

}  // namespace ostrel
