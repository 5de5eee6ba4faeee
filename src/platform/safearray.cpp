// Safe arrays in the platform's memory layout.
//
// A descriptor is allocated with 16 bytes in front of it. Arrays of interface
// pointers keep their interface identifier there (FADF_HAVEIID); all others
// keep their element type in the last 4 of those bytes (FADF_HAVEVARTYPE).
// Callers that read either field directly see what they would on the platform.
// The bounds are stored in reverse order of the caller's dimensions, and the
// first index given to Put/GetElement varies fastest, as on the platform.
#ifndef _WIN32

#include <windows.h>

#include <cstdlib>
#include <cstring>

#include "variant_internal.h"

using namespace ostrel::platform;

namespace {

constexpr USHORT kCreateVector = 0x2000;  // FADF_CREATEVECTOR: data shares the descriptor's block
constexpr size_t kPrefix = 16;

size_t DescriptorSize(UINT dims) { return sizeof(SAFEARRAY) + (dims - 1) * sizeof(SAFEARRAYBOUND); }

unsigned char* BlockOf(SAFEARRAY* psa) { return reinterpret_cast<unsigned char*>(psa) - kPrefix; }

bool CanHoldType(VARTYPE vt) {
    switch (vt) {
        case VT_EMPTY:
        case VT_NULL:
        case VT_RECORD:  // needs a record description the layer does not keep
            return false;
        default:
            return VarTypeSize(vt) != 0;
    }
}

USHORT FeaturesFor(VARTYPE vt) {
    switch (vt) {
        case VT_BSTR:
            return FADF_BSTR | FADF_HAVEVARTYPE;
        case VT_VARIANT:
            return FADF_VARIANT | FADF_HAVEVARTYPE;
        case VT_UNKNOWN:
            return FADF_UNKNOWN | FADF_HAVEIID;
        case VT_DISPATCH:
            return FADF_DISPATCH | FADF_HAVEIID;
        default:
            return FADF_HAVEVARTYPE;
    }
}

// Element count, or false when the data would not fit the platform's 32-bit
// sizes.
bool CountElements(const SAFEARRAY* psa, uint64_t* count) {
    uint64_t total = 1;
    for (USHORT i = 0; i < psa->cDims; ++i) {
        total *= psa->rgsabound[i].cElements;
        if (total * psa->cbElements > UINT32_MAX) return false;
    }
    *count = total;
    return true;
}

// A descriptor with bounds and type set, no data yet.
SAFEARRAY* NewDescriptor(VARTYPE vt, UINT dims, const SAFEARRAYBOUND* bounds, size_t extra) {
    auto* block = static_cast<unsigned char*>(std::calloc(1, kPrefix + DescriptorSize(dims) + extra));
    if (!block) return nullptr;
    auto* psa = reinterpret_cast<SAFEARRAY*>(block + kPrefix);
    psa->cDims = static_cast<USHORT>(dims);
    psa->fFeatures = FeaturesFor(vt);
    psa->cbElements = VarTypeSize(vt);
    for (UINT i = 0; i < dims; ++i) psa->rgsabound[i] = bounds[dims - 1 - i];
    if (psa->fFeatures & FADF_HAVEIID) {
        const GUID& iid = vt == VT_DISPATCH ? IID_IDispatch : IID_IUnknown;
        std::memcpy(block, &iid, sizeof iid);
    } else {
        const DWORD type = vt;
        std::memcpy(block + kPrefix - sizeof type, &type, sizeof type);
    }
    return psa;
}

void ReleaseElements(SAFEARRAY* psa, uint64_t count) {
    if (!psa->pvData) return;
    if (psa->fFeatures & FADF_BSTR) {
        auto* items = static_cast<BSTR*>(psa->pvData);
        for (uint64_t i = 0; i < count; ++i) SysFreeString(items[i]);
    } else if (psa->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
        auto* items = static_cast<IUnknown**>(psa->pvData);
        for (uint64_t i = 0; i < count; ++i)
            if (items[i]) items[i]->Release();
    } else if (psa->fFeatures & FADF_VARIANT) {
        auto* items = static_cast<VARIANT*>(psa->pvData);
        for (uint64_t i = 0; i < count; ++i) VariantClear(&items[i]);
    }
}

bool OwnsData(const SAFEARRAY* psa) {
    return !(psa->fFeatures & (FADF_AUTO | FADF_STATIC | FADF_EMBEDDED | kCreateVector));
}

// The address of the element at rgIndices, or DISP_E_BADINDEX.
HRESULT ElementAddress(SAFEARRAY* psa, const LONG* rgIndices, void** where) {
    uint64_t offset = 0;
    uint64_t stride = 1;
    for (USHORT k = 0; k < psa->cDims; ++k) {
        const SAFEARRAYBOUND& bound = psa->rgsabound[psa->cDims - 1 - k];
        const int64_t relative = int64_t{rgIndices[k]} - bound.lLbound;
        if (relative < 0 || relative >= int64_t{bound.cElements}) return DISP_E_BADINDEX;
        offset += static_cast<uint64_t>(relative) * stride;
        stride *= bound.cElements;
    }
    *where = static_cast<unsigned char*>(psa->pvData) + offset * psa->cbElements;
    return S_OK;
}

HRESULT CopyElements(SAFEARRAY* from, SAFEARRAY* to, uint64_t count) {
    if (from->fFeatures & FADF_BSTR) {
        auto* src = static_cast<BSTR*>(from->pvData);
        auto* dst = static_cast<BSTR*>(to->pvData);
        for (uint64_t i = 0; i < count; ++i) {
            if (!src[i]) continue;
            dst[i] = CopyBstr(src[i]);
            if (!dst[i]) return E_OUTOFMEMORY;
        }
    } else if (from->fFeatures & FADF_VARIANT) {
        auto* src = static_cast<VARIANT*>(from->pvData);
        auto* dst = static_cast<VARIANT*>(to->pvData);
        for (uint64_t i = 0; i < count; ++i) {
            const HRESULT hr = VariantCopy(&dst[i], &src[i]);
            if (FAILED(hr)) return hr;
        }
    } else {
        std::memcpy(to->pvData, from->pvData, count * from->cbElements);
        if (from->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
            auto* items = static_cast<IUnknown**>(to->pvData);
            for (uint64_t i = 0; i < count; ++i)
                if (items[i]) items[i]->AddRef();
        }
    }
    return S_OK;
}

}  // namespace

