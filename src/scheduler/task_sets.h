// Task sets: what one AddScheduleData hands over (the task records, the
// set's date range and the profile it is scheduled on) and the list of sets
// with their cookies.
#pragma once
#include <memory>
#include <vector>

#include <Ostrel.h>

#include "component/interface_ref.h"

namespace ostrel {

class CTaskSet {
public:
    CTaskSet(DATE start, DATE stop, InterfaceRef<IVoAvailability> profile);
    // Destroys every stored record and releases the profile.
    ~CTaskSet();
    CTaskSet(const CTaskSet&) = delete;
    CTaskSet& operator=(const CTaskSet&) = delete;

    // Reads the host's records in chunks of 100 and keeps them as they come:
    // the records Next filled in become the set's own, no further copy. A
    // failing Next is thrown as its HRESULT; what was read before it stays
    // with the set, which the caller then drops.
    void ReadTasks(IEnumScheduleData& records);

    // The records in the order the host delivered them: outline order, each
    // summary task followed by its descendants. The run changes them in
    // place; it adds none, so their addresses hold while the set lives.
    std::vector<tagScheduleData>& Tasks() { return tasks_; }
    const std::vector<tagScheduleData>& Tasks() const { return tasks_; }
    bool Holds(const tagScheduleData* task) const;

    DATE Start() const { return start_; }
    DATE Stop() const { return stop_; }
    IVoAvailability* Profile() const { return profile_.Get(); }
    DWORD Cookie() const { return cookie_; }

private:
    friend class CTaskSets;

    std::vector<tagScheduleData> tasks_;
    DATE start_;
    DATE stop_;
    InterfaceRef<IVoAvailability> profile_;
    DWORD cookie_ = 0;
};

// The sets in the order they were added; a set's position is its set index.
class CTaskSets {
public:
    // Takes the set over and names it with a cookie: never 0 and unlike the
    // cookie of any set stored. Cookies count up and are not given again
    // while the count lasts, so a cookie kept from before Clear or Reset is
    // not recognised instead of naming some later set.
    DWORD Add(std::unique_ptr<CTaskSet> set);

    // Throws EVoError("Index out of range") past the last set.
    CTaskSet& At(size_t index) const;
    // Throws EVoError("Cookie not recognized") for a cookie no stored set has.
    CTaskSet& ByCookie(DWORD cookie) const;
    // The set whose records include task, or null.
    CTaskSet* Holding(const tagScheduleData* task) const;

    size_t Size() const { return sets_.size(); }
    auto begin() const { return sets_.begin(); }
    auto end() const { return sets_.end(); }

    void Clear() { sets_.clear(); }

private:
    bool InUse(DWORD cookie) const;

    std::vector<std::unique_ptr<CTaskSet>> sets_;
    DWORD lastCookie_ = 0;
};

}  // namespace ostrel
