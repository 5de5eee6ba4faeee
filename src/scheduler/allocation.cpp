// Allocating a task's resources over a placed span: the assignment is
// subtracted from each resource's actual availability, and an overload is
// reported without failing the task.
#include <charconv>
#include <vector>

#include "component/copying_enum.h"
#include "foundation/hresult.h"
#include "foundation/message_loader.h"
#include "foundation/value_text.h"
#include "scheduler/scheduler.h"

namespace ostrel {
namespace {

using PointEnum = CopyingEnum<IEnumAvPoints, &IID_IEnumAvPoints, tagAVAILABILITYPOINT>;

// Every point a profile enumerates between two dates.
std::vector<tagAVAILABILITYPOINT> PointsBetween(IVoAvailability& profile, DATE start, DATE stop) {
    InterfaceRef<IUnknown> enumerated;
    ThrowIfFailed(profile.EnumPoints(start, stop, enumerated.Out()));
    InterfaceRef<IEnumAvPoints> points = QueryOrThrow<IEnumAvPoints>(enumerated.Get(), IID_IEnumAvPoints);
    std::vector<tagAVAILABILITYPOINT> all;
    tagAVAILABILITYPOINT chunk[64];
    HRESULT hr;
    do {
        ULONG fetched = 0;
        hr = points->Next(64, chunk, &fetched);
        ThrowIfFailed(hr);
        all.insert(all.end(), chunk, chunk + (fetched < 64 ? fetched : 64));
        if (fetched == 0) break;
    } while (hr == S_OK);
    return all;
}

// The demand as a point enumerator the actual profile can subtract.
InterfaceRef<IUnknown> AsPointEnum(const std::vector<tagAVAILABILITYPOINT>& points) {
    auto copies = std::make_unique<tagAVAILABILITYPOINT[]>(points.size());
    std::copy(points.begin(), points.end(), copies.get());
    PointEnum* enumerator = ThrowIfNull(PointEnum::New());
    enumerator->Init(std::move(copies), ULONG(points.size()));
    return InterfaceRef<IUnknown>(static_cast<IUnknown*>(enumerator));
}

// An amount in the general number format: fixed where it fits, exponent
// otherwise, in its shortest exact form (never more than 17 digits).
std::string AmountText(double amount) {
    char text[64];
    const auto [end, error] = std::to_chars(text, text + sizeof text, amount, std::chars_format::general);
    if (error != std::errc()) return "?";
    std::string result(text, end);
    if (!result.empty() && result.back() == '.') result.pop_back();
    return result;
}

}  // namespace

void TVoScheduler::Allocate(tagScheduleData& task, DATE start, DATE stop) {
    if (!(start < stop)) return;
    for (ULONG r = 0; r < ResourceCount(task); ++r) {
        const tagScheduleResource& entry = task.psr[r];
        ResourceProfiles& profiles = ProfilesOf(entry.rkResource);
        std::vector<tagAVAILABILITYPOINT> demand = PointsBetween(*profiles.defaultProfile.Get(), start, stop);
        for (tagAVAILABILITYPOINT& point : demand) {
            // Where the resource does not work, nothing is taken.
            if (point.dblUnits == 0.0) continue;
            if (point.dblUnits < entry.dblAssigned) throw EVoError(VOMSG_RESOURCE_BELOW_ASSIGNMENT);
            point.dblUnits = entry.dblAssigned;
            point.dwFlags = 1;
        }
        InterfaceRef<IUnknown> points = AsPointEnum(demand);
        double minimum = 0.0;
        ThrowIfFailed(profiles.actualProfile->SumRange(points.Get(), stop, opSubstract, &minimum));
        if (minimum < 0.0)
            AddMessage(nullptr, FormatVoMessage(VOMSG_RESOURCE_OVERALLOCATED, VarToW(entry.rkResource).c_str(),
                                                AmountText(-minimum).c_str()));
    }
}

}  // namespace ostrel
