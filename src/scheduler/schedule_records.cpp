#include "scheduler/schedule_records.h"
#include "foundation/empty_variant.h"

#include <cstring>

namespace ostrel {
namespace {

// A zeroed array of count records in task memory. A zero count still gets a
// block, so that a copy has an array wherever its source had one.
template <class Item>
Item* AllocateZeroed(ULONG count) {
    const SIZE_T bytes = SIZE_T(count) * sizeof(Item);
    auto* items = static_cast<Item*>(CoTaskMemAlloc(bytes));
    if (items) std::memset(static_cast<void*>(items), 0, bytes);
    return items;
}

HRESULT CopyIntervals(tagScheduleData* to, const tagScheduleData* from) {
    if (!from->psi) return S_OK;
    tagScheduleInterval* intervals = AllocateZeroed<tagScheduleInterval>(from->dwIntervals);
    if (!intervals) return E_OUTOFMEMORY;
    for (ULONG i = 0; i < from->dwIntervals; ++i) {
        intervals[i].dtStart = from->psi[i].dtStart;
        intervals[i].dtStop = from->psi[i].dtStop;
        intervals[i].dwFlags = from->psi[i].dwFlags;
        intervals[i].dblDuration = from->psi[i].dblDuration;
    }
    to->psi = intervals;
    return S_OK;
}

HRESULT CopyResources(tagScheduleData* to, const tagScheduleData* from) {
    if (!from->psr) return S_OK;
    // Owned by the destination from the start, so that destroy frees what a
    // failure leaves behind; the zeroed entries are empty variants.
    to->psr = AllocateZeroed<tagScheduleResource>(from->dwResources);
    if (!to->psr) return E_OUTOFMEMORY;
    for (ULONG i = 0; i < from->dwResources; ++i) {
        to->psr[i].dblAssigned = from->psr[i].dblAssigned;
        HRESULT hr = CopyVariant(&to->psr[i].rkResource, &from->psr[i].rkResource);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

HRESULT CopyPredecessors(tagScheduleData* to, const tagScheduleData* from) {
    if (!from->psp) return S_OK;
    to->psp = AllocateZeroed<tagSchedulePredecessor>(from->dwPredecessors);
    if (!to->psp) return E_OUTOFMEMORY;
    for (ULONG i = 0; i < from->dwPredecessors; ++i) {
        to->psp[i].tkPred.Level = from->psp[i].tkPred.Level;
        to->psp[i].ptType = from->psp[i].ptType;
        to->psp[i].dblLag = from->psp[i].dblLag;
        HRESULT hr = CopyVariant(&to->psp[i].tkPred.Value, &from->psp[i].tkPred.Value);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

}  // namespace

HRESULT copy_t<tagScheduleData>::copy(tagScheduleData* to, const tagScheduleData* from) noexcept {
    std::memcpy(static_cast<void*>(to), from, sizeof *to);
    // Nothing of the source's may stay behind in the copy: the keys and
    // arrays are the copy's own from here on, or absent.
    VariantInit(&to->tkKey.Value);
    VariantInit(&to->tkParent.Value);
    to->psi = nullptr;
    to->psr = nullptr;
    to->psp = nullptr;
    HRESULT hr = CopyVariant(&to->tkKey.Value, &from->tkKey.Value);
    if (SUCCEEDED(hr)) hr = CopyVariant(&to->tkParent.Value, &from->tkParent.Value);
    if (SUCCEEDED(hr)) hr = CopyIntervals(to, from);
    if (SUCCEEDED(hr)) hr = CopyResources(to, from);
    if (SUCCEEDED(hr)) hr = CopyPredecessors(to, from);
    return hr;
}

void copy_t<tagScheduleData>::init(tagScheduleData* record) noexcept {
    std::memset(static_cast<void*>(record), 0, sizeof *record);
}

void copy_t<tagScheduleData>::destroy(tagScheduleData* record) noexcept {
    VariantClear(&record->tkKey.Value);
    VariantClear(&record->tkParent.Value);
    CoTaskMemFree(record->psi);
    record->psi = nullptr;
    if (record->psr) {
        for (ULONG i = 0; i < record->dwResources; ++i) VariantClear(&record->psr[i].rkResource);
        CoTaskMemFree(record->psr);
        record->psr = nullptr;
    }
    if (record->psp) {
        for (ULONG i = 0; i < record->dwPredecessors; ++i) VariantClear(&record->psp[i].tkPred.Value);
        CoTaskMemFree(record->psp);
        record->psp = nullptr;
    }
}

}  // namespace ostrel
