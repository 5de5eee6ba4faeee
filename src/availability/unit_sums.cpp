// The source profile, the stored operator, and the sums that book units into
// the profile: a constant over a range (SumUnits), or a whole enumerated
// profile added or taken away (SumRange).
#include <algorithm>
#include <cstring>

#include "availability/availability.h"
#include "component/interface_ref.h"
#include "foundation/empty_variant.h"
#include "foundation/vo_error.h"

namespace ostrel {

SourceRecord::SourceRecord(IUnknown* source) : iid_(IID_IUnknown), itf_(source), owned_(true) {
    VariantInit(&key_);
    CopyVariant(&key_, &vtEmpty);
}

SourceRecord::SourceRecord(SourceRecord&& other) noexcept
    : iid_(other.iid_), key_(other.key_), itf_(other.itf_), owned_(other.owned_) {
    VariantInit(&other.key_);
    other.itf_ = nullptr;
    other.owned_ = false;
}

SourceRecord::~SourceRecord() {
    VariantClear(&key_);
    if (owned_ && itf_ && !IsEqualGUID(iid_, GUID_NULL)) itf_->Release();
}

void TVoAvailability::AddSource(IUnknown* source) {
    {
        // Only a check that the object is a profile.
        InterfaceRef<IVoAvailability> profile;
        if (!source || FAILED(source->QueryInterface(IID_IVoAvailability, profile.OutVoid())) || !profile)
            throw EVoError(OLESTR("Invalid interface"));
    }
    if (!sources.empty()) throw EVoError(OLESTR("Only one source can be set at a time"));
    auto unknown = QueryOrThrow<IUnknown>(source, IID_IUnknown);
    sources.reserve(1);
    sources.emplace_back(unknown.Detach());
}

void TVoAvailability::GetSource(ULONG index, IUnknown** source) const {
    if (index >= sources.size()) throw EVoError(VOMSG_INDEX_OUT_OF_RANGE);
    if (!source) throw HRESULT(E_POINTER);
    ThrowIfFailed(sources[index].Interface()->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(source)));
}

void TVoAvailability::GetOperator(tagOPERATOR* op, tagOPERATORBOUND* bound) const {
    if (!op || !bound) throw HRESULT(E_POINTER);
    // Copied as 32-bit values: an unnamed one is not a value of the enumeration.
    std::memcpy(op, &opOperator, sizeof opOperator);
    std::memcpy(bound, &obBound, sizeof obBound);
}

void TVoAvailability::SetOperator(ULONG op, ULONG bound) {
    opOperator = op;
    obBound = bound;
}

double TVoAvailability::SumUnits(DATE start, DATE stop, double units, ULONG flags, bool /*allowNegative*/) {
    double lowest = 0.0;
    if (!(start < stop)) return lowest;

    // Split at both ends, so the sum touches exactly [start, stop).
    for (DATE at : {start, stop}) {
        auto p = points.LowerBound(at);
        if (p == points.end() || p->first != at) points.Put(at, points.Floor(at)->second.dblUnits);
    }
    const auto b = points.LowerBound(stop);
    for (auto p = points.LowerBound(start); p != b; ++p) {
        tagAVAILABILITYPOINT& point = p->second;
        point.dblUnits += units;
        if (point.dblUnits <= 0.0 && (flags & SUM_MARK_EXHAUSTED)) point.dwFlags |= POINT_EXHAUSTED;
        if (point.dblUnits <= lowest) lowest = point.dblUnits;
    }

    // Join at both ends again. The flags take part, so a point marked
    // exhausted never merges with an unmarked neighbour.
    auto same = [](const tagAVAILABILITYPOINT& x, const tagAVAILABILITYPOINT& y) {
        return x.dblUnits == y.dblUnits && x.dwFlags == y.dwFlags;
    };
    if (same(std::prev(b)->second, b->second)) points.Erase(b);
    const auto a = points.LowerBound(start);
    if (a != points.begin() && same(std::prev(a)->second, a->second)) points.Erase(a);
    return lowest;
}

void TVoAvailability::SumRange(IUnknown* pointsIn, DATE stop, ULONG op, double* result) {
    if (op != opAdd && op != opSubstract) throw EVoError(OLESTR("Invalid operator"));
    if (!pointsIn || !result) throw HRESULT(E_POINTER);
    *result = dtOpenEnd;
    const double sign = op == opSubstract ? -1.0 : 1.0;
    auto listed = QueryOrThrow<IEnumAvPoints>(pointsIn, IID_IEnumAvPoints);

    auto sum = [&](const tagAVAILABILITYPOINT& p, DATE until) {
        if (p.dblUnits != 0.0) *result = std::min(*result, SumUnits(p.dtDate, until, sign * p.dblUnits, p.dwFlags, true));
    };

    // Position 0 carries the last point of the previous chunk; later chunks
    // fill positions 1 to 9.
    tagAVAILABILITYPOINT buffer[10];
    ULONG fetched = 0;
    HRESULT hr = listed->Next(10, buffer, &fetched);
    ThrowIfFailed(hr);
    ULONG n = hr == S_OK ? 10 : std::min<ULONG>(fetched, 10);
    // An enumeration of no points sums nothing; the result stays at the open end.
    if (n == 0) return;
    Prepare(buffer[0].dtDate, stop);
    for (ULONG i = 0; i + 1 < n; ++i) sum(buffer[i], buffer[i + 1].dtDate);
    buffer[0] = buffer[n - 1];

    while (hr == S_OK) {
        hr = listed->Next(9, buffer + 1, &fetched);
        ThrowIfFailed(hr);
        n = hr == S_OK ? 9 : std::min<ULONG>(fetched, 9);
        // Deliberately one pair short: the stretch between the chunk's last
        // two points is never summed.
        for (ULONG i = 0; i + 1 < n; ++i) sum(buffer[i], buffer[i + 1].dtDate);
        buffer[0] = buffer[n];
    }
    if (buffer[0].dtDate < stop) sum(buffer[0], stop);
}

}  // namespace ostrel
