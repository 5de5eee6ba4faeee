// The library's classes, in the order of its class table, which is also the
// order of registration. The table belongs to the server library itself: it
// is where every subsystem's component class is tied in.
#pragma once
#include <span>

#include "component/class_entry.h"

namespace ostrel {

std::span<const ClassEntry> ClassTable();

// The entry for a class identifier, or null when the library has no such class.
const ClassEntry* FindClass(REFCLSID clsid);

}  // namespace ostrel
