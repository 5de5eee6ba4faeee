#include "scheduler/schedule_message.h"

#include "foundation/hresult.h"
#include "foundation/empty_variant.h"

namespace ostrel {
namespace {

// The string copied whole, embedded NULs included; null stays null.
HRESULT CopyText(BSTR* to, BSTR from) {
    if (!from) {
        SysFreeString(*to);
        *to = nullptr;
        return S_OK;
    }
    return SysReAllocStringLen(to, from, SysStringLen(from)) ? S_OK : E_OUTOFMEMORY;
}

void SetText(BSTR* to, const OLECHAR* text, UINT length) {
    if (!text) {
        SysFreeString(*to);
        *to = nullptr;
        return;
    }
    if (!SysReAllocStringLen(to, text, length)) throw HRESULT(E_OUTOFMEMORY);
}

}  // namespace

void CScheduleMessage::SetMessage(const OLECHAR* text, UINT length) { SetText(&bstrMessage, text, length); }
void CScheduleMessage::SetLongMessage(const OLECHAR* text, UINT length) { SetText(&bstrLongMessage, text, length); }

HRESULT CScheduleMessage::copy(tagScheduleMessage* to, const tagScheduleMessage* from) noexcept {
    to->tk.Level = from->tk.Level;
    to->dwCookie = from->dwCookie;
    to->Severity = from->Severity;
    HRESULT hr = CopyVariant(&to->tk.Value, &from->tk.Value);
    if (SUCCEEDED(hr)) hr = CopyText(&to->bstrMessage, from->bstrMessage);
    if (SUCCEEDED(hr)) hr = CopyText(&to->bstrLongMessage, from->bstrLongMessage);
    return hr;
}

void CScheduleMessage::init(tagScheduleMessage* message) noexcept {
    message->tk.Level = -1;
    message->tk.dwReserved = 0;
    VariantInit(&message->tk.Value);
    message->dwCookie = 0;
    message->Severity = msNone;
    message->bstrMessage = nullptr;
    message->bstrLongMessage = nullptr;
}

void CScheduleMessage::destroy(tagScheduleMessage* message) noexcept {
    VariantClear(&message->tk.Value);
    SysFreeString(message->bstrMessage);
    SysFreeString(message->bstrLongMessage);
    message->bstrMessage = nullptr;
    message->bstrLongMessage = nullptr;
}

}  // namespace ostrel
