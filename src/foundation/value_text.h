// Variants and dates as narrow (ANSI) text, for message inserts.
#pragma once
#include <string>

#include <windows.h>

namespace ostrel {

// Keys as text: "" for empty and null, "%d" for VT_I4, "%.9f" for VT_R8 and
// for the raw number of a VT_DATE, the truncated whole part of a VT_CY, and
// strings narrowed up to their first NUL. Any other type, VT_BYREF and arrays
// included, throws EVoError("Invalid datatype in VarToW").
std::string VarToW(const VARIANT& value);

// A date in the platform's standard text form for the user's locale. A date
// the platform cannot convert throws _com_error with its code.
std::string DateToText(DATE date);

}  // namespace ostrel
