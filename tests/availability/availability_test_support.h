// Profiles written and read as (date, units) lists, caught engine errors, and
// the objects the engine talks to: point enumerations, profiles, rule sets.
#pragma once
#include <chrono>

#include "availability/availability.h"
#include "availability/vo_availability.h"
#include "foundation/vo_error.h"
#include "test_support.h"

namespace avl_test {

using ostrel::dtOpenEnd;
using ostrel::TVoAvailability;
using Points = std::vector<std::pair<double, double>>;  // (date, units), or a span's (start, stop)
constexpr double kHour = 1.0 / 24;

inline DATE At(int y, unsigned m, unsigned d, double hours = 0) {
    using namespace std::chrono;
    return DATE(sys_days{year{y} / month{m} / day{d}}.time_since_epoch().count() + 25569) + hours * kHour;
}

inline Points Read(const TVoAvailability& profile) {
    Points out;
    for (const auto& [date, point] : profile.Points()) out.emplace_back(date, point.dblUnits);
    return out;
}
inline std::vector<ULONG> Flags(const TVoAvailability& profile) {
    std::vector<ULONG> out;
    for (const auto& [date, point] : profile.Points()) out.push_back(point.dwFlags);
    return out;
}
// Exactly these points (the list starts at 0.0, where the store keeps its first).
inline void Write(TVoAvailability& profile, const Points& points) {
    profile.Clear();
    for (const auto& [date, units] : points) profile.AddPoint(date, units);
}

// The code and text of the EVoError an operation threw, or the HRESULT.
struct Failure {
    DWORD code = 0;
    std::string text;
};
template <class Operation>
Failure Caught(Operation operation) {
    try {
        operation();
    } catch (const ostrel::EVoError& e) {
        return {e.Code, test::Utf8(e.Message)};
    } catch (HRESULT hr) {
        return {DWORD(hr), "HRESULT"};
    }
    return {};
}

// The spans a placement's enumerator delivers, left back at its start.
inline Points SpansOf(IUnknown* unknown) {
    Points out;
    IEnumTimespans* e = nullptr;
    if (!unknown || FAILED(unknown->QueryInterface(IID_IEnumTimespans, reinterpret_cast<void**>(&e)))) return out;
    tagTIMESPAN span;
    while (e->Next(1, &span, nullptr) == S_OK) out.emplace_back(span.dtStart, span.dtStop);
    e->Reset();
    e->Release();
    return out;
}

// An enumeration of points, as a profile's EnumPoints hands them out.
inline IUnknown* Listed(const Points& points, ULONG flags = 0) {
    auto items = std::make_unique<tagAVAILABILITYPOINT[]>(points.size());
    for (size_t i = 0; i < points.size(); ++i) items[i] = {points[i].first, points[i].second, flags};
    ostrel::PointEnum* e = ostrel::PointEnum::New();
    e->Init(std::move(items), ULONG(points.size()));
    return static_cast<IEnumAvPoints*>(e);
}

// A profile object holding exactly these points, and an empty rule set.
inline IVoAvailability* Profile(const Points& points) {
    IVoAvailability* p = nullptr;
    EXPECT_HR(S_OK, ostrel::CreateVoAvailability(nullptr, IID_IVoAvailability, reinterpret_cast<void**>(&p)));
    p->Clear();
    for (const auto& [date, units] : points) p->AddPoint(date, units);
    return p;
}
inline IVoRules* NewRules() {
    CoInitialize(nullptr);  // made through the runtime; a repeat only counts
    IVoRules* rules = nullptr;
    EXPECT_HR(S_OK, CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                     reinterpret_cast<void**>(&rules)));
    return rules;
}

}  // namespace avl_test
