#include "project_reader.h"

#include <cmath>
#include <initializer_list>
#include <unordered_map>

#include "calendar_words.h"
#include "dates.h"

namespace cli {
namespace {

using nlohmann::json;

// A path put together only when an error needs it: reading a large project
// checks millions of fields and finds nothing wrong with almost all.
struct Where {
    const std::string& base;
    const char* field;
};
inline std::string Spell(const std::string& path) { return path; }
inline std::string Spell(const Where& path) { return path.base + path.field; }

class Reader {
public:
    explicit Reader(std::string fileName) : file_(std::move(fileName)) {}

    [[noreturn]] void Fail(const std::string& path, const std::string& problem) const {
        throw InputError(file_ + ": " + (path.empty() ? std::string() : path + ": ") + problem);
    }

    void Fields(const json& node, const std::string& path, std::initializer_list<const char*> known) const {
        if (!node.is_object()) Fail(path, "expected an object");
        for (const auto& [key, value] : node.items()) {
            bool found = false;
            for (const char* k : known) found = found || key == k;
            if (!found) Fail(path, "unknown field \"" + key + "\"");
        }
    }
    const json* Field(const json& node, const char* key) const {
        const auto found = node.find(key);
        return found == node.end() ? nullptr : &*found;
    }
    template <class Path>
    std::string Text(const json& node, const Path& path) const {
        if (!node.is_string()) Fail(Spell(path), "expected a text");
        return node.get<std::string>();
    }
    template <class Path>
    double Number(const json& node, const Path& path) const {
        if (!node.is_number()) Fail(Spell(path), "expected a number");
        return node.get<double>();
    }
    template <class Path>
    const json& Array(const json& node, const Path& path) const {
        if (!node.is_array()) Fail(Spell(path), "expected an array");
        return node;
    }
    template <class Path>
    DATE Date(const json& node, const Path& path) const {
        const std::string text = Text(node, path);
        const auto date = ParseDate(text);
        if (!date) Fail(Spell(path), "\"" + text + "\" is not a date such as \"2026-03-02\" or \"2026-03-02 08:00\"");
        return *date;
    }
    template <class Path>
    DATE DateInRange(const json& node, const Path& path, const Project& p) const {
        const DATE date = Date(node, path);
        if (date < p.start || date > p.finish)
            Fail(Spell(path), FormatDate(date, true) + " is outside the project (" + FormatDate(p.start, true) + " to " +
                                  FormatDate(p.finish, true) + ")");
        return date;
    }
    template <class Path>
    double Hours(const json& node, const Path& path, double hoursPerDay, bool allowNegative) const {
        if (!node.is_string()) Fail(Spell(path), "expected a duration such as \"3d\", \"4h\" or \"90m\"");
        const std::string text = node.get<std::string>();
        const auto hours = ParseHours(text, hoursPerDay, allowNegative);
        if (!hours) Fail(Spell(path), "\"" + text + "\" is not a duration such as \"3d\", \"4h\" or \"90m\"");
        return *hours;
    }

private:
    std::string file_;
};

const char* const kProjectFields[] = {"$schema", "name", "start", "finish", "calendar", "hours_per_day",
                                      "calendars", "resources", "tasks"};

template <class Fn>
void Words(const Reader& r, const json& calendar, const char* key, const std::string& path, Calendar& out, Fn toRule) {
    const json* list = r.Field(calendar, key);
    if (!list) return;
    const std::string listPath = path + "." + key;
    r.Array(*list, listPath);
    for (size_t i = 0; i < list->size(); ++i) {
        const std::string itemPath = listPath + "[" + std::to_string(i) + "]";
        const std::string words = r.Text((*list)[i], itemPath);
        try {
            RuleSpec rule = toRule(words);
            rule.path = itemPath;
            out.rules.push_back(std::move(rule));
        } catch (const WordsError& e) {
            r.Fail(itemPath, e.what());
        }
    }
}

Calendar ReadCalendar(const Reader& r, const std::string& name, const json& node, const std::string& path) {
    r.Fields(node, path, {"hours", "days_off", "holidays", "yearly", "nth_weekdays", "working"});
    Calendar calendar;
    calendar.name = name;
    calendar.path = path;
    // Left out, the working hours and days off are the usual ones.
    if (!r.Field(node, "hours")) {
        for (const char* hours : {"08:00-12:00", "13:00-17:00"}) calendar.rules.push_back(WorkingHours(hours));
    }
    Words(r, node, "hours", path, calendar, WorkingHours);
    if (!r.Field(node, "days_off")) {
        for (const char* day : {"sunday", "saturday"}) calendar.rules.push_back(WeekdayOff(day));
    }
    Words(r, node, "days_off", path, calendar, WeekdayOff);
    Words(r, node, "holidays", path, calendar, Holiday);
    Words(r, node, "yearly", path, calendar, YearlyHoliday);
    Words(r, node, "nth_weekdays", path, calendar, NthWeekday);
    Words(r, node, "working", path, calendar, WorkingDay);
    for (RuleSpec& rule : calendar.rules)
        if (rule.path.empty()) rule.path = path;
    return calendar;
}

Constraint ConstraintKind(const Reader& r, const std::string& text, const std::string& path) {
    static const std::pair<const char*, Constraint> kinds[] = {
        {"asap", Constraint::ASAP}, {"alap", Constraint::ALAP}, {"mso", Constraint::MSO},   {"mfo", Constraint::MFO},
        {"snet", Constraint::SNET}, {"fab", Constraint::FAB},   {"snlt", Constraint::SNLT}, {"fnlt", Constraint::FNLT}};
    for (const auto& [name, kind] : kinds)
        if (text == name) return kind;
    r.Fail(path, "\"" + text + "\" is not a constraint (asap, alap, mso, mfo, snet, fab, snlt, fnlt)");
}

struct PendingLink {
    size_t task;
    const json* node;
    std::string path;
};

class TaskReader {
public:
    TaskReader(const Reader& r, Project& p) : r_(r), p_(p) {
        for (const Resource& res : p_.resources) resources_.emplace(res.id, &res);
    }

