// Ostrel: the one header a host includes.
//
// It brings the component platform's API (on Windows the platform's own
// headers; on Linux Ostrel's platform layer, found through the include path
// the Ostrel package sets up) and the type library's declarations:
// interfaces, records, enumerations and identifiers.
#pragma once

#include <windows.h>
#include <ole2.h>
#include <ocidl.h>

#include "OstrelLib.h"
