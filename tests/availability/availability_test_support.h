// Profiles written and read as (date, units) lists, and caught engine errors.
#pragma once
#include <string>
#include <utility>
#include <vector>

#include "availability/availability.h"
#include "foundation/vo_error.h"
#include "test_support.h"

namespace avl_test {

using Points = std::vector<std::pair<double, double>>;  // (date in days, units)

inline Points Read(const ostrel::TVoAvailability& profile) {
    Points out;
    for (const auto& [date, point] : profile.Points()) out.emplace_back(date, point.dblUnits);
    return out;
}

inline std::vector<ULONG> Flags(const ostrel::TVoAvailability& profile) {
    std::vector<ULONG> out;
    for (const auto& [date, point] : profile.Points()) out.push_back(point.dwFlags);
    return out;
}

// Exactly these points; the list starts at 0.0, where the store keeps its
// first point.
inline void Write(ostrel::TVoAvailability& profile, const Points& points) {
    profile.Clear();
    for (const auto& [date, units] : points) profile.AddPoint(date, units);
}

// The code and text of the EVoError an operation threw; code 0 when none, and
// a thrown HRESULT as its code with the text "(HRESULT)".
struct Failure {
    DWORD code = 0;
    std::string text = "(no error)";
};
template <class Operation>
Failure Caught(Operation operation) {
    try {
        operation();
    } catch (const ostrel::EVoError& e) {
        return {e.Code, test::Utf8(e.Message)};
    } catch (HRESULT hr) {
        return {DWORD(hr), "(HRESULT)"};
    }
    return {};
}

}  // namespace avl_test
