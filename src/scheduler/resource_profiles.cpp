// Where each resource's availability comes from: the host is asked once per
// resource key; a profile it hands back is the resource's default
// availability, a rule set becomes one, and without an answer the resource
// works on the default calendar. Allocations are taken from a second,
// actual profile whose source is the default one.
#include "foundation/hresult.h"
#include "scheduler/scheduler.h"

namespace ostrel {
namespace {

InterfaceRef<IVoAvailability> NewProfile() {
    InterfaceRef<IVoAvailability> profile;
    ThrowIfFailed(CoCreateInstance(CLSID_VoAvailability, nullptr, CLSCTX_INPROC_SERVER, IID_IVoAvailability,
                                   profile.OutVoid()));
    if (!profile) throw HRESULT(E_NOINTERFACE);
    return profile;
}

}  // namespace

void TVoScheduler::EnsureResourceProfiles(const VARIANT& key) {
    ResourceProfiles& profiles = resources_.Enter(key);
    // An entry that a failed run left half-built is completed rather than
    // used without profiles.
    if (profiles.defaultProfile && profiles.actualProfile) return;
    if (!profiles.defaultProfile) {
        InterfaceRef<IUnknown> answer;
        if (events_) {
            VARIANT gk = key;  // by value: the host reads it and frees nothing
            ThrowIfFailed(events_->GetAvailabilityProfile(ifResourceDefaultAvailability, gk, answer.Out()));
        }
        InterfaceRef<IVoAvailability> profile;
        if (answer && SUCCEEDED(answer->QueryInterface(IID_IVoAvailability, profile.OutVoid())) && profile) {
            // The host's own profile.
        } else if (answer) {
            profile.Reset();
            InterfaceRef<IVoAvailability> made = NewProfile();
            ThrowIfFailed(made->SetRules(answer.Get()));
            *profile.Out() = made.Detach();
        } else {
            *profile.Out() = DefaultCalendar().Detach();
        }
        *profiles.defaultProfile.Out() = profile.Detach();
    }
    InterfaceRef<IVoAvailability> actual = NewProfile();
    ThrowIfFailed(actual->AddSource(profiles.defaultProfile.Get()));
    *profiles.actualProfile.Out() = actual.Detach();
}

ResourceProfiles& TVoScheduler::ProfilesOf(const VARIANT& key) {
    ResourceProfiles* profiles = resources_.Find(key);
    // Preparation gave every resource of a prepared task its profiles.
    if (!profiles || !profiles->defaultProfile || !profiles->actualProfile) throw HRESULT(E_UNEXPECTED);
    return *profiles;
}

}  // namespace ostrel
