#include "engine_run.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "dates.h"
#include "engine_records.h"
#include "host_objects.h"
#include "json_source.h"

namespace cli {
namespace {

void Check(HRESULT hr, const char* what) {
    if (FAILED(hr)) throw RunError(std::string(what) + ": " + ErrorText(hr));
}

template <class Itf>
Ref<Itf> Create(const CLSID& clsid, const IID& iid, const char* what) {
    Ref<Itf> object;
    Check(CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, iid, object.OutVoid()), what);
    return object;
}

std::string KeyText(const VARIANT& v) { return v.vt == VT_BSTR ? Utf8(v.bstrVal) : std::string(); }

// Reads the messages of the run, in the order they were added.
std::vector<tagScheduleMessage> ReadMessages(IVoScheduler* scheduler) {
    std::vector<tagScheduleMessage> out;
    Ref<IUnknown> unknown;
    Check(scheduler->GetScheduleMessages(unknown.Out()), "reading the schedule's messages");
    Ref<IEnumScheduleMessages> messages;
    Check(unknown->QueryInterface(IID_IEnumScheduleMessages, messages.OutVoid()), "reading the schedule's messages");
    for (;;) {
        tagScheduleMessage chunk[64] = {};
        ULONG fetched = 0;
        const HRESULT hr = messages->Next(64, chunk, &fetched);
        Check(hr, "reading the schedule's messages");
        out.insert(out.end(), chunk, chunk + std::min<ULONG>(fetched, 64));
        if (hr != S_OK) break;
    }
    return out;
}

void FreeMessage(tagScheduleMessage& m) {
    VariantClear(&m.tk.Value);
    SysFreeString(m.bstrMessage);
    SysFreeString(m.bstrLongMessage);
}

size_t CountMessages(IVoScheduler* scheduler) {
    std::vector<tagScheduleMessage> messages = ReadMessages(scheduler);
    for (tagScheduleMessage& m : messages) FreeMessage(m);
    return messages.size();
}

// Summaries get the span of their children, their work summed; leaves
// show the resources they take from their summaries too.
void RollUp(const Project& project, ScheduleResult& result) {
    for (size_t i = result.tasks.size(); i-- > 0;) {
        TaskResult& t = result.tasks[i];
        if (t.parent < 0) continue;
        TaskResult& parent = result.tasks[size_t(t.parent)];
        parent.hours += t.hours;
        if (t.hasDates) {
            parent.start = parent.hasDates ? std::min(parent.start, t.start) : t.start;
            parent.finish = parent.hasDates ? std::max(parent.finish, t.finish) : t.finish;
            parent.hasDates = true;
        }
    }
    std::map<std::string, size_t> loadIndex;
    for (size_t i = 0; i < project.resources.size(); ++i) {
        const Resource& r = project.resources[i];
        result.resources.push_back({r.id, r.name, r.units, 0, {}, {}});
        loadIndex[r.id] = i;
    }
    for (size_t i = 0; i < project.tasks.size(); ++i) {
        const Task& task = project.tasks[i];
        TaskResult& t = result.tasks[i];
        std::vector<Assignment> all;
        for (int at = int(i); at >= 0; at = project.tasks[size_t(at)].parent)
            for (const Assignment& a : project.tasks[size_t(at)].resources)
                if (std::none_of(all.begin(), all.end(), [&](const Assignment& b) { return b.resource == a.resource; }))
                    all.push_back(a);
        for (const Assignment& a : all) {
            if (!t.resources.empty()) t.resources += ", ";
            t.resources += a.resource;
            if (a.units != 1.0) t.resources += "×" + FormatNumber(a.units);
            if (!task.summary && t.hasDates) {
                ResourceLoad& load = result.resources[loadIndex[a.resource]];
                load.uses.push_back({i, task.id, t.start, t.finish, a.units, t.hours});
                load.workHours += t.hours * a.units;
            }
        }
    }
}

}  // namespace

ComSession::ComSession() {
    if (FAILED(CoInitialize(nullptr))) throw RunError("the component runtime did not start");
}
ComSession::~ComSession() { CoUninitialize(); }

Ref<IVoRules> MakeRules(const Project& project, const Calendar& calendar) {
    auto rules = Create<IVoRules>(CLSID_VoRules, IID_IVoRules, "creating a calendar");
    for (const RuleSpec& rule : calendar.rules) {
        const HRESULT hr = rules->AddRule(rule.start, rule.stop, rule.working ? VARIANT_TRUE : FALSE, rule.type);
        if (FAILED(hr))
            throw InputError(project.file + ": " + rule.path + ": \"" + rule.source + "\" clashes with another rule of calendar \"" +
                             calendar.name + "\" (" + ErrorText(hr) + ")");
    }
    return rules;
}

