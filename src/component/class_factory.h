// The class object of one class: creates its instances and counts server
// locks. One per class, cached from its first request until the library is
// unloaded; the cache's own reference does not keep the library loaded, any
// reference a host holds does.
#pragma once
#include "component/class_entry.h"

namespace ostrel {

// The cached factory of a class, created on first request under the
// library's lock; null when memory ran out.
IClassFactory* CachedClassFactory(const ClassEntry& entry);

}  // namespace ostrel
