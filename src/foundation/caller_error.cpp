#include "foundation/caller_error.h"

namespace ostrel {

HRESULT ReportCallerError(REFCLSID clsid, const OLECHAR* text) noexcept {
    ICreateErrorInfo* create = nullptr;
    if (SUCCEEDED(CreateErrorInfo(&create)) && create) {
        // The interface's identifier is deliberately not recorded.
        create->SetGUID(GUID_NULL);
        LPOLESTR progId = nullptr;
        if (SUCCEEDED(ProgIDFromCLSID(clsid, &progId)) && progId) {
            create->SetSource(progId);
            CoTaskMemFree(progId);
        }
        create->SetDescription(const_cast<LPOLESTR>(text));
        IErrorInfo* info = nullptr;
        if (SUCCEEDED(create->QueryInterface(IID_IErrorInfo, reinterpret_cast<void**>(&info))) && info) {
            SetErrorInfo(0, info);
            info->Release();
        }
        create->Release();
    }
    return DISP_E_EXCEPTION;
}

}  // namespace ostrel
