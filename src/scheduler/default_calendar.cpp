#include "scheduler/default_calendar.h"

#include "foundation/hresult.h"

namespace ostrel {

void FillDefaultCalendar(IVoAvailability& profile, IVoRules& rules) {
    // Times of day are fractions of a day. The weekly rules sit on the
    // calendar's weekly marker dates: 1 January 1904 stands for the first
    // weekday (Sunday), 7 January 1904 for the seventh (Saturday).
    constexpr DATE kEight = 1.0 / 3, kNoon = 0.5, kOne = 13.0 / 24, kFive = 17.0 / 24;
    constexpr DATE kSunday = 1462.0, kSaturday = 1468.0;
    ThrowIfFailed(rules.AddRule(kEight, kNoon, VARIANT_TRUE, crWorkingHour));
    ThrowIfFailed(rules.AddRule(kOne, kFive, VARIANT_TRUE, crWorkingHour));
    ThrowIfFailed(rules.AddRule(kSunday, 0.0, VARIANT_FALSE, crRecurDayWeek));
    ThrowIfFailed(rules.AddRule(kSaturday, 0.0, VARIANT_FALSE, crRecurDayWeek));
    ThrowIfFailed(profile.SetRules(&rules));
}

InterfaceRef<IVoAvailability> MakeDefaultCalendar() {
    InterfaceRef<IVoAvailability> profile;
    InterfaceRef<IVoRules> rules;
    ThrowIfFailed(CoCreateInstance(CLSID_VoAvailability, nullptr, CLSCTX_INPROC_SERVER, IID_IVoAvailability,
                                   profile.OutVoid()));
    ThrowIfFailed(
        CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules, rules.OutVoid()));
    FillDefaultCalendar(*profile.Get(), *rules.Get());
    return profile;
}

}  // namespace ostrel
