#ifndef _WIN32
// Error information: the error object CreateErrorInfo makes, and the one slot
// per thread that SetErrorInfo fills and GetErrorInfo empties.
#include <windows.h>

#include <atomic>
#include <mutex>
#include <new>
#include <optional>
#include <string>

namespace {

// One object behind both interfaces: the code raising an error fills it
// through ICreateErrorInfo, the caller reads it through IErrorInfo.
class ErrorInfo final : public IErrorInfo, public ICreateErrorInfo {
public:
    // IUnknown. IUnknown is always reached through IErrorInfo, so that both
    // interfaces report the same identity.
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppvObject) override {
        if (!ppvObject) return E_POINTER;
        if (IsEqualIID(riid, IID_IUnknown) || IsEqualIID(riid, IID_IErrorInfo)) {
            *ppvObject = static_cast<IErrorInfo*>(this);
        } else if (IsEqualIID(riid, IID_ICreateErrorInfo)) {
            *ppvObject = static_cast<ICreateErrorInfo*>(this);
        } else {
            *ppvObject = nullptr;
            return E_NOINTERFACE;
        }
        AddRef();
        return S_OK;
    }
    // The object travels between threads with the errors it describes.
    ULONG STDMETHODCALLTYPE AddRef() override { return references_.fetch_add(1, std::memory_order_relaxed) + 1; }
    ULONG STDMETHODCALLTYPE Release() override {
        ULONG left = references_.fetch_sub(1, std::memory_order_acq_rel) - 1;
        if (left == 0) delete this;
        return left;
    }

    // IErrorInfo. A text never set comes back as a null string.
    HRESULT STDMETHODCALLTYPE GetGUID(GUID* pGUID) override {
        if (!pGUID) return E_INVALIDARG;
        std::lock_guard<std::mutex> lock(mutex_);
        *pGUID = guid_;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR* pBstrSource) override { return Get(source_, pBstrSource); }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* pBstrDescription) override {
        return Get(description_, pBstrDescription);
    }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR* pBstrHelpFile) override { return Get(helpFile_, pBstrHelpFile); }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD* pdwHelpContext) override {
        if (!pdwHelpContext) return E_INVALIDARG;
        std::lock_guard<std::mutex> lock(mutex_);
        *pdwHelpContext = helpContext_;
        return S_OK;
    }

    // ICreateErrorInfo. A null text clears what was set.
    HRESULT STDMETHODCALLTYPE SetGUID(REFGUID rguid) override {
        std::lock_guard<std::mutex> lock(mutex_);
        guid_ = rguid;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE SetSource(LPOLESTR szSource) override { return Set(source_, szSource); }
    HRESULT STDMETHODCALLTYPE SetDescription(LPOLESTR szDescription) override {
        return Set(description_, szDescription);
    }
    HRESULT STDMETHODCALLTYPE SetHelpFile(LPOLESTR szHelpFile) override { return Set(helpFile_, szHelpFile); }
    HRESULT STDMETHODCALLTYPE SetHelpContext(DWORD dwHelpContext) override {
        std::lock_guard<std::mutex> lock(mutex_);
        helpContext_ = dwHelpContext;
        return S_OK;
    }

private:
    using Text = std::optional<std::u16string>;

    ~ErrorInfo() = default;

    HRESULT Get(const Text& text, BSTR* out) {
        if (!out) return E_INVALIDARG;
        std::lock_guard<std::mutex> lock(mutex_);
        *out = nullptr;
        if (!text) return S_OK;
        *out = SysAllocStringLen(text->data(), UINT(text->size()));
        return *out ? S_OK : E_OUTOFMEMORY;
    }
    HRESULT Set(Text& text, const OLECHAR* value) {
        try {
            Text copy;
            if (value) copy.emplace(value);
            std::lock_guard<std::mutex> lock(mutex_);
            text = std::move(copy);
            return S_OK;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }

    std::atomic<ULONG> references_{1};
    std::mutex mutex_;  // the fields may be read on one thread while set on another
    GUID guid_ = GUID_NULL;
    Text source_, description_, helpFile_;
    DWORD helpContext_ = 0;
};

// The thread's current error object. It is released when the thread ends,
// so error information nobody collected does not outlive its thread.
struct ThreadSlot {
    IErrorInfo* info = nullptr;
    ~ThreadSlot() {
        if (info) info->Release();
    }
};
thread_local ThreadSlot slot;

}  // namespace

HRESULT WINAPI CreateErrorInfo(ICreateErrorInfo** pperrinfo) {
    if (!pperrinfo) return E_INVALIDARG;
    *pperrinfo = new (std::nothrow) ErrorInfo;
    return *pperrinfo ? S_OK : E_OUTOFMEMORY;
}

HRESULT WINAPI SetErrorInfo(ULONG dwReserved, IErrorInfo* perrinfo) {
    if (dwReserved != 0) return E_INVALIDARG;
    if (perrinfo) perrinfo->AddRef();
    IErrorInfo* previous = slot.info;
    slot.info = perrinfo;
    // Released last: its release may run code that sets error information.
    if (previous) previous->Release();
    return S_OK;
}

HRESULT WINAPI GetErrorInfo(ULONG dwReserved, IErrorInfo** pperrinfo) {
    if (dwReserved != 0 || !pperrinfo) return E_INVALIDARG;
    // The caller takes the thread's reference; the slot is empty afterwards.
    *pperrinfo = slot.info;
    slot.info = nullptr;
    return *pperrinfo ? S_OK : S_FALSE;
}

#endif
