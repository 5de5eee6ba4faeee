#include "availability/vo_availability.h"

#include <cstring>
#include <new>

#include "foundation/boundary.h"
#include "foundation/caller_error.h"
#include "foundation/hresult.h"
#include "foundation/message_numbers.h"
#include "foundation/raw_enum.h"
#include "foundation/vo_error.h"

namespace ostrel {
namespace {

// The whole time line, for the plain count of points.
constexpr DATE kEndOfTime = 1.7976931348623157e308;

// Out-pointers the reference would write through unchecked are refused
// instead: a host's mistake must not take the process down.
template <class... Pointers>
void RequirePointers(Pointers*... pointers) {
    if (((pointers == nullptr) || ...)) throw HRESULT(E_POINTER);
}

}  // namespace

template <class Body>
HRESULT CVoAvailabilityImpl::Guarded(Body&& body) noexcept {
    return Boundary(CLSID_VoAvailability, std::forward<Body>(body));
}

HRESULT CVoAvailabilityImpl::ReportError(const OLECHAR* text) { return ReportCallerError(CLSID_VoAvailability, text); }

TVoAvailability& CVoAvailabilityImpl::GetEngine() {
    if (!engine_) {
        engine_.reset(new (std::nothrow) TVoAvailability(1.0));
        if (!engine_) throw EVoError(VOMSG_OUT_OF_MEMORY);
    }
    return *engine_;
}

HRESULT CVoAvailabilityImpl::Reserved1() { return S_OK; }
HRESULT CVoAvailabilityImpl::Reserved2(double, double, double, double) { return S_OK; }
HRESULT CVoAvailabilityImpl::Reserved3(ULONG) { return S_OK; }

HRESULT CVoAvailabilityImpl::PackPoints(DATE start, DATE stop, ULONG, ULONG* count, tagAVAILABILITYPOINT** points) {
    return Guarded([&] {
        RequirePointers(count, points);
        *points = nullptr;
        PointArray packed = GetEngine().PackData(start, stop);
        const size_t bytes = sizeof(tagAVAILABILITYPOINT) * (packed.count ? packed.count : 1);
        auto* out = static_cast<tagAVAILABILITYPOINT*>(CoTaskMemAlloc(bytes));
        if (!out) throw EVoError(VOMSG_OUT_OF_MEMORY);
        if (packed.count) std::memcpy(out, packed.points.get(), sizeof(tagAVAILABILITYPOINT) * packed.count);
        *points = out;
        *count = packed.count;
    });
}

STDMETHODIMP CVoAvailabilityImpl::Clear() {
    return Guarded([&] { GetEngine().Clear(); });
}

STDMETHODIMP CVoAvailabilityImpl::get_Count(ULONG* pdwCount) {
    return Guarded([&] {
        RequirePointers(pdwCount);
        *pdwCount = GetEngine().Count(0.0, kEndOfTime);
    });
}

STDMETHODIMP CVoAvailabilityImpl::CalcWorkingHours(DATE dtStart, DATE dtStop, double* dblHours) {
    return Guarded([&] {
        RequirePointers(dblHours);
        *dblHours = GetEngine().CalcWorkingHours(dtStart, dtStop);
    });
}

STDMETHODIMP CVoAvailabilityImpl::Date2Index(DATE Pos, ULONG* pdwIndex) {
    return Guarded([&] {
        RequirePointers(pdwIndex);
        *pdwIndex = GetEngine().Date2Index(Pos);
    });
}

STDMETHODIMP CVoAvailabilityImpl::Index2Date(ULONG dwIndex, DATE* Pos) {
    return Guarded([&] {
        RequirePointers(Pos);
        *Pos = GetEngine().Index2Date(dwIndex);
    });
}

STDMETHODIMP CVoAvailabilityImpl::GetUnitsAt(ULONG dwIndex, double* Units) {
    return Guarded([&] {
        RequirePointers(Units);
        *Units = GetEngine().GetUnitsAt(dwIndex);
    });
}

STDMETHODIMP CVoAvailabilityImpl::GetUnits(DATE Pos, double* Units) {
    return Guarded([&] {
        RequirePointers(Units);
        *Units = GetEngine().GetUnits(Pos);
    });
}

STDMETHODIMP CVoAvailabilityImpl::SetTimeSpan(DATE Start, DATE Stop, double Units) {
    return Guarded([&] { GetEngine().SetTimeSpan(Start, Stop, Units); });
}

STDMETHODIMP CVoAvailabilityImpl::AddPoint(DATE Start, double Units) {
    return Guarded([&] { GetEngine().AddPoint(Start, Units); });
}

STDMETHODIMP CVoAvailabilityImpl::PrepareDateRange(DATE dtStart, DATE dtStop) {
    return Guarded([&] { GetEngine().Prepare(dtStart, dtStop); });
}

STDMETHODIMP CVoAvailabilityImpl::GetPreparedRange(DATE* pdtStart, DATE* pdtStop) {
    return Guarded([&] {
        RequirePointers(pdtStart, pdtStop);
        GetEngine().GetPreparedRange(pdtStart, pdtStop);
    });
}

STDMETHODIMP CVoAvailabilityImpl::GetOperator(tagOPERATOR* popOpp, tagOPERATORBOUND* pobOppBound) {
    return Guarded([&] {
        RequirePointers(popOpp, pobOppBound);
        GetEngine().GetOperator(popOpp, pobOppBound);
    });
}

STDMETHODIMP CVoAvailabilityImpl::SetOperator(tagOPERATOR opOpp, tagOPERATORBOUND obOppBound) {
    return Guarded([&] { GetEngine().SetOperator(RawEnum(opOpp), RawEnum(obOppBound)); });
}

STDMETHODIMP CVoAvailabilityImpl::AddSource(IUnknown* pSource) {
    return Guarded([&] { GetEngine().AddSource(pSource); });
}

STDMETHODIMP CVoAvailabilityImpl::GetSource(ULONG dwIndex, IUnknown** ppSource) {
    return Guarded([&] {
        RequirePointers(ppSource);
        GetEngine().GetSource(dwIndex, ppSource);
    });
}

STDMETHODIMP CVoAvailabilityImpl::SumUnits(DATE dtStart, DATE dtStop, double dblUnits, ULONG dwFlags,
                                           BOOL bAllowNegative) {
    // Only the low half of the BOOL is read; the lowest units reached are
    // not handed back through this method.
    return Guarded([&] {
        GetEngine().SumUnits(dtStart, dtStop, dblUnits, dwFlags, (DWORD(bAllowNegative) & 0xFFFFu) != 0);
    });
}

STDMETHODIMP CVoAvailabilityImpl::SumRange(IUnknown* pUnk, DATE dtStop, tagOPERATOR opOpp, double* pdblMinMax) {
    return Guarded([&] { GetEngine().SumRange(pUnk, dtStop, RawEnum(opOpp), pdblMinMax); });
}

STDMETHODIMP CVoAvailabilityImpl::ScheduleTask(DATE dtStart, DATE dtEnd, double dblDuration, double UnitsRequired,
                                               tagSCHEDULEDIRECTION Direction, IUnknown** ppUnk,
                                               tagSCHEDULERESULT* psrResult) {
    // Work that cannot be placed is a result (srFail), not a failure.
    return Guarded([&] {
        GetEngine().ScheduleTask(dtStart, dtEnd, dblDuration, UnitsRequired, RawEnum(Direction), ppUnk,
                                 psrResult);
    });
}

STDMETHODIMP CVoAvailabilityImpl::EnumPoints(DATE dtStart, DATE dtStop, IUnknown** ppUnk) {
    return Guarded([&] {
        CriticalSectionLock hold(lock_);
        if (!ppUnk) throw HRESULT(E_POINTER);
        *ppUnk = nullptr;
        PointEnum* enumerator = PointEnum::New();
        if (!enumerator) throw HRESULT(E_OUTOFMEMORY);
        try {
            PointArray packed = GetEngine().PackData(dtStart, dtStop);
            enumerator->Init(std::move(packed.points), packed.count);
            ThrowIfFailed(enumerator->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(ppUnk)));
        } catch (...) {
            enumerator->Release();
            throw;
        }
        enumerator->Release();
    });
}

