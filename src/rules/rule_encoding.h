// Turning a caller's rule into the form the rule store keeps.
#pragma once
#include <Ostrel.h>

namespace ostrel {

// The stored form of a rule: a recurring rule moves onto its family's marker
// day, keeping the start's time of day and, on the same day, the stop's time
// of day; special days and periods keep their real dates. The three older type
// names come back as their current ones, a stop not after the start gets one
// day more, bWorking becomes 1 or 0 from its low 16 bits, dwTag is 0.
//
// The caller's year, and for several families its month, are dropped: a
// weekday is given as a date whose day of the month is its number (any 2nd
// for Monday), a week of the month as a date whose month is its index.
//
// crRule is the raw 32-bit value a caller sent. Throws EVoError: "Rules rule
// type out of range" for any other type; "Day out of range" when a weekday's
// day of the month is above 7, checked before "Month out of range" (a month,
// read as the week of the month, above 5); "Year out of range" for a yearly
// weekday outside 1930-1935, checked before its day; the code E_FAIL for a
// start the calendar cannot hold.
tagRULE EncodeRule(DATE dtStart, DATE dtStop, BOOL bWorking, ULONG crRule);

}  // namespace ostrel
