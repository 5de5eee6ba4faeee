// The points of a profile, kept in date order: a step function whose value at
// a date is the units of the point in effect there (its floor point).
//
// An order-statistics tree rather than a plain ordered map: positions
// (Date2Index, Index2Date) are asked for by date as often as units are, and a
// tree that keeps each subtree's size answers both in O(log n); a sorted
// vector would make every insert and erase O(n) on large profiles.
#pragma once
#include <cstddef>
#include <functional>

#include <ext/pb_ds/assoc_container.hpp>
#include <ext/pb_ds/tree_policy.hpp>

#include <Ostrel.h>

namespace ostrel {

class PointStore {
    using Tree = __gnu_pbds::tree<DATE, tagAVAILABILITYPOINT, std::less<DATE>, __gnu_pbds::rb_tree_tag,
                                  __gnu_pbds::tree_order_statistics_node_update>;

public:
    // Dereferences to (date, point); the point's dtDate always equals the key.
    using Iterator = Tree::iterator;
    using ConstIterator = Tree::const_iterator;

    // A store holding the one point {date, units, 0}.
    PointStore(DATE date, double units) { Put(date, units); }

    Iterator begin() { return tree_.begin(); }
    Iterator end() { return tree_.end(); }
    ConstIterator begin() const { return tree_.begin(); }
    ConstIterator end() const { return tree_.end(); }
    size_t Size() const { return tree_.size(); }
    bool Empty() const { return tree_.empty(); }

    // The first point whose date is not before d.
    Iterator LowerBound(DATE d) { return tree_.lower_bound(d); }
    ConstIterator LowerBound(DATE d) const { return tree_.lower_bound(d); }

    // The point in effect at d. Before the first point nothing is defined;
    // the first point answers there, as a profile's units are read from its
    // start on. End only on an empty store.
    Iterator Floor(DATE d) { return FloorOf(tree_, d); }
    ConstIterator Floor(DATE d) const { return FloorOf(tree_, d); }

    // Zero-based position of a point, and the point at a position (end when
    // out of range); both O(log n).
    size_t IndexOf(ConstIterator it) const { return it == tree_.end() ? tree_.size() : tree_.order_of_key(it->first); }
    ConstIterator AtIndex(size_t i) const { return tree_.find_by_order(i); }

    // Writes {date, units, flags}, replacing a point with the same date.
    Iterator Put(DATE date, double units, ULONG flags = 0);
    Iterator Erase(Iterator it) { return tree_.erase(it); }
    void Clear() { tree_.clear(); }

private:
    template <class Store>
    static auto FloorOf(Store& tree, DATE d) -> decltype(tree.begin()) {
        auto it = tree.lower_bound(d);
        if ((it == tree.end() || it->first > d) && it != tree.begin()) --it;
        return it;
    }

    Tree tree_;
};

// Gives [start, stop) the units and keeps everything from stop on as it was,
// with no redundant point written at either end. A span whose dates are NaN
// or whose stop lies before its start is refused with "Invalid date range":
// what it would mean is not defined, and writing it would disorder the store.
void SetTimeSpan(PointStore& store, DATE start, DATE stop, double units);

// Zero units overwrite the span; other units leave the span's own units in
// place and only drop the redundant points inside it.
void MaskSpan(PointStore& store, DATE start, DATE stop, double units);

}  // namespace ostrel
