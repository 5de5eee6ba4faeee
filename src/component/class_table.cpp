#include "component/class_table.h"

#include <Ostrel.h>

#include "availability/vo_availability.h"
#include "calculator/vo_calculator.h"
#include "rules/vo_rules.h"
#include "rwlock/read_write_lock_component.h"
#include "scheduler/vo_scheduler.h"

namespace ostrel {
namespace {

// In the library's fixed order; classes join as they are built.
constexpr ClassEntry kClasses[] = {
    {&CLSID_VoAvailability, CreateVoAvailability},
    {&CLSID_VoRules, CreateVoRules},
    {&CLSID_VoCalculator, CreateVoCalculator},
    {&CLSID_ReadWriteLock, CreateReadWriteLock},
    {&CLSID_VoScheduler, CreateVoScheduler},
};

}  // namespace

std::span<const ClassEntry> ClassTable() { return kClasses; }

const ClassEntry* FindClass(REFCLSID clsid) {
    for (const ClassEntry& entry : ClassTable())
        if (IsEqualGUID(*entry.clsid, clsid)) return &entry;
    return nullptr;
}

}  // namespace ostrel
