// TVoScheduler, the scheduling engine behind VoScheduler: the task sets a
// host hands over, the messages and results it hands back, and the state a
// run leaves behind until Clear or Reset.
#pragma once
#include <deque>
#include <functional>
#include <memory>
#include <set>
#include <span>
#include <vector>

#include <Ostrel.h>

#include "component/interface_ref.h"
#include "foundation/text.h"
#include "foundation/vo_error.h"
#include "scheduler/date_bounds.h"
#include "scheduler/outline.h"
#include "scheduler/resource_map.h"
#include "scheduler/schedule_message.h"
#include "scheduler/scheduling_order.h"
#include "scheduler/task_sets.h"
#include "scheduler/task_state.h"

namespace ostrel {

class TVoScheduler {
public:
    // Makes the calendar used where the host gives none; MakeDefaultCalendar
    // unless a test gives its own.
    using CalendarFactory = std::function<InterfaceRef<IVoAvailability>()>;

    // events: where the run asks the host for resource profiles; may be null.
    // The engine keeps a reference to it until it is destroyed.
    explicit TVoScheduler(IVoScheduleEvents* events = nullptr, CalendarFactory makeCalendar = {});
    ~TVoScheduler();
    TVoScheduler(const TVoScheduler&) = delete;
    TVoScheduler& operator=(const TVoScheduler&) = delete;

    // Intake of one task set: its records, read from the host's enumerator,
    // the profile it is scheduled on (the default calendar when null) and
    // its date range. Returns the set's cookie.
    DWORD AddScheduleData(IEnumScheduleData* records, IVoAvailability* profile, DATE start, DATE stop);

    // The set at a set index ("Index out of range" past the last one) and
    // the set named by a cookie ("Cookie not recognized").
    CTaskSet& SetAt(size_t index) const { return sets_.At(index); }
    CTaskSet& SetByCookie(DWORD cookie) const { return sets_.ByCookie(cookie); }
    const CTaskSets& Sets() const { return sets_; }

    // A new reference to the default calendar, made the first time.
    InterfaceRef<IVoAvailability> DefaultCalendar();

    // A message about a stored task (msError, with the task's key and its
    // set's cookie), or without task when task is null (msNone).
    void AddMessage(const tagScheduleData* task, const WString& text);
    // A message from a run's error: its task, severity and both texts.
    void AddMessage(const EVoScheduleError& error);
    const MessageList& Messages() const { return *messages_; }

    // Schedules every task of every set. Never throws: it reports through
    // the result flags, the messages and the stored records.
    void Run();
    // The run's result flags (tagSCHEDULERESULT bits): kept from run to run,
    // cleared only by Clear and Reset.
    ULONG ResultFlags() const { return resultFlags_; }
    // Makes a run in progress stop at its next check, from any thread. Before
    // or after a run it has no effect: each run signals its running event
    // anew.
    void Stop();

    // *ppData: an IEnumScheduleData over copies of the changed records
    // (srDataChanged in dwSRFlags) of every set, in scheduling order; the
    // cookie only has to name a stored set.
    void GetScheduleData(DWORD cookie, IUnknown** ppData);
    // *ppvMessages: an IEnumScheduleMessages over the live message list.
    void GetScheduleMessages(IUnknown** ppvMessages);

    // Drops everything: sets, messages, run state, resource profiles and the
    // default calendar.
    void Clear();
    // As Clear, but keeps each resource's profiles, emptying the actual ones
    // (in key order) for the next run. A profile that fails to empty is
    // reported after everything else was dropped.
    void Reset();

    // What the run works with.
    IVoScheduleEvents* Events() const { return events_.Get(); }
    ResourceMap& Resources() { return resources_; }
    // Preparation enters every prepared task; results are read back in this
    // order.
    void EnterInSchedulingOrder(tagScheduleData& task) { order_.insert(&task); }
    const SchedulingOrder& Order() const { return order_; }

private:
    // What both Clear and Reset drop after the sets. The run's task states,
    // key index, work queue and pending list belong here too.
    void DropRunState();

    // The passes of a run, under the handler of Run (run_driver.cpp).
    void RunPasses();
    void PreparationPass();
    void BuildSuccessorNetwork();
    void SchedulingPass();
    bool Running() const;

    // Preparation of one task (preparation.cpp).
    void PrepareTask(ULONG setIndex, size_t index, KeyFinder& keys);
    void InheritFromAncestor(tagScheduleData& task, tagScheduleData& ancestor);
    void CheckConstraintDate(tagScheduleData& task, const CTaskSet& set);
    double CheckResources(tagScheduleData& task);
    void ExpandPredecessors(tagScheduleData& task, CTaskSet& set, KeyFinder& keys);

    // One task's bounds, links and deferral (deferral.cpp). ScheduleOneTask
    // is false when the task was deferred.
    bool ScheduleOneTask(tagScheduleData& task);
    bool MustDefer(tagScheduleData& task, DateBounds& bounds);
    tagScheduleData* BlockingTask(tagScheduleData& from);
    void MarkScheduled(tagScheduleData& task);
    void Visit(tagScheduleData& task);
    tagScheduleData& IndexedTask(task_key& key);
    tagScheduleData& PredecessorOf(tagScheduleData& task, ULONG entry);
    TaskState& StateOf(const tagScheduleData& task);

    // Placing the intervals and allocating resources (placement.cpp,
    // allocation.cpp, resource_profiles.cpp).
    void PlaceIntervals(tagScheduleData& task, DateBounds& bounds);
    TaskSpan PlaceOnSetProfile(tagScheduleData& task, const DateBounds& bounds, const tagScheduleInterval& interval,
                               TaskSpan span);
    TaskSpan PlaceOnDefaultProfiles(tagScheduleData& task, const DateBounds& bounds,
                                    const tagScheduleInterval& interval);
    TaskSpan PlaceOnActualProfiles(tagScheduleData& task, DateBounds bounds, const tagScheduleInterval& interval,
                                   TaskSpan span);
    [[noreturn]] void ExplainFailedPlacement(tagScheduleData& task, const DateBounds& bounds);
    void Allocate(tagScheduleData& task, DATE start, DATE stop);
    void EnsureResourceProfiles(const VARIANT& key);
    ResourceProfiles& ProfilesOf(const VARIANT& key);

    InterfaceRef<IVoScheduleEvents> events_;
    // Manual-reset events framing a run: running is signalled while a run
    // goes on, idle once it is over.
    HANDLE running_ = nullptr;
    HANDLE idle_ = nullptr;
    CalendarFactory makeCalendar_;
    CTaskSets sets_;
    InterfaceRef<IVoAvailability> defaultCalendar_;
    std::shared_ptr<MessageList> messages_;
    ResourceMap resources_;
    TaskStates taskStates_;
    KeyIndex keyIndex_;
    SchedulingOrder order_{SchedulingOrderLess(&taskStates_)};
    // Tasks to (re)schedule before the pass moves on, the tasks a successor
    // check found blocking, and the tasks met on one walk of the links.
    std::deque<tagScheduleData*> workQueue_;
    std::vector<tagScheduleData*> pending_;
    std::set<tagScheduleData*> visited_;
    ULONG resultFlags_ = 0;
};

}  // namespace ostrel
