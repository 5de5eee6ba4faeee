// ostrel calendar FILE [--resource R] --from DATE --to DATE: the working
// periods of the project's calendar, or of one resource's.
#include <cmath>
#include <vector>

#include "commands.h"
#include "dates.h"
#include "engine_run.h"
#include "project_reader.h"

namespace cli {

int RunCalendar(const CalendarArgs& args, std::ostream& out, std::ostream& err) {
    try {
        const Project project = ReadProjectText(ReadFile(args.file), args.file);
        const auto from = ParseDate(args.from), to = ParseDate(args.to);
        if (!from) throw InputError("--from: \"" + args.from + "\" is not a date such as \"2026-03-02\"");
        if (!to) throw InputError("--to: \"" + args.to + "\" is not a date such as \"2026-03-02\"");
        // A date without a time means the whole of that day.
        const DATE stop = *to == std::floor(*to) ? *to + 1.0 : *to;
        if (stop <= *from) throw InputError("--to: the end is not after --from");
        std::string calendarName = project.calendar;
        double units = 1.0;
        if (!args.resource.empty()) {
            const Resource* found = nullptr;
            for (const Resource& r : project.resources)
                if (r.id == args.resource) found = &r;
            if (!found) throw InputError("--resource: no resource \"" + args.resource + "\" in " + args.file);
            if (!found->calendar.empty()) calendarName = found->calendar;
            units = found->units;
        }

        ComSession session;
        Ref<IVoAvailability> profile = MakeProfile(project, *project.FindCalendar(calendarName), units);
        const std::vector<tagAVAILABILITYPOINT> all = ReadPoints(profile.Get(), *from, stop);
        // Each point's units hold up to the next point; print the stretches
        // with units, clipped to the asked range.
        double hours = 0;
        for (size_t i = 0; i < all.size(); ++i) {
            const DATE start = std::max(all[i].dtDate, *from);
            const DATE end = std::min(i + 1 < all.size() ? all[i + 1].dtDate : stop, stop);
            if (all[i].dblUnits <= 0 || end <= start) continue;
            out << FormatDate(start) << "  " << FormatDate(end) << "  " << FormatNumber(all[i].dblUnits) << '\n';
            hours += (end - start) * 24;
        }
        out << "working hours: " << FormatNumber(hours) << '\n';
        return kExitOk;
    } catch (const InputError& e) {
        err << e.what() << '\n';
    } catch (const RunError& e) {
        err << "ostrel: " << e.what() << '\n';
    }
    return kExitBadInput;
}

}  // namespace cli
