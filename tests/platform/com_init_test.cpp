// CoInitialize counting per thread.
#include <thread>

#include "system_test_support.h"

namespace {

TEST(ComInit, CountsPerThreadAndRefusesTheOtherModel) {
    EXPECT_HR(S_OK, CoInitialize(nullptr));
    EXPECT_HR(S_FALSE, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE));
    EXPECT_HR(RPC_E_CHANGED_MODE, CoInitializeEx(nullptr, COINIT_MULTITHREADED));  // not counted

    // Another thread starts from nothing and may choose the other model.
    HRESULT other[2] = {E_FAIL, E_FAIL};
    std::thread([&] {
        other[0] = CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        other[1] = CoInitialize(nullptr);
        CoUninitialize();
    }).join();
    EXPECT_HR(S_OK, other[0]);
    EXPECT_HR(RPC_E_CHANGED_MODE, other[1]);

    CoUninitialize();
    EXPECT_HR(S_FALSE, CoInitialize(nullptr));  // one initialisation is still open
    CoUninitialize();
    CoUninitialize();
    // Fully uninitialised: the model may change, and an extra call is harmless.
    CoUninitialize();
    EXPECT_HR(S_OK, CoInitializeEx(nullptr, COINIT_MULTITHREADED));
    CoUninitialize();
    EXPECT_HR(S_OK, CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED));
    CoUninitialize();
}

}  // namespace
