// A profile object for the engine's tests: IVoAvailability over a
// TVoAvailability, serving what the engine asks of its source profiles
// (EnumPoints) and answering E_NOTIMPL to the rest.
#pragma once
#include <Ostrel.h>

#include "availability/availability.h"
#include "component/com_object.h"
#include "component/copying_enum.h"
#include "foundation/boundary.h"

namespace avl_test {

using PointEnum = ostrel::CopyingEnum<IEnumAvPoints, &IID_IEnumAvPoints, tagAVAILABILITYPOINT>;

class TestProfile final : public ostrel::ComObject<TestProfile, IVoAvailability> {
public:
    static std::span<const ostrel::InterfaceEntry<TestProfile>> InterfaceTable() {
        static const ostrel::InterfaceEntry<TestProfile> table[] = {
            ostrel::Entry<TestProfile, IVoAvailability>(IID_IVoAvailability),
            ostrel::Entry<TestProfile, IDispatch, IVoAvailability>(IID_IDispatch)};
        return table;
    }
    // A new object holding one reference, over a profile of default units.
    static TestProfile* Make(double units = 1.0) { return New(units); }
    explicit TestProfile(double units) : engine(units) {}

    ostrel::TVoAvailability engine;
    int enumPointsCalls = 0;

    STDMETHODIMP EnumPoints(DATE dtStart, DATE dtStop, IUnknown** ppUnk) override {
        ++enumPointsCalls;
        return ostrel::Boundary(CLSID_VoAvailability, [&] {
            if (!ppUnk) throw HRESULT(E_POINTER);
            *ppUnk = nullptr;
            ostrel::PointArray packed = engine.PackData(dtStart, dtStop);
            PointEnum* e = PointEnum::New();
            if (!e) throw HRESULT(E_OUTOFMEMORY);
            e->Init(std::move(packed.points), packed.count);
            *ppUnk = static_cast<IEnumAvPoints*>(e);
        });
    }

    STDMETHODIMP GetTypeInfoCount(UINT*) override { return E_NOTIMPL; }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return E_NOTIMPL; }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override { return E_NOTIMPL; }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP Clear() override { return E_NOTIMPL; }
    STDMETHODIMP get_Count(ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP CalcWorkingHours(DATE, DATE, double*) override { return E_NOTIMPL; }
    STDMETHODIMP Date2Index(DATE, ULONG*) override { return E_NOTIMPL; }
    STDMETHODIMP Index2Date(ULONG, DATE*) override { return E_NOTIMPL; }
    STDMETHODIMP GetUnitsAt(ULONG, double*) override { return E_NOTIMPL; }
    STDMETHODIMP GetUnits(DATE, double*) override { return E_NOTIMPL; }
    STDMETHODIMP SetTimeSpan(DATE, DATE, double) override { return E_NOTIMPL; }
    STDMETHODIMP AddPoint(DATE, double) override { return E_NOTIMPL; }
    STDMETHODIMP PrepareDateRange(DATE, DATE) override { return E_NOTIMPL; }
    STDMETHODIMP GetPreparedRange(DATE*, DATE*) override { return E_NOTIMPL; }
    STDMETHODIMP GetOperator(tagOPERATOR*, tagOPERATORBOUND*) override { return E_NOTIMPL; }
    STDMETHODIMP SetOperator(tagOPERATOR, tagOPERATORBOUND) override { return E_NOTIMPL; }
    STDMETHODIMP AddSource(IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP GetSource(ULONG, IUnknown**) override { return E_NOTIMPL; }
    STDMETHODIMP SumUnits(DATE, DATE, double, ULONG, BOOL) override { return E_NOTIMPL; }
    STDMETHODIMP SumRange(IUnknown*, DATE, tagOPERATOR, double*) override { return E_NOTIMPL; }
    STDMETHODIMP ScheduleTask(DATE, DATE, double, double, tagSCHEDULEDIRECTION, IUnknown**,
                              tagSCHEDULERESULT*) override {
        return E_NOTIMPL;
    }
    STDMETHODIMP SetRules(IUnknown*) override { return E_NOTIMPL; }
    STDMETHODIMP GetRules(IUnknown**) override { return E_NOTIMPL; }
    STDMETHODIMP get_RequiresPrepare(BOOL*) override { return E_NOTIMPL; }
};

}  // namespace avl_test