OSTREL_PLATFORM_FN SAFEARRAY* WINAPI SafeArrayCreate(VARTYPE vt, UINT cDims, SAFEARRAYBOUND* rgsabound) {
    if (!rgsabound || cDims == 0 || cDims > 0xFFFF || !CanHoldType(vt)) return nullptr;
    SAFEARRAY* psa = NewDescriptor(vt, cDims, rgsabound, 0);
    if (!psa) return nullptr;
    uint64_t count = 0;
    if (!CountElements(psa, &count)) {
        std::free(BlockOf(psa));
        return nullptr;
    }
    // Even an empty array gets a data block, as the platform's does.
    psa->pvData = std::calloc(count ? count : 1, psa->cbElements);
    if (!psa->pvData) {
        std::free(BlockOf(psa));
        return nullptr;
    }
    return psa;
}

OSTREL_PLATFORM_FN SAFEARRAY* WINAPI SafeArrayCreateVector(VARTYPE vt, LONG lLbound, ULONG cElements) {
    if (!CanHoldType(vt)) return nullptr;
    const uint64_t bytes = uint64_t{cElements} * VarTypeSize(vt);
    if (bytes > UINT32_MAX) return nullptr;
    const SAFEARRAYBOUND bound = {cElements, lLbound};
    SAFEARRAY* psa = NewDescriptor(vt, 1, &bound, bytes);
    if (!psa) return nullptr;
    psa->fFeatures |= kCreateVector;
    psa->pvData = reinterpret_cast<unsigned char*>(psa) + DescriptorSize(1);
    return psa;
}

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayDestroy(SAFEARRAY* psa) {
    if (!psa) return S_OK;
    if (psa->cLocks) return DISP_E_ARRAYISLOCKED;
    uint64_t count = 0;
    if (CountElements(psa, &count)) ReleaseElements(psa, count);
    if (OwnsData(psa)) std::free(psa->pvData);
    std::free(BlockOf(psa));
    return S_OK;
}

OSTREL_PLATFORM_FN UINT WINAPI SafeArrayGetDim(SAFEARRAY* psa) { return psa ? psa->cDims : 0; }

