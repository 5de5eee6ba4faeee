// The profiles of each resource the run has met, by resource key: the
// default profile (the host's, or the default calendar) and the actual
// profile that allocations are subtracted from. They outlive a Reset, so the
// next run starts from the same profiles with the actual ones emptied.
#pragma once
#include <map>

#include <Ostrel.h>

#include "component/interface_ref.h"

namespace ostrel {

struct ResourceProfiles {
    InterfaceRef<IVoAvailability> defaultProfile;
    InterfaceRef<IVoAvailability> actualProfile;
};

// A resource key: its own copy of the host's value.
class ResourceKey {
public:
    // Copies the value; a failed copy is thrown as its HRESULT.
    explicit ResourceKey(const VARIANT& value);
    ~ResourceKey();
    ResourceKey(const ResourceKey&) = delete;
    ResourceKey& operator=(const ResourceKey&) = delete;

    const VARIANT& Value() const { return value_; }

private:
    // The key order may convert a compared key in place, as every keyed
    // index of the scheduler does; deliberate, it decides which keys meet.
    friend struct ResourceKeyLess;
    mutable VARIANT value_;
};

// Ordered by VariantLess, which throws for keys it cannot order (two empty
// ones among them); the run never enters an empty key.
struct ResourceKeyLess {
    bool operator()(const ResourceKey& a, const ResourceKey& b) const;
};

class ResourceMap {
public:
    // The resource's entry, or null when the run has not met it.
    ResourceProfiles* Find(const VARIANT& key);
    // The resource's entry, added with no profiles when it is new.
    ResourceProfiles& Enter(const VARIANT& key);

    // IVoAvailability::Clear on every actual profile, in key order. Every
    // profile is asked even when one fails; the first failure is returned.
    HRESULT ClearActualProfiles() noexcept;
    // Drops every entry and the references it holds.
    void Clear() { entries_.clear(); }

    size_t Size() const { return entries_.size(); }

private:
    std::map<ResourceKey, ResourceProfiles, ResourceKeyLess> entries_;
};

}  // namespace ostrel
