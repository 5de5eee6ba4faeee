#include "example_project.h"

namespace cli {

const char* const kExampleProject = R"json({
  "name": "Riverside clinic fit-out",
  "start": "2026-03-02",
  "finish": "2026-09-30",
  "calendar": "standard",
  "calendars": {
    "standard": {
      "hours": ["08:00-12:00", "13:00-17:00"],
      "days_off": ["saturday", "sunday"],
      "holidays": ["2026-04-03", "2026-04-06"],
      "yearly": ["01-01", "12-25"],
      "nth_weekdays": ["last monday of may"]
    },
    "part-time": {
      "hours": ["09:00-13:00"],
      "days_off": ["friday", "saturday", "sunday"]
    },
    "early": {
      "hours": ["06:00-10:00", "10:30-14:30"],
      "yearly": ["01-01", "12-25"]
    },
    "six-day": {
      "days_off": ["sunday"],
      "nth_weekdays": ["first saturday of every month"],
      "working": ["2026-03-08 08:00-12:00"]
    },
    "away-in-april": {
      "holidays": ["2026-04-03", "2026-04-06", "2026-04-13..2026-04-24"]
    }
  },
  "resources": [
    {"id": "ana", "name": "Ana (site lead)"},
    {"id": "ben", "name": "Ben (admin, part time)", "calendar": "part-time"},
    {"id": "chen", "name": "Chen (electrician)", "calendar": "early"},
    {"id": "crew", "name": "Building crew", "calendar": "six-day", "units": 2},
    {"id": "eli", "name": "Eli (plumber)", "calendar": "away-in-april"}
  ],
  "tasks": [
    {"id": "P1", "name": "Preparation", "children": [
      {"id": "P1.1", "name": "Kick-off meeting", "duration": "2h", "resources": ["ana", "ben"],
       "fixed": {"start": "2026-03-02 09:00", "finish": "2026-03-02 11:00"}},
      {"id": "P1.2", "name": "Site walk with the owner", "duration": "4h", "resources": ["ana"],
       "constraint": {"type": "mso", "date": "2026-03-02 08:00"}},
      {"id": "P1.3", "name": "Survey the site", "duration": "2d", "resources": ["ana"], "predecessors": ["P1.2"]},
      {"id": "P1.4", "name": "Permits", "children": [
        {"id": "P1.4.1", "name": "Draft the application", "duration": "3d", "resources": ["ben"],
         "predecessors": ["P1.3"]},
        {"id": "P1.4.2", "name": "Submit the application", "duration": "4h", "resources": ["ben"],
         "predecessors": ["P1.4.1"]},
        {"id": "P1.4.3", "name": "Wait for approval", "duration": "10d",
         "predecessors": [{"id": "P1.4.2", "type": "FS", "lag": "2d"}]}
      ]},
      {"id": "P1.5", "name": "Order materials", "duration": "1d", "resources": ["chen"],
       "predecessors": [{"id": "P1.3", "type": "SS", "lag": "1d"}]}
    ]},
    {"id": "P2", "name": "Construction", "children": [
      {"id": "P2.1", "name": "Demolition", "duration": "4d", "resources": [{"id": "crew", "units": 2}],
       "predecessors": ["P1.4.3"]},
      {"id": "P2.2", "name": "Framing", "predecessors": ["P2.1"], "children": [
        {"id": "P2.2.1", "name": "Build the walls", "duration": "5d", "resources": ["crew"]},
        {"id": "P2.2.2", "name": "Hang the doors", "duration": "2d", "resources": ["crew"],
         "predecessors": ["P2.2.1"]}
      ]},
      {"id": "P2.3", "name": "Electrical rough-in", "duration": "4d", "resources": ["chen"],
       "predecessors": [{"id": "P2.2.1", "type": "SS", "lag": "2d"}]},
      {"id": "P2.4", "name": "Plumbing rough-in", "duration": "3d", "resources": ["eli"], "predecessors": ["P2.1"]},
      {"id": "P2.5", "name": "Inspection", "duration": "1d", "resources": ["ana"], "predecessors": ["P2.3", "P2.4"]},
      {"id": "P2.6", "name": "Drywall", "duration": "4d", "resources": ["crew"], "predecessors": ["P2.5"]},
      {"id": "P2.7", "name": "Prepare for painting", "duration": "2d", "resources": ["ben"],
       "predecessors": [{"id": "P2.6", "type": "FF"}]},
      {"id": "P2.8", "name": "Order the signs", "duration": "1d", "resources": ["chen"],
       "predecessors": [{"id": "P3.1", "type": "SF"}]},
      {"id": "P2.9", "name": "Council site visit", "duration": "2h", "resources": ["ana"],
       "constraint": {"type": "snet", "date": "2026-05-18"}}
    ]},
    {"id": "P3", "name": "Fit-out", "children": [
      {"id": "P3.1", "name": "Flooring", "duration": "3d", "resources": ["crew"], "predecessors": ["P2.6"]},
      {"id": "P3.2", "name": "Painting", "duration": "4d", "resources": ["crew"], "predecessors": ["P2.7", "P3.1"]},
      {"id": "P3.3", "name": "Furniture delivered", "duration": "0h",
       "constraint": {"type": "fab", "date": "2026-06-30"}},
      {"id": "P3.4", "name": "Network and computers", "duration": "2d", "resources": ["chen"], "priority": 100,
       "predecessors": ["P3.3"]},
      {"id": "P3.5", "name": "Cleaning", "duration": "1d", "resources": ["eli"], "predecessors": ["P3.2"]},
      {"id": "P3.6", "name": "Handover", "duration": "0h", "predecessors": ["P3.4", "P3.5"]}
    ]},
    {"id": "P4", "name": "Close-out", "children": [
      {"id": "P4.1", "name": "Punch list", "duration": "2d", "resources": ["ana"], "predecessors": ["P3.6"]},
      {"id": "P4.2", "name": "Final invoice", "duration": "4h", "resources": ["ben"], "predecessors": ["P4.1"]},
      {"id": "P4.3", "name": "Lessons learned", "duration": "2h", "resources": ["ana", "ben"],
       "constraint": {"type": "alap"}, "predecessors": ["P4.2"]}
    ]}
  ]
})json";

}  // namespace cli
