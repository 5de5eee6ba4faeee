#include "engine_records.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

#include "link_levels.h"
#include "text.h"

namespace cli {
namespace {

void SetText(VARIANT& v, const std::string& text) {
    VariantInit(&v);
    const OleText wide = Utf16(text);
    v.vt = VT_BSTR;
    v.bstrVal = SysAllocStringLen(wide.data(), UINT(wide.size()));
}

template <class Item>
Item* Allocate(size_t count) {
    if (count == 0) return nullptr;
    auto* items = static_cast<Item*>(CoTaskMemAlloc(count * sizeof(Item)));
    if (!items) throw std::bad_alloc();
    std::memset(static_cast<void*>(items), 0, count * sizeof(Item));
    return items;
}

// A summary's own constraint and priority reach every task under it, and
// along the outline the smallest constraint value and priority number win;
// a summary that states neither must not override its children.
constexpr tagCONSTRAINT kNeutralConstraint = cnALAP;
constexpr ULONG kNeutralPriority = std::numeric_limits<ULONG>::max();

// Each task's priority for the engine: the project's priority number (the
// smallest along the task's summaries, as the engine would inherit it) in
// the high bits and the task's depth among the links in the low bits, so
// that tasks of one priority are taken predecessors first. Summaries then
// carry the neutral priority: their own has reached their tasks already.
// When a project's numbers leave no room for the depth, the plain numbers
// are given and the engine's own order decides among equal ones.
std::vector<ULONG> EnginePriorities(const Project& project) {
    const std::vector<Task>& tasks = project.tasks;
    std::vector<ULONG> priority(tasks.size(), kNeutralPriority);
    std::vector<unsigned> inherited(tasks.size());
    unsigned highest = 0;
    for (size_t i = 0; i < tasks.size(); ++i) {
        const Task& task = tasks[i];
        unsigned own = task.summary && !task.ownPriority ? unsigned(kNeutralPriority) : task.priority;
        if (task.parent >= 0) own = std::min(own, inherited[size_t(task.parent)]);
        inherited[i] = own;
        if (!task.summary) highest = std::max(highest, own);
    }
    const std::vector<unsigned> levels = LinkLevels(project);
    unsigned deepest = 0;
    for (size_t i = 0; i < tasks.size(); ++i)
        if (!tasks[i].summary) deepest = std::max(deepest, levels[i]);
    const int bits = std::bit_width(deepest);
    const bool fits = bits < 32 && (std::uint64_t(highest) << bits | deepest) < kNeutralPriority;
    for (size_t i = 0; i < tasks.size(); ++i) {
        if (tasks[i].summary) continue;
        priority[i] = fits ? ULONG(std::uint64_t(inherited[i]) << bits | levels[i]) : ULONG(inherited[i]);
    }
    return priority;
}

// A forward placement that starts exactly at midnight, far past the days a
// resource's profile has prepared, finds that day unprepared: profiles
// extend their prepared range up to the requested date, not through it, and
// the unprepared rest of a profile counts as available. Starting one tick
// after midnight makes the profile prepare the day itself; the tick is far
// below the second to which every date is compared and shown.
DATE StartLimit(DATE date) {
    constexpr double kTick = 1e-9;  // days, about 86 microseconds
    return date == std::floor(date) ? date + kTick : date;
}

}  // namespace

tagCONSTRAINT EngineConstraint(Constraint kind) {
    switch (kind) {
    case Constraint::DNL: return cnDNL;
    case Constraint::MSO: return cnMSO;
    case Constraint::MFO: return cnMFO;
    case Constraint::SNET: return cnSNET;
    case Constraint::FAB: return cnFAB;
    case Constraint::SNLT: return cnSNLT;
    case Constraint::FNLT: return cnFNLT;
    case Constraint::ASAP: return cnASAP;
    case Constraint::ALAP: return cnALAP;
    }
    return cnASAP;
}

tagPRED_TYPE EngineLinkType(LinkType type) {
    switch (type) {
    case LinkType::FS: return ptFinishStart;
    case LinkType::SS: return ptStartStart;
    case LinkType::FF: return ptFinishFinish;
    case LinkType::SF: return ptStartFinish;
    }
    return ptFinishStart;
}

std::vector<tagScheduleData> BuildRecords(const Project& project) {
    std::vector<tagScheduleData> records(project.tasks.size());
    const std::vector<ULONG> priorities = EnginePriorities(project);
    for (size_t i = 0; i < project.tasks.size(); ++i) {
        const Task& task = project.tasks[i];
        tagScheduleData& r = records[i];
        std::memset(static_cast<void*>(&r), 0, sizeof r);
        r.tkKey.Level = 1;
        SetText(r.tkKey.Value, task.id);
        VariantInit(&r.tkParent.Value);
        if (task.parent >= 0) {
            r.tkParent.Level = 1;
            SetText(r.tkParent.Value, project.tasks[size_t(task.parent)].id);
        }
        r.coConstraint = task.summary && !task.ownConstraint ? kNeutralConstraint : EngineConstraint(task.constraint);
        const bool startLimit = task.constraint == Constraint::MSO || task.constraint == Constraint::SNET;
        r.dtConstraint = startLimit ? StartLimit(task.constraintDate) : task.constraintDate;
        r.dwPriority = priorities[i];

        if (!task.summary) {
            // One interval of work. With resources it is levelled on what
            // they have left and takes them up; without, it follows the
            // project's calendar. Fixed tasks keep their dates.
            r.dwIntervals = 1;
            r.psi = Allocate<tagScheduleInterval>(1);
            r.psi[0].dblDuration = task.hours / 24.0;
            if (task.constraint == Constraint::DNL) {
                r.psi[0].dtStart = task.fixedStart;
                r.psi[0].dtStop = task.fixedFinish;
                r.psi[0].dwFlags = ifAllocateInterval;
            } else if (task.resources.empty()) {
                r.psi[0].dwFlags = ifProjectCalendar;
            } else {
                r.psi[0].dwFlags = ifResourceActualAvailability | ifAllocateInterval;
            }
        }
        r.dwResources = ULONG(task.resources.size());
        r.psr = Allocate<tagScheduleResource>(task.resources.size());
        for (size_t k = 0; k < task.resources.size(); ++k) {
            SetText(r.psr[k].rkResource, task.resources[k].resource);
            r.psr[k].dblAssigned = task.resources[k].units;
        }
        r.dwPredecessors = ULONG(task.predecessors.size());
        r.psp = Allocate<tagSchedulePredecessor>(task.predecessors.size());
        for (size_t k = 0; k < task.predecessors.size(); ++k) {
            const Link& link = task.predecessors[k];
            r.psp[k].tkPred.Level = 1;
            SetText(r.psp[k].tkPred.Value, link.task);
            r.psp[k].ptType = EngineLinkType(link.type);
            r.psp[k].dblLag = link.lagHours / 24.0;
        }
    }
    return records;
}

void FreeRecord(tagScheduleData& r) {
    VariantClear(&r.tkKey.Value);
    VariantClear(&r.tkParent.Value);
    CoTaskMemFree(r.psi);
    r.psi = nullptr;
    for (ULONG k = 0; r.psr && k < r.dwResources; ++k) VariantClear(&r.psr[k].rkResource);
    CoTaskMemFree(r.psr);
    r.psr = nullptr;
    for (ULONG k = 0; r.psp && k < r.dwPredecessors; ++k) VariantClear(&r.psp[k].tkPred.Value);
    CoTaskMemFree(r.psp);
    r.psp = nullptr;
}

}  // namespace cli
