// IReadWriteLock over the lock itself. Only the two waiting methods can
// fail; their failures reach the caller through the boundary.
#include "rwlock/read_write_lock_component.h"

#include <Ostrel.h>

#include "component/com_object.h"
#include "foundation/boundary.h"
#include "rwlock/read_write_lock.h"

namespace ostrel {
namespace {

class CReadWriteLock final : public ComObject<CReadWriteLock, IReadWriteLock, SupportErrorInfo<CReadWriteLock>>,
                             public ReadWriteLock {
public:
    static std::span<const InterfaceEntry<CReadWriteLock>> InterfaceTable() {
        static const InterfaceEntry<CReadWriteLock> table[] = {
            Entry<CReadWriteLock, IReadWriteLock>(IID_IReadWriteLock),
            Entry<CReadWriteLock, ISupportErrorInfo>(IID_ISupportErrorInfo)};
        return table;
    }
    static const IID& ErrorInfoInterface() { return IID_IReadWriteLock; }

    // Release has no result to carry a failure to take the lock for
    // destruction, so it goes to the releasing thread's error information.
    ~CReadWriteLock() override {
        Boundary(CLSID_ReadWriteLock, [this] { Retire(); });
    }

    // Thread id 0 is taken as any other id, although inside the lock it
    // means "no writer": BeginWrite(0) on a free lock only raises the write
    // count. Deliberate; callers pass real thread ids.
    STDMETHODIMP SetTimeOut(ULONG dwTimeOut) override {
        ReadWriteLock::SetTimeOut(dwTimeOut);
        return S_OK;
    }
    STDMETHODIMP GetTimeOut(ULONG* pdwTimeOut) override {
        if (!pdwTimeOut) return E_POINTER;
        *pdwTimeOut = ReadWriteLock::GetTimeOut();
        return S_OK;
    }
    STDMETHODIMP BeginWrite(ULONG ThreadId) override {
        return Boundary(CLSID_ReadWriteLock, [&] { ReadWriteLock::BeginWrite(ThreadId); });
    }
    STDMETHODIMP EndWrite(ULONG ThreadId) override {
        ReadWriteLock::EndWrite(ThreadId);
        return S_OK;
    }
    STDMETHODIMP BeginRead(ULONG ThreadId) override {
        return Boundary(CLSID_ReadWriteLock, [&] { ReadWriteLock::BeginRead(ThreadId); });
    }
    STDMETHODIMP EndRead(ULONG ThreadId) override {
        ReadWriteLock::EndRead(ThreadId);
        return S_OK;
    }
    STDMETHODIMP WriteCount(ULONG ThreadId, LONG* Count) override {
        if (!Count) return E_POINTER;
        *Count = ReadWriteLock::WriteCount(ThreadId);
        return S_OK;
    }
    STDMETHODIMP ReadCount(ULONG ThreadId, LONG* Count) override {
        if (!Count) return E_POINTER;
        *Count = ReadWriteLock::ReadCount(ThreadId);
        return S_OK;
    }
};

}  // namespace

HRESULT CreateReadWriteLock(IUnknown* outer, REFIID riid, void** ppv) {
    return CReadWriteLock::CreateInstance(outer, riid, ppv);
}

}  // namespace ostrel
