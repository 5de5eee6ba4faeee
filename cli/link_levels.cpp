#include "link_levels.h"

#include <algorithm>
#include <string_view>
#include <unordered_map>

namespace cli {
namespace {

enum class Mark : unsigned char { New, Open, Done };

}  // namespace

std::vector<unsigned> LinkLevels(const Project& project) {
    const std::vector<Task>& tasks = project.tasks;
    const size_t n = tasks.size();
    std::unordered_map<std::string_view, size_t> byId;
    byId.reserve(n);
    for (size_t i = 0; i < n; ++i) byId.emplace(tasks[i].id, i);

    // What a task's depth depends on: for a summary its children, for any
    // other task the tasks named by its own and its summaries' links.
    std::vector<std::vector<size_t>> children(n);
    for (size_t i = 0; i < n; ++i) {
        if (tasks[i].parent >= 0) children[size_t(tasks[i].parent)].push_back(i);
    }
    std::vector<std::vector<size_t>> follows(n);
    for (size_t i = 0; i < n; ++i) {
        if (tasks[i].summary) continue;
        for (int t = int(i); t >= 0; t = tasks[size_t(t)].parent)
            for (const Link& link : tasks[size_t(t)].predecessors) {
                const auto found = byId.find(link.task);
                if (found != byId.end()) follows[i].push_back(found->second);
            }
    }

    std::vector<unsigned> level(n, 0);
    std::vector<Mark> mark(n, Mark::New);
    // Depth first without recursion: a chain of links may be as long as
    // the project. Each frame is a task and the next of its dependencies.
    std::vector<std::pair<size_t, size_t>> stack;
    for (size_t root = 0; root < n; ++root) {
        if (mark[root] != Mark::New) continue;
        mark[root] = Mark::Open;
        stack.emplace_back(root, 0);
        while (!stack.empty()) {
            auto& [task, next] = stack.back();
            const std::vector<size_t>& deps = tasks[task].summary ? children[task] : follows[task];
            if (next < deps.size()) {
                const size_t dep = deps[next++];
                if (mark[dep] == Mark::New) {
                    mark[dep] = Mark::Open;
                    stack.emplace_back(dep, 0);
                }
                continue;
            }
            unsigned deepest = 0;
            bool any = false;
            for (size_t dep : deps) {
                // A task still open is on a circle through this one.
                if (mark[dep] != Mark::Done) continue;
                deepest = std::max(deepest, level[dep]);
                any = true;
            }
            level[task] = tasks[task].summary ? deepest : (any ? deepest + 1 : 0);
            mark[task] = Mark::Done;
            stack.pop_back();
        }
    }
    return level;
}

}  // namespace cli
