// ostrel generate --tasks N [--resources M] [--seed S] [-o FILE].
#include "commands.h"
#include "engine_run.h"
#include "generator.h"
#include "json_output.h"

namespace cli {

int RunGenerate(const GenerateArgs& args, std::ostream& out, std::ostream& err) {
    const size_t resources = args.resources ? args.resources : std::max<size_t>(5, args.tasks / 20);
    const nlohmann::json project = GenerateProject(args.tasks, resources, args.seed);
    if (args.output.empty()) {
        out << project.dump(1) << '\n';
        return kExitOk;
    }
    try {
        WriteJsonFile(args.output, project);
    } catch (const RunError& e) {
        err << "ostrel: " << e.what() << '\n';
        return kExitBadInput;
    }
    return kExitOk;
}

}  // namespace cli
