// The lock as hosts see it: interfaces, refused arguments, and failures
// reported through the caller's error information.
#include "rwlock/read_write_lock_component.h"

#include <Ostrel.h>

#include "foundation/text.h"
#include "rwlock_test_support.h"

namespace {

using namespace rw_test;

std::string TextOf(DWORD number) { return ostrel::Narrow(ostrel::EVoError(number).Message); }

IReadWriteLock* Create() {
    IReadWriteLock* lock = nullptr;
    EXPECT_HR(S_OK, ostrel::CreateReadWriteLock(nullptr, IID_IReadWriteLock, reinterpret_cast<void**>(&lock)));
    return lock;
}

TEST(ReadWriteLockComponent, InterfacesArgumentsAndTimeOut) {
    IReadWriteLock* lock = Create();
    ISupportErrorInfo* support = nullptr;
    ASSERT_HR(S_OK, lock->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)));
    EXPECT_HR(S_OK, support->InterfaceSupportsErrorInfo(IID_IReadWriteLock));
    EXPECT_HR(S_FALSE, support->InterfaceSupportsErrorInfo(IID_IUnknown));
    support->Release();
    EXPECT_HR(CLASS_E_NOAGGREGATION, ostrel::CreateReadWriteLock(lock, IID_IReadWriteLock, reinterpret_cast<void**>(&support)));
    ULONG timeout = 0;
    EXPECT_HR(S_OK, lock->GetTimeOut(&timeout));
    EXPECT_EQ(timeout, 10000u);
    // Null out-pointers are refused before the lock sees them, with no error
    // information.
    SetErrorInfo(0, nullptr);
    EXPECT_HR(E_POINTER, lock->GetTimeOut(nullptr));
    EXPECT_HR(E_POINTER, lock->WriteCount(A, nullptr));
    EXPECT_HR(E_POINTER, lock->ReadCount(A, nullptr));
    EXPECT_FALSE(test::TakeErrorInfo().present);
    // Deliberate: thread id 0, the lock's "no writer", only raises the write
    // count, so the lock still counts as free.
    LONG count = -1;
    EXPECT_HR(S_OK, lock->BeginWrite(0));
    lock->SetTimeOut(0);
    EXPECT_HR(S_OK, lock->BeginWrite(A));
    EXPECT_HR(S_OK, lock->WriteCount(A, &count));
    EXPECT_EQ(count, 2);
    lock->EndWrite(A);
    lock->EndWrite(A);
    EXPECT_EQ(lock->Release(), 0u);
    EXPECT_FALSE(test::TakeErrorInfo().present);
}

TEST(ReadWriteLockComponent, FailuresCarryTheirTextAsErrorInformation) {
    IReadWriteLock* lock = Create();
    lock->SetTimeOut(0);
    lock->BeginWrite(A);
    EXPECT_HR(DISP_E_EXCEPTION, lock->BeginRead(B));
    EXPECT_EQ(test::TakeErrorInfo().description, TextOf(VOMSG_LOCK_READ_TIMEOUT));
    lock->EndWrite(A);
    lock->BeginRead(A);
    EXPECT_HR(DISP_E_EXCEPTION, lock->BeginWrite(B));
    EXPECT_EQ(test::TakeErrorInfo().description, TextOf(VOMSG_LOCK_WRITE_TIMEOUT));
    // Release has no result: a lock it cannot take for destruction is told
    // through the releasing thread's error information, and deliberately
    // left open for the reader still holding it.
    EXPECT_EQ(lock->Release(), 0u);
    EXPECT_EQ(test::TakeErrorInfo().description, TextOf(VOMSG_LOCK_WRITE_TIMEOUT));
}

}  // namespace
