// The shared object base: interface table, identity, aggregation and the
// library's live-object count.
#include "component/com_object.h"

#include "test_support.h"

namespace {

using ostrel::ComObject;
using ostrel::Entry;
using ostrel::InterfaceEntry;
using ostrel::ModuleLockCount;
using ostrel::SupportErrorInfo;

// A class with two interfaces, the second being error-information support
// declared for the first.
class Probe final : public ComObject<Probe, IConnectionPointContainer, SupportErrorInfo<Probe>> {
public:
    static std::span<const InterfaceEntry<Probe>> InterfaceTable() {
        static const InterfaceEntry<Probe> table[] = {
            Entry<Probe, IConnectionPointContainer>(IID_IConnectionPointContainer),
            Entry<Probe, ISupportErrorInfo>(IID_ISupportErrorInfo)};
        return table;
    }
    static const IID& ErrorInfoInterface() { return IID_IConnectionPointContainer; }

    STDMETHODIMP EnumConnectionPoints(IEnumConnectionPoints**) override { return E_NOTIMPL; }
    STDMETHODIMP FindConnectionPoint(REFIID, IConnectionPoint**) override { return E_NOTIMPL; }
};

// An outer object that only counts the calls delegated to it.
struct CountingOuter final : IUnknown {
    IUnknown* inner = nullptr;
    int queries = 0, addRefs = 0, releases = 0;
    STDMETHODIMP QueryInterface(REFIID riid, void** ppv) override {
        ++queries;
        return inner->QueryInterface(riid, ppv);
    }
    STDMETHODIMP_(ULONG) AddRef() override { return ULONG(++addRefs); }
    STDMETHODIMP_(ULONG) Release() override { return ULONG(++releases); }
};

TEST(ComObject, AnswersItsTableAndNothingElse) {
    LONG before = ModuleLockCount();
    IUnknown* unknown = nullptr;
    EXPECT_HR(S_OK, Probe::CreateInstance(nullptr, IID_IUnknown, reinterpret_cast<void**>(&unknown)));
    EXPECT_EQ(ModuleLockCount(), before + 1);

    IConnectionPointContainer* container = nullptr;
    ISupportErrorInfo* support = nullptr;
    IDispatch* dispatch = reinterpret_cast<IDispatch*>(1);
    EXPECT_HR(S_OK, unknown->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&container)));
    EXPECT_HR(S_OK, unknown->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)));
    EXPECT_HR(E_NOINTERFACE, unknown->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&dispatch)));
    EXPECT_EQ(dispatch, nullptr) << "a refused query nulls the out-pointer";
    EXPECT_HR(E_POINTER, unknown->QueryInterface(IID_IUnknown, nullptr));
    EXPECT_HR(E_POINTER, Probe::CreateInstance(nullptr, IID_IUnknown, nullptr));

    // The first entry of the table is the object's identity.
    EXPECT_EQ(static_cast<void*>(unknown), static_cast<void*>(container));
    IUnknown* again = nullptr;
    support->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&again));
    EXPECT_EQ(again, unknown);  // one identity

    EXPECT_HR(S_OK, support->InterfaceSupportsErrorInfo(IID_IConnectionPointContainer));
    EXPECT_HR(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IDispatch));

    again->Release();
    support->Release();
    container->Release();
    EXPECT_EQ(unknown->Release(), 0u);
    EXPECT_EQ(ModuleLockCount(), before);
}

TEST(ComObject, AggregationHandsOutTheInnerUnknownOnly) {
    CountingOuter outer;
    void* out = reinterpret_cast<void*>(1);
    EXPECT_HR(CLASS_E_NOAGGREGATION, Probe::CreateInstance(&outer, IID_ISupportErrorInfo, &out));
    EXPECT_EQ(out, nullptr);

    IUnknown* inner = nullptr;
    EXPECT_HR(S_OK, Probe::CreateInstance(&outer, IID_IUnknown, reinterpret_cast<void**>(&inner)));
    outer.inner = inner;

    // Interfaces reached through the inner unknown delegate to the outer.
    ISupportErrorInfo* support = nullptr;
    EXPECT_HR(S_OK, inner->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)));
    EXPECT_EQ(outer.addRefs, 1) << "the reference handed out belongs to the outer object";
    IConnectionPointContainer* container = nullptr;
    EXPECT_HR(S_OK, support->QueryInterface(IID_IConnectionPointContainer, reinterpret_cast<void**>(&container)));
    EXPECT_EQ(outer.queries, 1);
    support->Release();
    container->Release();
    EXPECT_EQ(outer.releases, 2);

    EXPECT_EQ(inner->Release(), 0u);
}

}  // namespace
