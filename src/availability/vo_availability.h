// VoAvailability, the component through which hosts and the scheduler use a
// profile: every method forwards to the engine, which is created on first
// use with default units 1.0 and owned by the object.
#pragma once
#include <memory>

#include <Ostrel.h>

#include "availability/availability.h"
#include "component/com_object.h"
#include "component/copying_enum.h"
#include "component/dispatch.h"
#include "foundation/critical_section.h"

namespace ostrel {

using PointEnum = CopyingEnum<IEnumAvPoints, &IID_IEnumAvPoints, tagAVAILABILITYPOINT>;

// The interface's bodies and the operations that follow them in the
// implementation class, in their fixed slot order, for hosts that work with
// the class directly.
class CVoAvailabilityImpl : public Dispatch<IVoAvailability> {
public:
    STDMETHODIMP Clear() override;
    STDMETHODIMP get_Count(ULONG* pdwCount) override;
    STDMETHODIMP CalcWorkingHours(DATE dtStart, DATE dtStop, double* dblHours) override;
    STDMETHODIMP Date2Index(DATE Pos, ULONG* pdwIndex) override;
    STDMETHODIMP Index2Date(ULONG dwIndex, DATE* Pos) override;
    STDMETHODIMP GetUnitsAt(ULONG dwIndex, double* Units) override;
    STDMETHODIMP GetUnits(DATE Pos, double* Units) override;
    STDMETHODIMP SetTimeSpan(DATE Start, DATE Stop, double Units) override;
    STDMETHODIMP AddPoint(DATE Start, double Units) override;
    STDMETHODIMP PrepareDateRange(DATE dtStart, DATE dtStop) override;
    STDMETHODIMP GetPreparedRange(DATE* pdtStart, DATE* pdtStop) override;
    STDMETHODIMP GetOperator(tagOPERATOR* popOpp, tagOPERATORBOUND* pobOppBound) override;
    STDMETHODIMP SetOperator(tagOPERATOR opOpp, tagOPERATORBOUND obOppBound) override;
    STDMETHODIMP AddSource(IUnknown* pSource) override;
    STDMETHODIMP GetSource(ULONG dwIndex, IUnknown** ppSource) override;
    STDMETHODIMP SumUnits(DATE dtStart, DATE dtStop, double dblUnits, ULONG dwFlags, BOOL bAllowNegative) override;
    STDMETHODIMP SumRange(IUnknown* pUnk, DATE dtStop, tagOPERATOR opOpp, double* pdblMinMax) override;
    STDMETHODIMP ScheduleTask(DATE dtStart, DATE dtEnd, double dblDuration, double UnitsRequired,
                              tagSCHEDULEDIRECTION Direction, IUnknown** ppUnk,
                              tagSCHEDULERESULT* psrResult) override;
    STDMETHODIMP EnumPoints(DATE dtStart, DATE dtStop, IUnknown** ppUnk) override;
    STDMETHODIMP SetRules(IUnknown* pRules) override;
    STDMETHODIMP GetRules(IUnknown** ppRules) override;
    STDMETHODIMP get_RequiresPrepare(BOOL* pValue) override;

    // Slot 1: hands a failure's text to the caller's error information.
    virtual HRESULT ReportError(const OLECHAR* text);
    // Slot 2: the engine, created on first use.
    virtual TVoAvailability& GetEngine();
    // Slots 3 to 5: reserved; they do nothing and succeed.
    virtual HRESULT Reserved1();
    virtual HRESULT Reserved2(double, double, double, double);
    virtual HRESULT Reserved3(ULONG);
    // Slot 6: the points of [start, stop) in an array the caller frees with
    // CoTaskMemFree (the task allocator, so any module can free it).
    virtual HRESULT PackPoints(DATE start, DATE stop, ULONG unused, ULONG* count, tagAVAILABILITYPOINT** points);

protected:
    CVoAvailabilityImpl() = default;
    virtual ~CVoAvailabilityImpl() = default;

private:
    template <class Body>
    HRESULT Guarded(Body&& body) noexcept;

    std::unique_ptr<TVoAvailability> engine_;
    // Held only by EnumPoints, around packing the points.
    CriticalSection lock_;
};

class CVoAvailability final
    : public ComObject<CVoAvailability, CVoAvailabilityImpl, SupportErrorInfo<CVoAvailability>> {
public:
    static std::span<const InterfaceEntry<CVoAvailability>> InterfaceTable();
    static const IID& ErrorInfoInterface() { return IID_IVoAvailability; }
};

// The class table's creation function for VoAvailability.
HRESULT CreateVoAvailability(IUnknown* outer, REFIID riid, void** ppv);

}  // namespace ostrel