    void ReadList(const json& list, const std::string& path, int parent, int depth) {
        r_.Array(list, path);
        for (size_t i = 0; i < list.size(); ++i) Read(list[i], path + "[" + std::to_string(i) + "]", parent, depth);
    }

    void Resolve() {
        for (const PendingLink& link : links_) ResolveLinks(link, ids_);
    }

private:
    void Read(const json& node, const std::string& path, int parent, int depth) {
        r_.Fields(node, path, {"id", "name", "duration", "constraint", "priority", "predecessors", "resources",
                               "fixed", "children"});
        const json* id = r_.Field(node, "id");
        if (!id) r_.Fail(path, "a task needs an \"id\"");
        Task task;
        task.path = path;
        task.id = r_.Text(*id, Where{path, ".id"});
        if (task.id.empty()) r_.Fail(path + ".id", "the id is empty");
        const auto [known, added] = ids_.emplace(task.id, p_.tasks.size());
        if (!added) r_.Fail(path + ".id", "the id \"" + task.id + "\" is also used at " + p_.tasks[known->second].path);
        const json* name = r_.Field(node, "name");
        task.name = name ? r_.Text(*name, Where{path, ".name"}) : task.id;
        task.parent = parent;
        task.depth = depth;
        if (const json* d = r_.Field(node, "duration")) task.hours = r_.Hours(*d, Where{path, ".duration"}, p_.hoursPerDay, false);
        if (const json* c = r_.Field(node, "constraint")) ReadConstraint(*c, path + ".constraint", task);
        if (const json* pr = r_.Field(node, "priority")) {
            const double v = r_.Number(*pr, Where{path, ".priority"});
            if (v < 0 || v > 4294967295.0 || v != std::floor(v))
                r_.Fail(path + ".priority", "expected a whole number from 0 up");
            task.priority = unsigned(v);
            task.ownPriority = true;
        }
        if (const json* res = r_.Field(node, "resources")) ReadAssignments(*res, path + ".resources", task);
        if (const json* fixed = r_.Field(node, "fixed")) ReadFixed(*fixed, path + ".fixed", task);
        const size_t index = p_.tasks.size();
        if (const json* preds = r_.Field(node, "predecessors")) {
            r_.Array(*preds, Where{path, ".predecessors"});
            links_.push_back({index, preds, path + ".predecessors"});
        }
        p_.tasks.push_back(std::move(task));
        if (const json* children = r_.Field(node, "children")) {
            r_.Array(*children, Where{path, ".children"});
            if (!children->empty()) {
                if (p_.tasks[index].constraint == Constraint::DNL)
                    r_.Fail(path + ".fixed", "a summary task takes its dates from its children");
                p_.tasks[index].summary = true;
                ReadList(*children, path + ".children", int(index), depth + 1);
            }
        }
    }

