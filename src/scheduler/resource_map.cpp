#include "scheduler/resource_map.h"

#include <tuple>

#include "foundation/hresult.h"
#include "foundation/key_order.h"
#include "foundation/empty_variant.h"

namespace ostrel {

ResourceKey::ResourceKey(const VARIANT& value) {
    VariantInit(&value_);
    ThrowIfFailed(CopyVariant(&value_, &value));
}

ResourceKey::~ResourceKey() { VariantClear(&value_); }

bool ResourceKeyLess::operator()(const ResourceKey& a, const ResourceKey& b) const {
    return VariantLess(a.value_, b.value_);
}

// The caller's key is looked up through a copy of it, so that the key order
// converts only keys the map owns.
ResourceProfiles* ResourceMap::Find(const VARIANT& key) {
    auto found = entries_.find(ResourceKey(key));
    return found == entries_.end() ? nullptr : &found->second;
}

ResourceProfiles& ResourceMap::Enter(const VARIANT& key) {
    return entries_.emplace(std::piecewise_construct, std::forward_as_tuple(key), std::forward_as_tuple())
        .first->second;
}

HRESULT ResourceMap::ClearActualProfiles() noexcept {
    HRESULT first = S_OK;
    for (auto& [key, profiles] : entries_) {
        if (!profiles.actualProfile) continue;
        const HRESULT hr = profiles.actualProfile->Clear();
        if (FAILED(hr) && SUCCEEDED(first)) first = hr;
    }
    return first;
}

}  // namespace ostrel
