// The project as the command reads it: calendars in words, resources, and
// tasks as an outline. Durations are in working hours, dates are automation
// dates; everything here is already checked.
#pragma once
#include <Ostrel.h>

#include <optional>
#include <string>
#include <vector>

namespace cli {

// One calendar rule as the rule set takes it (AddRule's arguments).
struct RuleSpec {
    DATE start = 0, stop = 0;
    bool working = false;
    tagRULETYPE type = crNone;
    std::string source;  // the words it came from, for errors
    std::string path;    // where in the project they were written
    bool operator==(const RuleSpec& o) const {
        return start == o.start && stop == o.stop && working == o.working && type == o.type;
    }
};

struct Calendar {
    std::string name;
    std::string path;  // where it was declared, for errors
    std::vector<RuleSpec> rules;
};

struct Resource {
    std::string id, name;
    std::string calendar;  // empty: the project's calendar
    double units = 1.0;    // how many full units the resource offers
};

struct Assignment {
    std::string resource;
    double units = 1.0;
};

enum class LinkType { FS, SS, FF, SF };

struct Link {
    std::string task;   // the predecessor's id
    LinkType type = LinkType::FS;
    double lagHours = 0;  // calendar hours, may be negative
};

// The date constraint kinds the engine knows, in its own order.
enum class Constraint { DNL, MSO, MFO, SNET, FAB, SNLT, FNLT, ASAP, ALAP };

struct Task {
    std::string id, name;
    std::string path;          // "tasks[2].children[0]", for messages about it
    int parent = -1;           // index into Project::tasks, -1 at the top
    int depth = 0;
    bool summary = false;      // holds children
    double hours = 0;          // working hours of work
    Constraint constraint = Constraint::ASAP;
    DATE constraintDate = 0;
    unsigned priority = 500;
    bool ownConstraint = false, ownPriority = false;  // written in the file
    std::vector<Link> predecessors;
    std::vector<Assignment> resources;
    DATE fixedStart = 0, fixedFinish = 0;  // for DNL tasks
};

struct Project {
    std::string file;  // where it was read from, for errors
    std::string name;
    // The working range; finish is exclusive (a finish date without a time
    // means the end of that day).
    DATE start = 0, finish = 0;
    double hoursPerDay = 8;
    std::string calendar = "standard";
    std::vector<Calendar> calendars;  // "standard" always present
    std::vector<Resource> resources;
    std::vector<Task> tasks;  // outline order: each summary followed by its descendants

    const Calendar* FindCalendar(const std::string& name) const {
        for (const Calendar& c : calendars)
            if (c.name == name) return &c;
        return nullptr;
    }
};

}  // namespace cli