    void ReadConstraint(const json& node, const std::string& path, Task& task) {
        r_.Fields(node, path, {"type", "date"});
        const json* type = r_.Field(node, "type");
        if (!type) r_.Fail(path, "a constraint needs a \"type\"");
        task.ownConstraint = true;
        task.constraint = ConstraintKind(r_, r_.Text(*type, path + ".type"), path + ".type");
        const json* date = r_.Field(node, "date");
        const bool dated = task.constraint != Constraint::ASAP && task.constraint != Constraint::ALAP;
        if (dated && !date) r_.Fail(path, "a \"" + r_.Text(*type, path) + "\" constraint needs a \"date\"");
        if (date) task.constraintDate = r_.DateInRange(*date, path + ".date", p_);
    }

    void ReadAssignments(const json& list, const std::string& path, Task& task) {
        r_.Array(list, path);
        for (size_t i = 0; i < list.size(); ++i) {
            const std::string at = path + "[" + std::to_string(i) + "]";
            Assignment a;
            if (list[i].is_string()) {
                a.resource = list[i].get<std::string>();
            } else {
                r_.Fields(list[i], at, {"id", "units"});
                const json* id = r_.Field(list[i], "id");
                if (!id) r_.Fail(at, "an assignment needs the resource's \"id\"");
                a.resource = r_.Text(*id, Where{at, ".id"});
                if (const json* u = r_.Field(list[i], "units")) a.units = r_.Number(*u, Where{at, ".units"});
            }
            const auto found = resources_.find(a.resource);
            if (found == resources_.end()) r_.Fail(at, "no resource \"" + a.resource + "\"");
            const Resource* resource = found->second;
            if (!(a.units > 0) || a.units > resource->units)
                r_.Fail(at, "units must be above 0 and at most the " + nlohmann::json(resource->units).dump() +
                                " that \"" + a.resource + "\" has");
            for (const Assignment& other : task.resources)
                if (other.resource == a.resource) r_.Fail(at, "\"" + a.resource + "\" is assigned twice");
            task.resources.push_back(std::move(a));
        }
    }

    void ReadFixed(const json& node, const std::string& path, Task& task) {
        r_.Fields(node, path, {"start", "finish"});
        const json* start = r_.Field(node, "start");
        const json* finish = r_.Field(node, "finish");
        if (!start || !finish) r_.Fail(path, "fixed dates need \"start\" and \"finish\"");
        task.fixedStart = r_.DateInRange(*start, path + ".start", p_);
        task.fixedFinish = r_.DateInRange(*finish, path + ".finish", p_);
        if (task.fixedFinish < task.fixedStart) r_.Fail(path, "the finish is before the start");
        task.constraint = Constraint::DNL;
    }

    bool Encloses(size_t outer, size_t inner) const {
        for (int at = p_.tasks[inner].parent; at >= 0; at = p_.tasks[size_t(at)].parent)
            if (size_t(at) == outer) return true;
        return false;
    }

    void ResolveLinks(const PendingLink& pending, const std::unordered_map<std::string, size_t>& byId) {
        Task& task = p_.tasks[pending.task];
        const json& list = *pending.node;
        for (size_t i = 0; i < list.size(); ++i) {
            const std::string at = pending.path + "[" + std::to_string(i) + "]";
            Link link;
            if (list[i].is_string()) {
                link.task = list[i].get<std::string>();
            } else {
                r_.Fields(list[i], at, {"id", "type", "lag"});
                const json* id = r_.Field(list[i], "id");
                if (!id) r_.Fail(at, "a predecessor needs the task's \"id\"");
                link.task = r_.Text(*id, Where{at, ".id"});
                if (const json* t = r_.Field(list[i], "type")) {
                    const std::string type = r_.Text(*t, Where{at, ".type"});
                    if (type == "FS") link.type = LinkType::FS;
                    else if (type == "SS") link.type = LinkType::SS;
                    else if (type == "FF") link.type = LinkType::FF;
                    else if (type == "SF") link.type = LinkType::SF;
                    else r_.Fail(at + ".type", "\"" + type + "\" is not a link type (FS, SS, FF, SF)");
                }
                // A lag is calendar time: "2d" is two days on the clock.
                if (const json* l = r_.Field(list[i], "lag")) link.lagHours = r_.Hours(*l, Where{at, ".lag"}, 24.0, true);
            }
            const auto found = byId.find(link.task);
            if (found == byId.end()) r_.Fail(at, "no task \"" + link.task + "\"");
            if (found->second == pending.task) r_.Fail(at, "a task cannot follow itself");
            if (Encloses(found->second, pending.task) || Encloses(pending.task, found->second))
                r_.Fail(at, "\"" + link.task + "\" is a summary of \"" + task.id + "\" or inside it");
            task.predecessors.push_back(std::move(link));
        }
    }

