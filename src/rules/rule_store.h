// The rule store behind a rule set: rules in their stored form, no two of
// which overlap, kept in order so that one overlap lookup finds the rules of
// a marker date in any family.
#pragma once
#include <cstddef>
#include <memory>
#include <vector>

#include <Ostrel.h>

namespace ostrel {

// a comes before b when a ends no later than b starts, so two rules neither
// of which comes first are exactly two overlapping ones; touching intervals
// do not overlap.
inline bool RuleLess(const tagRULE& a, const tagRULE& b) { return a.dtStop <= b.dtStart; }

// What an enumeration hands out: a new[] array and its length, the form the
// copying enumerator takes over as it is and frees with itself. No array at
// all and an array of no records are different answers: an enumerator fails
// on the first and is merely empty on the second.
struct RuleArray {
    std::unique_ptr<tagRULE[]> records;
    ULONG count = 0;
};

// Types are the raw 32-bit values callers send, since any number may arrive.
// Calendar failures throw EVoError with the code E_FAIL; a failed allocation
// of an enumeration's array throws the bare HRESULT E_OUTOFMEMORY.
class TVoRules {
public:
    // Puts back a rule in stored form as it is, its type taken from the
    // marker year. One overlapping a stored rule is silently not stored.
    void LoadRule(DATE dtStart, DATE dtStop, BOOL bWorking);

    // Stores the encoded rule and returns it. Throws the encoding's errors, or
    // "Interval overlaps with existing interval"; the store is then unchanged.
    tagRULE AddRule(DATE dtStart, DATE dtStop, BOOL bWorking, ULONG crRule);

    // Deletes the rules overlapping [dtStart, dtStop). With both dates 0.0 the
    // type chooses a whole family instead; a stop of 0.0 otherwise deletes
    // nothing.
    void DeleteRule(DATE dtStart, DATE dtStop, ULONG crRule);

    // The rules in force on the day that starts at dt, or with dt = 0.0 the
    // stored rules whose type is in the filter (all of them for crAll).
    RuleArray EnumRules(DATE dt, ULONG dwFilter) const;

    // The rules overlapping the probes of [dtStart, dtStop) for the filter's
    // families, each once, in store order; no array when the store is empty.
    RuleArray EnumRulesEx(DATE dtStart, DATE dtStop, ULONG dwFilter) const;

private:
    // Positions [first, last) of the stored rules overlapping an interval.
    struct Range {
        size_t first, last;
    };
    Range Overlapping(DATE start, DATE stop) const;
    void Erase(Range range);
    RuleArray CopyOut(const std::vector<size_t>& positions) const;

    // Kept sorted under RuleLess. A sorted vector rather than a tree: a rule
    // whose stop lies before its start (a period given that way, or a loaded
    // record) is not ordered consistently even with itself, which a tree's
    // invariants may not survive, while binary searches here still give
    // defined answers.
    std::vector<tagRULE> rules_;
};

}  // namespace ostrel
