#include "generator.h"

#include <algorithm>
#include <random>
#include <string>

namespace cli {

nlohmann::json GenerateProject(size_t tasks, size_t resources, std::uint32_t seed) {
    using nlohmann::json;
    std::mt19937 random(seed);
    auto chance = [&](double p) { return std::uniform_real_distribution<double>(0, 1)(random) < p; };
    auto pick = [&](size_t n) { return std::uniform_int_distribution<size_t>(0, n - 1)(random); };

    json project;
    project["name"] = "Generated project (" + std::to_string(tasks) + " tasks, seed " + std::to_string(seed) + ")";
    project["start"] = "2026-01-05";
    // Two years hold any generated project: groups only loosely depend on
    // each other, and each resource has a few dozen tasks.
    project["finish"] = "2027-12-31";
    project["calendars"] = {{"standard", {{"holidays", {"2026-12-24..2026-12-31"}}, {"yearly", {"01-01"}}}},
                            {"short-days", {{"hours", {"09:00-15:00"}}}}};
    json& people = project["resources"] = json::array();
    for (size_t r = 0; r < resources; ++r) {
        json person = {{"id", "R" + std::to_string(r + 1)}, {"name", "Resource " + std::to_string(r + 1)}};
        if (r % 4 == 3) person["calendar"] = "short-days";
        people.push_back(std::move(person));
    }

    json& top = project["tasks"] = json::array();
    constexpr size_t kGroup = 10;  // tasks per group, a summary holding them
    size_t made = 0, group = 0;
    while (made < tasks) {
        const std::string gid = "G" + std::to_string(group + 1);
        json summary = {{"id", gid}, {"name", "Work package " + std::to_string(group + 1)}};
        ++made;
        json children = json::array();
        for (size_t k = 0; k < kGroup && made < tasks; ++k, ++made) {
            const std::string id = gid + "." + std::to_string(k + 1);
            json task = {{"id", id},
                         {"name", "Task " + std::to_string(made + 1)},
                         {"duration", std::to_string(1 + pick(5)) + "d"}};
            json preds = json::array();
            // Mostly finish-start on the task before; now and then start-start
            // with a lag of a few hours, or a second link two tasks back.
            if (k > 0 && chance(0.7)) {
                const std::string previous = gid + "." + std::to_string(k);
                if (chance(0.2))
                    preds.push_back({{"id", previous}, {"type", "SS"}, {"lag", std::to_string(2 + pick(6)) + "h"}});
                else if (chance(0.2))
                    preds.push_back({{"id", previous}, {"type", "FS"}, {"lag", "1d"}});
                else
                    preds.push_back(previous);
            }
            if (k > 1 && chance(0.1)) preds.push_back(gid + "." + std::to_string(k - 1));
            // Groups lean on a group shortly before them, as phases of a
            // project do; a link far back would tie the whole outline together.
            if (k == 0 && group > 0 && chance(0.3)) {
                const size_t back = 1 + pick(std::min<size_t>(group, 5));
                preds.push_back("G" + std::to_string(group + 1 - back) + ".1");
            }
            if (!preds.empty()) task["predecessors"] = std::move(preds);
            // None, one or two resources, the second at half time and on the
            // first one's calendar: resources that share a task must agree
            // on its hours, which resources with other hours never do.
            if (resources > 0 && chance(0.8)) {
                const size_t first = pick(resources);
                json assigned = json::array({"R" + std::to_string(first + 1)});
                if (resources > 4 && chance(0.25)) {
                    const size_t second = (first + 4 * (1 + pick((resources - 1) / 4))) % resources;
                    if (second % 4 == first % 4 && second != first)
                        assigned.push_back({{"id", "R" + std::to_string(second + 1)}, {"units", 0.5}});
                }
                task["resources"] = std::move(assigned);
            }
            children.push_back(std::move(task));
        }
        if (!children.empty()) summary["children"] = std::move(children);
        top.push_back(std::move(summary));
        ++group;
    }
    return project;
}

}  // namespace cli