    const Reader& r_;
    Project& p_;
    std::unordered_map<std::string, size_t> ids_;  // index into Project::tasks
    std::vector<PendingLink> links_;
    std::unordered_map<std::string, const Resource*> resources_;
};

}  // namespace

Calendar StandardCalendar() {
    Calendar c;
    c.name = "standard";
    for (const char* hours : {"08:00-12:00", "13:00-17:00"}) c.rules.push_back(WorkingHours(hours));
    for (const char* day : {"sunday", "saturday"}) c.rules.push_back(WeekdayOff(day));
    return c;
}

Project ReadProject(const json& document, const std::string& fileName) {
    const Reader r(fileName);
    Project p;
    p.file = fileName;
    if (!document.is_object()) r.Fail("", "a project is a JSON object");
    for (const auto& [key, value] : document.items()) {
        bool known = false;
        for (const char* k : kProjectFields) known = known || key == k;
        if (!known) r.Fail("", "unknown field \"" + key + "\"");
    }
    if (const json* name = r.Field(document, "name")) p.name = r.Text(*name, "name");
    const json* start = r.Field(document, "start");
    const json* finish = r.Field(document, "finish");
    if (!start || !finish) r.Fail("", "a project needs \"start\" and \"finish\" dates");
    p.start = r.Date(*start, "start");
    p.finish = r.Date(*finish, "finish");
    if (p.finish == std::floor(p.finish)) p.finish += 1.0;
    if (p.finish <= p.start) r.Fail("finish", "the finish must be after the start");
    if (const json* h = r.Field(document, "hours_per_day")) {
        p.hoursPerDay = r.Number(*h, "hours_per_day");
        if (!(p.hoursPerDay > 0 && p.hoursPerDay <= 24)) r.Fail("hours_per_day", "expected more than 0 and at most 24");
    }

    p.calendars.push_back(StandardCalendar());
    if (const json* calendars = r.Field(document, "calendars")) {
        if (!calendars->is_object()) r.Fail("calendars", "expected an object of named calendars");
        for (const auto& [name, node] : calendars->items()) {
            Calendar c = ReadCalendar(r, name, node, "calendars." + name);
            if (name == "standard") p.calendars[0] = std::move(c);
            else p.calendars.push_back(std::move(c));
        }
    }
    if (const json* c = r.Field(document, "calendar")) {
        p.calendar = r.Text(*c, "calendar");
        if (!p.FindCalendar(p.calendar)) r.Fail("calendar", "no calendar \"" + p.calendar + "\"");
    }

    if (const json* resources = r.Field(document, "resources")) {
        r.Array(*resources, "resources");
        for (size_t i = 0; i < resources->size(); ++i) {
            const std::string at = "resources[" + std::to_string(i) + "]";
            const json& node = (*resources)[i];
            r.Fields(node, at, {"id", "name", "calendar", "units"});
            Resource res;
            const json* id = r.Field(node, "id");
            if (!id) r.Fail(at, "a resource needs an \"id\"");
            res.id = r.Text(*id, at + ".id");
            if (res.id.empty()) r.Fail(at + ".id", "the id is empty");
            for (const Resource& other : p.resources)
                if (other.id == res.id) r.Fail(at + ".id", "the id \"" + res.id + "\" is used twice");
            const json* name = r.Field(node, "name");
            res.name = name ? r.Text(*name, at + ".name") : res.id;
            if (const json* c = r.Field(node, "calendar")) {
                res.calendar = r.Text(*c, at + ".calendar");
                if (!p.FindCalendar(res.calendar)) r.Fail(at + ".calendar", "no calendar \"" + res.calendar + "\"");
            }
            if (const json* u = r.Field(node, "units")) {
                res.units = r.Number(*u, at + ".units");
                if (!(res.units > 0 && res.units <= 1000)) r.Fail(at + ".units", "expected more than 0 and at most 1000");
            }
            p.resources.push_back(std::move(res));
        }
    }

    const json* tasks = r.Field(document, "tasks");
    if (!tasks) r.Fail("", "a project needs \"tasks\"");
    TaskReader reader(r, p);
    reader.ReadList(*tasks, "tasks", -1, 0);
    reader.Resolve();
    return p;
}

Project ReadProjectText(const std::string& text, const std::string& fileName) {
    return ReadProject(ParseJson(text, fileName), fileName);
}

}  // namespace cli
