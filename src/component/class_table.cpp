#include "component/class_table.h"

namespace ostrel {
namespace {

// Classes join the table as they are built, in their fixed order.
constexpr ClassEntry kClasses[] = {
    {nullptr, nullptr},
};

}  // namespace

std::span<const ClassEntry> ClassTable() {
    std::span<const ClassEntry> all(kClasses);
    return all.first(all.size() - 1);  // without the end marker
}

const ClassEntry* FindClass(REFCLSID clsid) {
    for (const ClassEntry& entry : ClassTable())
        if (IsEqualGUID(*entry.clsid, clsid)) return &entry;
    return nullptr;
}

}  // namespace ostrel
