// The lock as hosts see it: its interfaces, refused arguments, and failures
// reported through the caller's error information.
#include "rwlock/read_write_lock_component.h"

#include <chrono>
#include <future>

#include <Ostrel.h>

#include "foundation/message_numbers.h"
#include "foundation/text.h"
#include "foundation/vo_error.h"
#include "test_support.h"

namespace {

constexpr DWORD A = 0x10000001, B = 0x10000002;

// The description a numbered failure carries.
std::string TextOf(DWORD number) { return ostrel::Narrow(ostrel::EVoError(number).Message); }

class ReadWriteLockComponent : public ::testing::Test {
protected:
    void SetUp() override {
        SetErrorInfo(0, nullptr);
        EXPECT_HR(S_OK, ostrel::CreateReadWriteLock(nullptr, IID_IReadWriteLock, reinterpret_cast<void**>(&lock)));
        ASSERT_TRUE(lock);
    }
    void TearDown() override {
        if (lock) lock->Release();
        SetErrorInfo(0, nullptr);
    }
    IReadWriteLock* lock = nullptr;
};

TEST_F(ReadWriteLockComponent, InterfacesAggregationAndTimeOut) {
    ISupportErrorInfo* support = nullptr;
    IUnknown* other = nullptr;
    EXPECT_HR(S_OK, lock->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)));
    EXPECT_HR(S_OK, support->InterfaceSupportsErrorInfo(IID_IReadWriteLock));
    EXPECT_HR(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IUnknown));
    support->Release();
    EXPECT_HR(E_NOINTERFACE, lock->QueryInterface(IID_IDispatch, reinterpret_cast<void**>(&other)));
    EXPECT_HR(CLASS_E_NOAGGREGATION, ostrel::CreateReadWriteLock(lock, IID_IReadWriteLock, reinterpret_cast<void**>(&other)));
    EXPECT_HR(E_POINTER, ostrel::CreateReadWriteLock(nullptr, IID_IReadWriteLock, nullptr));

    ULONG timeout = 0;
    EXPECT_HR(S_OK, lock->GetTimeOut(&timeout));
    EXPECT_EQ(timeout, 10000u);
    EXPECT_HR(S_OK, lock->SetTimeOut(INFINITE));
    EXPECT_HR(S_OK, lock->GetTimeOut(&timeout));
    EXPECT_EQ(timeout, INFINITE);
}

// Null out-pointers are refused before the lock sees them, so nothing changes
// and no error information is left behind.
TEST_F(ReadWriteLockComponent, NullPointersAreRefused) {
    EXPECT_HR(S_OK, lock->BeginWrite(A));
    EXPECT_HR(E_POINTER, lock->GetTimeOut(nullptr));
    EXPECT_HR(E_POINTER, lock->WriteCount(A, nullptr));
    EXPECT_HR(E_POINTER, lock->ReadCount(A, nullptr));
    LONG count = -1;
    EXPECT_HR(S_OK, lock->WriteCount(A, &count));
    EXPECT_EQ(count, 1);
    EXPECT_FALSE(test::TakeErrorInfo().present);
    EXPECT_HR(S_OK, lock->EndWrite(A));
}

// Thread id 0 is the lock's "no writer": on a free lock BeginWrite(0) only
// raises the write count, so the lock still counts as free.
TEST_F(ReadWriteLockComponent, ThreadIdZeroOnlyRaisesTheWriteCount) {
    EXPECT_HR(S_OK, lock->BeginWrite(0));
    LONG count = -1;
    EXPECT_HR(S_OK, lock->WriteCount(0, &count));
    EXPECT_EQ(count, 1);
    lock->SetTimeOut(0);
    EXPECT_HR(S_OK, lock->BeginWrite(A));  // granted at once: nobody writes
    EXPECT_HR(S_OK, lock->WriteCount(A, &count));
    EXPECT_EQ(count, 2);
    EXPECT_HR(S_OK, lock->EndWrite(A));
    EXPECT_HR(S_OK, lock->EndWrite(A));
}

TEST_F(ReadWriteLockComponent, FailuresCarryTheirTextAsErrorInformation) {
    lock->SetTimeOut(0);
    lock->BeginWrite(A);
    EXPECT_HR(DISP_E_EXCEPTION, lock->BeginRead(B));
    EXPECT_EQ(test::TakeErrorInfo().description, TextOf(VOMSG_LOCK_READ_TIMEOUT));
    lock->EndWrite(A);

    lock->BeginRead(A);
    EXPECT_HR(DISP_E_EXCEPTION, lock->BeginWrite(B));
    EXPECT_EQ(test::TakeErrorInfo().description, TextOf(VOMSG_LOCK_WRITE_TIMEOUT));

    lock->SetTimeOut(5000);
    auto writer = std::async(std::launch::async, [this] { return lock->BeginWrite(B); });
    ASSERT_EQ(writer.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    EXPECT_HR(DISP_E_EXCEPTION, lock->BeginWrite(A));
    EXPECT_EQ(test::TakeErrorInfo().description, TextOf(VOMSG_LOCK_UPGRADE_CONFLICT));
    EXPECT_HR(S_OK, writer.get());
    lock->EndWrite(B);
}

// Release has no result, so a lock it cannot take for destruction is told
// through the releasing thread's error information.
TEST_F(ReadWriteLockComponent, ReleaseWhileALockIsHeldReportsTheTimeOut) {
    for (bool held : {false, true}) {
        IReadWriteLock* other = nullptr;
        EXPECT_HR(S_OK, ostrel::CreateReadWriteLock(nullptr, IID_IReadWriteLock, reinterpret_cast<void**>(&other)));
        ASSERT_TRUE(other);
        other->SetTimeOut(30);
        if (held) other->BeginRead(A);
        EXPECT_EQ(other->Release(), 0u);
        auto info = test::TakeErrorInfo();
        EXPECT_EQ(info.present, held);
        EXPECT_EQ(info.description, held ? TextOf(VOMSG_LOCK_WRITE_TIMEOUT) : "");
    }
}

}  // namespace
