// How deep each task sits in the project's network of links: 0 for a task
// nothing comes before, otherwise one more than the deepest task it follows.
// The engine schedules tasks of equal constraint and priority with the
// least-loaded first, which can put a task ahead of the tasks it follows; it
// then places the task backward from its successors or defers it, and a
// deferred task is placed again (and takes its resources again) each time it
// is taken up. Handing the engine this depth as the low part of each task's
// priority keeps a project's own order: predecessors first.
#pragma once
#include <vector>

#include "project.h"

namespace cli {

// One depth per task of project.tasks. A summary's is the deepest of the
// tasks under it; a link to a summary counts as links to every task under
// it, and a summary's links reach every task under it, as the engine
// expands them. Tasks linked in a circle get a depth all the same (the
// engine reports the circle).
std::vector<unsigned> LinkLevels(const Project& project);

}  // namespace cli