OSTREL_PLATFORM_FN UINT WINAPI SafeArrayGetElemsize(SAFEARRAY* psa) { return psa ? psa->cbElements : 0; }

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayGetVartype(SAFEARRAY* psa, VARTYPE* pvt) {
    if (!psa || !pvt) return E_INVALIDARG;
    if (psa->fFeatures & FADF_RECORD) {
        *pvt = VT_RECORD;
    } else if (psa->fFeatures & FADF_HAVEIID) {
        *pvt = (psa->fFeatures & FADF_DISPATCH) ? VT_DISPATCH : VT_UNKNOWN;
    } else if (psa->fFeatures & FADF_HAVEVARTYPE) {
        DWORD type;
        std::memcpy(&type, BlockOf(psa) + kPrefix - sizeof type, sizeof type);
        *pvt = static_cast<VARTYPE>(type);
    } else {
        return E_INVALIDARG;
    }
    return S_OK;
}

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayGetUBound(SAFEARRAY* psa, UINT nDim, LONG* plUbound) {
    if (!psa || !plUbound) return E_INVALIDARG;
    if (nDim == 0 || nDim > psa->cDims) return DISP_E_BADINDEX;
    const SAFEARRAYBOUND& bound = psa->rgsabound[psa->cDims - nDim];
    *plUbound = static_cast<LONG>(int64_t{bound.lLbound} + bound.cElements - 1);
    return S_OK;
}

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayGetLBound(SAFEARRAY* psa, UINT nDim, LONG* plLbound) {
    if (!psa || !plLbound) return E_INVALIDARG;
    if (nDim == 0 || nDim > psa->cDims) return DISP_E_BADINDEX;
    *plLbound = psa->rgsabound[psa->cDims - nDim].lLbound;
    return S_OK;
}

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayLock(SAFEARRAY* psa) {
    if (!psa) return E_INVALIDARG;
    ++psa->cLocks;
    return S_OK;
}

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayUnlock(SAFEARRAY* psa) {
    if (!psa) return E_INVALIDARG;
    if (psa->cLocks == 0) return E_UNEXPECTED;
    --psa->cLocks;
    return S_OK;
}

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayAccessData(SAFEARRAY* psa, void** ppvData) {
    if (!psa || !ppvData) return E_INVALIDARG;
    const HRESULT hr = SafeArrayLock(psa);
    if (FAILED(hr)) return hr;
    *ppvData = psa->pvData;
    return S_OK;
}

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayUnaccessData(SAFEARRAY* psa) { return SafeArrayUnlock(psa); }

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayPutElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
    if (!psa || !rgIndices) return E_INVALIDARG;
    // Strings and interface pointers are passed as the value itself, where a
    // null is a legitimate value; everything else is passed by address.
    const bool byValue = (psa->fFeatures & (FADF_BSTR | FADF_UNKNOWN | FADF_DISPATCH)) != 0;
    if (!pv && !byValue) return E_INVALIDARG;
    void* where = nullptr;
    HRESULT hr = ElementAddress(psa, rgIndices, &where);
    if (FAILED(hr)) return hr;
    if (psa->fFeatures & FADF_BSTR) {
        BSTR copy = CopyBstr(static_cast<BSTR>(pv));
        if (!copy) return E_OUTOFMEMORY;
        auto* slot = static_cast<BSTR*>(where);
        SysFreeString(*slot);
        *slot = copy;
    } else if (psa->fFeatures & FADF_VARIANT) {
        hr = VariantCopy(static_cast<VARIANT*>(where), static_cast<VARIANT*>(pv));
    } else if (psa->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
        auto* fresh = static_cast<IUnknown*>(pv);
        auto* slot = static_cast<IUnknown**>(where);
        if (fresh) fresh->AddRef();
        if (*slot) (*slot)->Release();
        *slot = fresh;
    } else {
        std::memcpy(where, pv, psa->cbElements);
    }
    return hr;
}

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayGetElement(SAFEARRAY* psa, LONG* rgIndices, void* pv) {
    if (!psa || !rgIndices || !pv) return E_INVALIDARG;
    void* where = nullptr;
    HRESULT hr = ElementAddress(psa, rgIndices, &where);
    if (FAILED(hr)) return hr;
    if (psa->fFeatures & FADF_BSTR) {
        BSTR copy = CopyBstr(*static_cast<BSTR*>(where));
        if (!copy) return E_OUTOFMEMORY;
        *static_cast<BSTR*>(pv) = copy;
    } else if (psa->fFeatures & FADF_VARIANT) {
        // pv is an out parameter: whatever it held is not ours to free.
        auto* out = static_cast<VARIANT*>(pv);
        VariantInit(out);
        hr = VariantCopy(out, static_cast<VARIANT*>(where));
    } else {
        std::memcpy(pv, where, psa->cbElements);
        if (psa->fFeatures & (FADF_UNKNOWN | FADF_DISPATCH)) {
            IUnknown* item = *static_cast<IUnknown**>(pv);
            if (item) item->AddRef();
        }
    }
    return hr;
}

OSTREL_PLATFORM_FN HRESULT WINAPI SafeArrayCopy(SAFEARRAY* psa, SAFEARRAY** ppsaOut) {
    if (!ppsaOut) return E_INVALIDARG;
    *ppsaOut = nullptr;
    // Copying no array gives no array, successfully, as on the platform.
    if (!psa) return S_OK;
    uint64_t count = 0;
    if (!CountElements(psa, &count)) return E_OUTOFMEMORY;
    auto* block = static_cast<unsigned char*>(std::malloc(kPrefix + DescriptorSize(psa->cDims)));
    if (!block) return E_OUTOFMEMORY;
    std::memcpy(block, BlockOf(psa), kPrefix + DescriptorSize(psa->cDims));
    auto* copy = reinterpret_cast<SAFEARRAY*>(block + kPrefix);
    copy->cLocks = 0;
    copy->fFeatures &= static_cast<USHORT>(~(FADF_AUTO | FADF_STATIC | FADF_EMBEDDED | FADF_FIXEDSIZE | kCreateVector));
    copy->pvData = std::calloc(count ? count : 1, copy->cbElements ? copy->cbElements : 1);
    if (!copy->pvData) {
        std::free(block);
        return E_OUTOFMEMORY;
    }
    const HRESULT hr = psa->pvData ? CopyElements(psa, copy, count) : S_OK;
    if (FAILED(hr)) {
        SafeArrayDestroy(copy);
        return hr;
    }
    *ppsaOut = copy;
    return S_OK;
}

#endif
