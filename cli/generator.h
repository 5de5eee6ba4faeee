// A generated project of any size, for trying the engine at scale: groups
// of tasks under summaries, links inside a group and now and then to an
// earlier group, resources on two calendars.
#pragma once
#include <cstdint>
#include <nlohmann/json.hpp>

namespace cli {

nlohmann::json GenerateProject(size_t tasks, size_t resources, std::uint32_t seed);

}  // namespace cli
