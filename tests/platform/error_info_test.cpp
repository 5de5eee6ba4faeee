// Error objects and the per-thread error information slot.
#include <atomic>
#include <thread>
#include <vector>

#include "system_test_support.h"

namespace {

std::string Text(BSTR s) { return s ? test::Utf8(s) : "<null>"; }

// Reads a text property and frees the string.
template <typename Getter>
std::string Read(IErrorInfo* info, Getter get) {
    BSTR s = reinterpret_cast<BSTR>(1);
    HRESULT hr = (info->*get)(&s);
    std::string text = SUCCEEDED(hr) ? Text(s) : "failed " + test::Hex(hr);
    if (SUCCEEDED(hr)) SysFreeString(s);
    return text;
}

// An error object of our own that records when it is released.
struct Spy final : IErrorInfo {
    std::atomic<LONG> references{1};
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ULONG(++references); }
    ULONG STDMETHODCALLTYPE Release() override { return ULONG(--references); }
    HRESULT STDMETHODCALLTYPE GetGUID(GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD*) override { return E_NOTIMPL; }
};

TEST(ErrorInfo, WhatIsSetIsReadBackAndUnsetTextsAreNull) {
    ICreateErrorInfo* create = nullptr;
    EXPECT_HR(S_OK, CreateErrorInfo(&create));
    ASSERT_NE(create, nullptr);
    IErrorInfo* info = nullptr;
    EXPECT_HR(S_OK, create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)));
    ASSERT_NE(info, nullptr);

    EXPECT_EQ(Read(info, &IErrorInfo::GetDescription), "<null>");
    GUID guid = IID_IDispatch;
    DWORD context = 7;
    EXPECT_HR(S_OK, info->GetGUID(&guid));
    EXPECT_TRUE(IsEqualGUID(guid, GUID_NULL));
    EXPECT_HR(S_OK, info->GetHelpContext(&context));
    EXPECT_EQ(context, 0u);

    EXPECT_HR(S_OK, create->SetDescription(const_cast<LPOLESTR>(OLESTR("Bad task"))));
    EXPECT_HR(S_OK, create->SetSource(const_cast<LPOLESTR>(OLESTR("Ostrel.Scheduler"))));
    EXPECT_HR(S_OK, create->SetHelpFile(const_cast<LPOLESTR>(OLESTR(""))));
    EXPECT_HR(S_OK, create->SetGUID(IID_IDispatch));
    EXPECT_HR(S_OK, create->SetHelpContext(42));
    EXPECT_EQ(Read(info, &IErrorInfo::GetDescription), "Bad task");
    EXPECT_EQ(Read(info, &IErrorInfo::GetSource), "Ostrel.Scheduler");
    EXPECT_EQ(Read(info, &IErrorInfo::GetHelpFile), "");  // empty, not null
    EXPECT_HR(S_OK, info->GetGUID(&guid));
    EXPECT_TRUE(IsEqualGUID(guid, IID_IDispatch));
    EXPECT_HR(S_OK, info->GetHelpContext(&context));
    EXPECT_EQ(context, 42u);
    EXPECT_HR(S_OK, create->SetDescription(nullptr));
    EXPECT_EQ(Read(info, &IErrorInfo::GetDescription), "<null>");

    // One identity behind both interfaces; others are refused.
    IUnknown *a = nullptr, *b = nullptr;
    EXPECT_HR(S_OK, info->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&a)));
    EXPECT_HR(S_OK, create->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&b)));
    EXPECT_EQ(a, b);
    void* other = &guid;
    EXPECT_HR(E_NOINTERFACE, info->QueryInterface(IID_IDispatch, &other));
    EXPECT_EQ(other, nullptr);
    EXPECT_HR(E_POINTER, info->QueryInterface(IID_IUnknown, nullptr));
    EXPECT_HR(E_INVALIDARG, info->GetDescription(nullptr));
    EXPECT_HR(E_INVALIDARG, CreateErrorInfo(nullptr));

    a->Release();
    b->Release();
    info->Release();
    EXPECT_EQ(create->Release(), 0u);
}

TEST(ErrorInfo, GetHandsTheObjectOverAndEmptiesTheSlot) {
    Spy spy;
    EXPECT_HR(S_OK, SetErrorInfo(0, &spy));
    EXPECT_EQ(spy.references.load(), 2);
    IErrorInfo* taken = nullptr;
    EXPECT_HR(S_OK, GetErrorInfo(0, &taken));
    EXPECT_EQ(taken, &spy);
    EXPECT_EQ(spy.references.load(), 2);  // the slot's reference is now the caller's
    taken = &spy;
    EXPECT_HR(S_FALSE, GetErrorInfo(0, &taken));
    EXPECT_EQ(taken, nullptr);
    spy.Release();

    EXPECT_HR(S_OK, SetErrorInfo(0, &spy));
    EXPECT_HR(S_OK, SetErrorInfo(0, nullptr));  // clears and releases
    EXPECT_EQ(spy.references.load(), 1);
    EXPECT_HR(S_FALSE, GetErrorInfo(0, &taken));

    EXPECT_HR(E_INVALIDARG, SetErrorInfo(1, &spy));
    EXPECT_HR(E_INVALIDARG, GetErrorInfo(1, &taken));
    EXPECT_HR(E_INVALIDARG, GetErrorInfo(0, nullptr));
    EXPECT_EQ(spy.references.load(), 1);
}

TEST(ErrorInfo, EachThreadHasItsOwnSlotReleasedWhenTheThreadEnds) {
    Spy mine, theirs;
    SetErrorInfo(0, &mine);
    HRESULT seenByOther = E_FAIL;
    std::thread([&] {
        IErrorInfo* taken = nullptr;
        seenByOther = GetErrorInfo(0, &taken);
        SetErrorInfo(0, &theirs);  // never collected
    }).join();
    EXPECT_HR(S_FALSE, seenByOther);
    EXPECT_EQ(theirs.references.load(), 1);  // released as its thread ended
    EXPECT_EQ(mine.references.load(), 2);
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(mine.references.load(), 1);
}

TEST(ErrorInfo, ReferenceCountHoldsUnderConcurrentUse) {
    ICreateErrorInfo* create = nullptr;
    EXPECT_HR(S_OK, CreateErrorInfo(&create));
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([create] {
            for (int i = 0; i < 20000; ++i) {
                create->AddRef();
                create->Release();
            }
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(create->AddRef(), 2u);
    create->Release();
    EXPECT_EQ(create->Release(), 0u);
}

}  // namespace