STDMETHODIMP CVoAvailabilityImpl::SetRules(IUnknown* pRules) {
    return Guarded([&] { GetEngine().SetRules(pRules); });
}

STDMETHODIMP CVoAvailabilityImpl::GetRules(IUnknown** ppRules) {
    // With no rule set held the caller's pointer is left as it was.
    return Guarded([&] {
        RequirePointers(ppRules);
        GetEngine().GetRules(ppRules);
    });
}

STDMETHODIMP CVoAvailabilityImpl::get_RequiresPrepare(BOOL* pValue) {
    return Guarded([&] {
        RequirePointers(pValue);
        const bool needed = GetEngine().RequiresPrepare();
        // Only the low 16 bits of the caller's BOOL are written; deliberate.
        *pValue = BOOL((DWORD(*pValue) & 0xFFFF0000u) | (needed ? 1u : 0u));
    });
}

std::span<const InterfaceEntry<CVoAvailability>> CVoAvailability::InterfaceTable() {
    static const InterfaceEntry<CVoAvailability> table[] = {
        Entry<CVoAvailability, IDispatch, IVoAvailability>(IID_IDispatch),
        Entry<CVoAvailability, IVoAvailability>(IID_IVoAvailability),
        Entry<CVoAvailability, ISupportErrorInfo>(IID_ISupportErrorInfo),
    };
    return table;
}

HRESULT CreateVoAvailability(IUnknown* outer, REFIID riid, void** ppv) {
    return CVoAvailability::CreateInstance(outer, riid, ppv);
}

}  // namespace ostrel
