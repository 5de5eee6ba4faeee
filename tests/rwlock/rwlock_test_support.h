// Callers named by made-up ids above any real thread id, failures as printable
// codes, and calls left waiting on a thread of their own.
#pragma once
#include <chrono>
#include <future>

#include "foundation/message_numbers.h"
#include "foundation/vo_error.h"
#include "rwlock/read_write_lock.h"
#include "test_support.h"

namespace rw_test {

using namespace std::chrono_literals;
constexpr DWORD A = 0x10000001, B = 0x10000002, C = 0x10000003, D = 0x10000004;
constexpr DWORD kLong = 5000;  // must not run out: a broken lock fails rather than hangs

inline const std::string kOk = test::Hex(S_OK);
inline std::string Fails(DWORD number) { return test::Hex(HRESULT(number)); }
template <class Call>
std::string Code(Call call) {
    try {
        call();
    } catch (const ostrel::EVoError& e) {
        return Fails(e.Code);
    }
    return kOk;
}

// A call on a thread of its own; Blocked() while it waits.
struct Async {
    std::future<std::string> result;
    bool Blocked() { return result.wait_for(50ms) == std::future_status::timeout; }
    std::string Get() { return result.get(); }
};
template <class Call>
Async Waiting(Call call) {
    Async a{std::async(std::launch::async, [call] { return Code(call); })};
    EXPECT_TRUE(a.Blocked());
    return a;
}

inline void Begin(ostrel::ReadWriteLock& l, DWORD t, bool write) { write ? l.BeginWrite(t) : l.BeginRead(t); }
inline void End(ostrel::ReadWriteLock& l, DWORD t, bool write) { write ? l.EndWrite(t) : l.EndRead(t); }
// Ends whatever the callers still hold, so destruction need not wait.
inline void EndAll(ostrel::ReadWriteLock& l, std::initializer_list<DWORD> ids) {
    for (DWORD t : ids) {
        while (l.WriteCount(t)) l.EndWrite(t);
        while (l.ReadCount(t)) l.EndRead(t);
    }
}
struct Lock : ostrel::ReadWriteLock {
    explicit Lock(DWORD timeout = kLong) { SetTimeOut(timeout); }
    ~Lock() { EndAll(*this, {A, B, C, D}); }
};

}  // namespace rw_test
