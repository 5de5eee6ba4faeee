// The rule every failing interface method follows, written once: run the
// body; an EVoError becomes its code and text, a thrown HRESULT is returned
// as it is, anything else becomes RPC_E_SERVERFAULT; a failure with a text
// reaches the caller as DISP_E_EXCEPTION with error information.
//
//   STDMETHODIMP VoRules::AddRule(...) {
//       return Boundary(CLSID_VoRules, [&] { Store().AddRule(...); });
//   }
#pragma once
#include <type_traits>

#include <windows.h>

namespace ostrel {

// Classifies the exception being handled. Must be called from a catch block.
// formula, when not null, is appended to every failure's text after
// "\nFormula: ", which only the calculator asks for.
HRESULT BoundaryFailure(REFCLSID clsid, const OLECHAR* formula) noexcept;

// The body may return void (success is S_OK) or an HRESULT of its own.
template <class Body>
HRESULT Boundary(REFCLSID clsid, Body&& body) noexcept {
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body&>>) {
            body();
            return S_OK;
        } else {
            return body();
        }
    } catch (...) {
        return BoundaryFailure(clsid, nullptr);
    }
}

template <class Body>
HRESULT FormulaBoundary(REFCLSID clsid, const OLECHAR* formula, Body&& body) noexcept {
    HRESULT hr;
    try {
        if constexpr (std::is_void_v<std::invoke_result_t<Body&>>) {
            body();
            hr = S_OK;
        } else {
            hr = body();
        }
    } catch (...) {
        return BoundaryFailure(clsid, formula ? formula : OLESTR(""));
    }
    if (FAILED(hr)) {
        // A failure the body returned gets the formula too.
        try {
            throw hr;
        } catch (...) {
            return BoundaryFailure(clsid, formula ? formula : OLESTR(""));
        }
    }
    return hr;
}

}  // namespace ostrel
