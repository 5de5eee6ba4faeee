// Handing a failure's text to the caller's error information.
#pragma once
#include <windows.h>

namespace ostrel {

// Sets the thread's error information (source: the class's ProgID, when the
// class is registered; description: text) and returns DISP_E_EXCEPTION.
HRESULT ReportCallerError(REFCLSID clsid, const OLECHAR* text) noexcept;

}  // namespace ostrel
