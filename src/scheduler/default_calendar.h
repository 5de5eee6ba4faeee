// The calendar a task set is scheduled on when the host gives none, and that
// a resource works on when the host has no availability for it: working
// hours 08:00 to 12:00 and 13:00 to 17:00, Saturdays and Sundays off.
#pragma once
#include <Ostrel.h>

#include "component/interface_ref.h"

namespace ostrel {

// A new profile over a new rule set, both made through the component
// runtime. Every failing call is thrown as its HRESULT.
InterfaceRef<IVoAvailability> MakeDefaultCalendar();

// Writes the default calendar's four rules into rules and gives them to
// profile.
void FillDefaultCalendar(IVoAvailability& profile, IVoRules& rules);

}  // namespace ostrel
