// CoInitialize counting per thread.
#include <thread>

#include "system_test_support.h"

namespace {

TEST(ComInit, CountsPerThreadAndRefusesTheOtherModel) {
    EXPECT_HR(S_OK, CoInitialize(nullptr));
    EXPECT_HR(S_FALSE, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE));
    EXPECT_HR(RPC_E_CHANGED_MODE, CoInitializeEx(nullptr, COINIT_MULTITHREADED));  // not counted
    HRESULT other[2] = {E_FAIL, E_FAIL};  // another thread starts from nothing
    std::thread([&] {
        other[0] = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        other[1] = CoInitialize(nullptr);
        CoUninitialize();
    }).join();
    EXPECT_HR(S_OK, other[0]);
    EXPECT_HR(RPC_E_CHANGED_MODE, other[1]);

    CoUninitialize();
    EXPECT_HR(S_FALSE, CoInitialize(nullptr));  // one is still open
    CoUninitialize();
    CoUninitialize();
    CoUninitialize();  // unbalanced: harmless
    EXPECT_HR(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    CoUninitialize();
}

}  // namespace
