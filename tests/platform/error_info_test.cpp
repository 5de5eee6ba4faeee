// Error objects and the per-thread error information slot.
#include <thread>
#include <vector>

#include "system_test_support.h"

namespace {

std::string Read(IErrorInfo* info, HRESULT (STDMETHODCALLTYPE IErrorInfo::*get)(BSTR*)) {
    BSTR s = reinterpret_cast<BSTR>(1);
    HRESULT hr = (info->*get)(&s);
    std::string text = FAILED(hr) ? "failed " + test::Hex(hr) : s ? test::Utf8(s) : "<null>";
    if (SUCCEEDED(hr)) SysFreeString(s);
    return text;
}

TEST(ErrorInfo, WhatIsSetIsReadBackAndUnsetTextsAreNull) {
    ICreateErrorInfo* create = nullptr;
    EXPECT_HR(S_OK, CreateErrorInfo(&create));
    IErrorInfo* info = nullptr;
    EXPECT_HR(S_OK, create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info)));
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(Read(info, &IErrorInfo::GetDescription), "<null>");
    create->SetDescription(const_cast<LPOLESTR>(OLESTR("Bad task")));
    create->SetSource(const_cast<LPOLESTR>(OLESTR("Ostrel.Scheduler")));
    create->SetHelpFile(const_cast<LPOLESTR>(OLESTR("")));
    create->SetGUID(IID_IDispatch);
    EXPECT_EQ(Read(info, &IErrorInfo::GetDescription), "Bad task");
    EXPECT_EQ(Read(info, &IErrorInfo::GetSource), "Ostrel.Scheduler");
    EXPECT_EQ(Read(info, &IErrorInfo::GetHelpFile), "");  // empty, not null
    GUID guid = GUID_NULL;
    EXPECT_HR(S_OK, info->GetGUID(&guid));
    EXPECT_TRUE(IsEqualGUID(guid, IID_IDispatch));
    create->SetDescription(nullptr);
    EXPECT_EQ(Read(info, &IErrorInfo::GetDescription), "<null>");

    IUnknown *a = nullptr, *b = nullptr;  // one identity behind both interfaces
    info->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&a));
    create->QueryInterface(IID_IUnknown, reinterpret_cast<void**>(&b));
    EXPECT_EQ(a, b);
    void* other = &guid;
    EXPECT_HR(E_NOINTERFACE, info->QueryInterface(IID_IDispatch, &other));
    EXPECT_EQ(other, nullptr);
    EXPECT_HR(E_INVALIDARG, info->GetDescription(nullptr));
    a->Release(), b->Release(), info->Release();

    // Threads racing to add and drop references leave the count where it was.
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([create] {
            for (int i = 0; i < 20000; ++i) create->AddRef(), create->Release();
        });
    }
    for (auto& t : threads) t.join();
    EXPECT_EQ(create->Release(), 0u);
}

// A new error object, and its reference count as seen by one more AddRef.
IErrorInfo* NewErrorInfo() {
    ICreateErrorInfo* create = nullptr;
    IErrorInfo* info = nullptr;
    CreateErrorInfo(&create);
    create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info));
    create->Release();
    return info;
}
ULONG References(IErrorInfo* info) {
    info->AddRef();
    return info->Release();
}

TEST(ErrorInfo, GetHandsTheObjectOverAndEmptiesTheSlot) {
    IErrorInfo* info = NewErrorInfo();
    EXPECT_HR(S_OK, SetErrorInfo(0, info));
    EXPECT_EQ(References(info), 2u);
    IErrorInfo* taken = nullptr;
    EXPECT_HR(S_OK, GetErrorInfo(0, &taken));
    EXPECT_EQ(taken, info);
    EXPECT_EQ(References(info), 2u);  // the slot's reference is now the caller's
    EXPECT_HR(S_FALSE, GetErrorInfo(0, &taken));
    EXPECT_EQ(taken, nullptr);
    info->Release();

    EXPECT_HR(S_OK, SetErrorInfo(0, info));
    EXPECT_HR(S_OK, SetErrorInfo(0, nullptr));  // clears and releases
    EXPECT_EQ(References(info), 1u);
    EXPECT_HR(E_INVALIDARG, SetErrorInfo(1, info));
    EXPECT_HR(E_INVALIDARG, GetErrorInfo(1, &taken));
    EXPECT_HR(E_INVALIDARG, GetErrorInfo(0, nullptr));
    EXPECT_EQ(info->Release(), 0u);
}

TEST(ErrorInfo, EachThreadHasItsOwnSlotReleasedWhenTheThreadEnds) {
    IErrorInfo *mine = NewErrorInfo(), *theirs = NewErrorInfo();
    SetErrorInfo(0, mine);
    HRESULT seenByOther = E_FAIL;
    std::thread([&] {
        IErrorInfo* taken = nullptr;
        seenByOther = GetErrorInfo(0, &taken);
        SetErrorInfo(0, theirs);  // never collected
    }).join();
    EXPECT_HR(S_FALSE, seenByOther);
    EXPECT_EQ(References(theirs), 1u);  // released as its thread ended
    EXPECT_EQ(References(mine), 2u);
    SetErrorInfo(0, nullptr);
    EXPECT_EQ(mine->Release() + theirs->Release(), 0u);
}

}  // namespace