Ref<IVoAvailability> MakeProfile(const Project& project, const Calendar& calendar, double units) {
    Ref<IVoRules> rules = MakeRules(project, calendar);
    auto profile = Create<IVoAvailability>(CLSID_VoAvailability, IID_IVoAvailability, "creating a calendar profile");
    Check(profile->SetRules(rules.Get()), "giving a profile its calendar");
    if (units != 1.0) {
        // Rules keep, in working hours, the units the profile held before
        // they applied; taking them from a source holding the resource's
        // units throughout makes them the resource's. (A point written into
        // the profile itself would not do: giving it rules clears it.)
        auto constant = Create<IVoAvailability>(CLSID_VoAvailability, IID_IVoAvailability, "creating a calendar profile");
        Check(constant->AddPoint(0.0, units), "setting a resource's units");
        Check(profile->AddSource(constant.Get()), "setting a resource's units");
    }
    return profile;
}

ScheduleResult Schedule(const Project& project, const RunOptions& options) {
    RunWatch watch;
    watch.stop = options.stop;
    unsigned long leaves = 0;
    for (const Task& t : project.tasks) leaves += !t.summary && t.constraint != Constraint::DNL;
    if (options.progress) watch.onCall = [&](unsigned long calls) { options.progress(calls, leaves); };

    // The project's calendar and each resource's, watched.
    std::map<std::pair<std::string, double>, Ref<IUnknown>> profiles;
    auto watched = [&](const std::string& calendarName, double units) {
        Ref<IUnknown>& slot = profiles[{calendarName, units}];
        if (!slot) {
            Ref<IVoAvailability> inner = MakeProfile(project, *project.FindCalendar(calendarName), units);
            slot = Ref<IUnknown>(static_cast<IVoAvailability*>(new WatchedProfile(inner.Get(), watch)));
        }
        return slot;
    };
    Ref<IUnknown> projectProfile = watched(project.calendar, 1.0);
    Ref<ResourceCalendars> sink(new ResourceCalendars());
    for (const Resource& r : project.resources)
        sink->Add(r.id, watched(r.calendar.empty() ? project.calendar : r.calendar, r.units).Get());

    auto scheduler = Create<IVoScheduler>(CLSID_VoScheduler, IID_IVoScheduler, "creating the scheduler");
    Ref<IConnectionPointContainer> container;
    Check(scheduler->QueryInterface(IID_IConnectionPointContainer, container.OutVoid()), "connecting to the scheduler");
    Ref<IConnectionPoint> point;
    Check(container->FindConnectionPoint(IID_IVoScheduleEvents, point.Out()), "connecting to the scheduler");
    DWORD adviseCookie = 0;
    Check(point->Advise(sink.Get(), &adviseCookie), "connecting to the scheduler");

    size_t messagesAtStop = SIZE_MAX;
    watch.onFirstRefusal = [&] { messagesAtStop = CountMessages(scheduler.Get()); };

    Ref<IEnumScheduleData> records(new RecordSource(BuildRecords(project)));
    ULONG setCookie = 0;
    Check(scheduler->AddScheduleData(records.Get(), projectProfile.Get(), project.start, project.finish, &setCookie),
          "handing the tasks to the scheduler");
    records.Reset();
    ULONG flags = 0;
    Check(scheduler->Run(&flags), "running the scheduler");

    ScheduleResult result;
    result.projectName = project.name;
    result.start = project.start;
    result.finish = project.finish;
    result.hoursPerDay = project.hoursPerDay;
    result.runFlags = flags;
    result.interrupted = watch.refused;
    std::unordered_map<std::string, size_t> byId;
    result.tasks.resize(project.tasks.size());
    for (size_t i = 0; i < project.tasks.size(); ++i) {
        const Task& task = project.tasks[i];
        TaskResult& t = result.tasks[i];
        t.id = task.id;
        t.name = task.name;
        t.depth = task.depth;
        t.parent = task.parent;
        t.summary = task.summary;
        t.hours = task.summary ? 0 : task.hours;
        t.status = task.summary ? TaskStatus::Summary : TaskStatus::NotScheduled;
        byId.emplace(task.id, i);
        if (task.constraint == Constraint::DNL && !(flags & srFail)) {
            // Fixed tasks keep their dates; the scheduler hands back only
            // the records it changed.
            t.status = TaskStatus::Fixed;
            t.hasDates = true;
            t.start = task.fixedStart;
            t.finish = task.fixedFinish;
            t.intervals.push_back({task.fixedStart, task.fixedFinish});
        }
    }

    // The changed records: every task placed (its interval started empty).
    Ref<IUnknown> unknown;
    Check(scheduler->GetScheduleData(setCookie, unknown.Out()), "reading the schedule");
    Ref<IEnumScheduleData> changed;
    Check(unknown->QueryInterface(IID_IEnumScheduleData, changed.OutVoid()), "reading the schedule");
    std::vector<tagScheduleData> chunk(256);
    for (;;) {
        std::fill(chunk.begin(), chunk.end(), tagScheduleData{});
        ULONG fetched = 0;
        const HRESULT hr = changed->Next(ULONG(chunk.size()), chunk.data(), &fetched);
        Check(hr, "reading the schedule");
        for (ULONG k = 0; k < std::min<ULONG>(fetched, ULONG(chunk.size())); ++k) {
            tagScheduleData& r = chunk[k];
            const auto found = byId.find(KeyText(r.tkKey.Value));
            if (found != byId.end() && r.dwIntervals && r.psi) {
                TaskResult& t = result.tasks[found->second];
                t.intervals.clear();
                for (ULONG n = 0; n < r.dwIntervals; ++n) t.intervals.push_back({r.psi[n].dtStart, r.psi[n].dtStop});
                t.start = r.psi[0].dtStart;
                t.finish = r.psi[0].dtStop;
                for (const Span& s : t.intervals) {
                    t.start = std::min(t.start, s.start);
                    t.finish = std::max(t.finish, s.finish);
                }
                t.hasDates = true;
                if (!t.summary) t.status = (r.dwSRFlags & srFail) ? TaskStatus::Failed : TaskStatus::Scheduled;
            }
            FreeRecord(r);
        }
        if (hr != S_OK) break;
    }

    std::vector<tagScheduleMessage> messages = ReadMessages(scheduler.Get());
    for (size_t i = 0; i < messages.size(); ++i) {
        tagScheduleMessage& m = messages[i];
        MessageResult out;
        out.error = m.Severity == msError;
        out.text = Utf8(m.bstrMessage);
        out.detail = Utf8(m.bstrLongMessage);
        const auto found = byId.find(KeyText(m.tk.Value));
        if (found != byId.end()) {
            TaskResult& t = result.tasks[found->second];
            out.taskId = t.id;
            out.taskName = t.name;
            if (i >= messagesAtStop) {
                // Refused because of the stop, not for a fault of its own.
                t.status = TaskStatus::NotScheduled;
                t.hasDates = false;
                FreeMessage(m);
                continue;
            }
            if (out.error && t.status == TaskStatus::NotScheduled) {
                t.status = TaskStatus::Failed;
                t.hasDates = false;
            }
        }
        result.messages.push_back(std::move(out));
        FreeMessage(m);
    }

    point->Unadvise(adviseCookie);
    for (size_t i = 0; i < project.tasks.size(); ++i)
        for (const Link& link : project.tasks[i].predecessors) {
            const auto from = byId.find(link.task);
            if (from != byId.end()) result.links.push_back({from->second, i, link.type});
        }
    RollUp(project, result);
    return result;
}

