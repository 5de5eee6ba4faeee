#include "foundation/boundary.h"

#include "foundation/caller_error.h"
#include "foundation/vo_error.h"

namespace ostrel {

HRESULT BoundaryFailure(REFCLSID clsid, const OLECHAR* formula) noexcept {
    HRESULT hr = S_OK;
    try {
        WString text;
        try {
            throw;
        } catch (const EVoError& e) {
            text = e.Message;
            hr = HRESULT(e.Code);
        } catch (HRESULT thrown) {
            hr = thrown;
        } catch (...) {
            hr = RPC_E_SERVERFAULT;
        }
        if (formula && FAILED(hr)) {
            text += OLESTR("\nFormula: ");
            text += formula;
        }
        if (FAILED(hr) && !text.empty()) hr = ReportCallerError(clsid, text.c_str());
    } catch (...) {
        // Building the text ran out of memory: the code alone must do.
        if (SUCCEEDED(hr)) hr = E_OUTOFMEMORY;
    }
    return hr;
}

}  // namespace ostrel