std::vector<tagAVAILABILITYPOINT> ReadPoints(IVoAvailability* profile, DATE from, DATE to) {
    Ref<IUnknown> unknown;
    Check(profile->EnumPoints(from, to, unknown.Out()), "reading a calendar");
    Ref<IEnumAvPoints> points;
    Check(unknown->QueryInterface(IID_IEnumAvPoints, points.OutVoid()), "reading a calendar");
    std::vector<tagAVAILABILITYPOINT> all;
    for (;;) {
        tagAVAILABILITYPOINT chunk[256] = {};
        ULONG fetched = 0;
        const HRESULT hr = points->Next(256, chunk, &fetched);
        Check(hr, "reading a calendar");
        all.insert(all.end(), chunk, chunk + std::min<ULONG>(fetched, 256));
        if (hr != S_OK) break;
    }
    return all;
}

void AddCalendars(const Project& project, Span range, ScheduleResult& result) {
    // Resources share profiles the way the run shares them.
    std::map<std::pair<std::string, double>, std::vector<std::pair<DATE, double>>> read;
    auto offered = [&](const std::string& calendarName, double units) -> const std::vector<std::pair<DATE, double>>& {
        const auto key = std::make_pair(calendarName, units);
        auto found = read.find(key);
        if (found != read.end()) return found->second;
        Ref<IVoAvailability> profile = MakeProfile(project, *project.FindCalendar(calendarName), units);
        std::vector<std::pair<DATE, double>> steps;
        for (const tagAVAILABILITYPOINT& p : ReadPoints(profile.Get(), range.start, range.finish))
            if (steps.empty() || steps.back().second != p.dblUnits) steps.emplace_back(p.dtDate, p.dblUnits);
        return read.emplace(key, std::move(steps)).first->second;
    };
    const auto& project_steps = offered(project.calendar, 1.0);
    result.workingTime.clear();
    for (size_t i = 0; i < project_steps.size(); ++i) {
        const DATE start = std::max(project_steps[i].first, range.start);
        const DATE end = std::min(i + 1 < project_steps.size() ? project_steps[i + 1].first : range.finish, range.finish);
        if (project_steps[i].second > 0 && end > start) result.workingTime.push_back({start, end});
    }
    for (size_t r = 0; r < project.resources.size() && r < result.resources.size(); ++r) {
        const Resource& resource = project.resources[r];
        result.resources[r].offered =
            offered(resource.calendar.empty() ? project.calendar : resource.calendar, resource.units);
    }
}

}  // namespace cli
