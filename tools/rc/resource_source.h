// The C++ source that defines a module's resource table.
#pragma once
#include <string>
#include <vector>

namespace rc {

struct Resource {
    std::string type;  // as the table names it: "TYPELIB", "REGISTRY", "STRING", "VERSION"
    unsigned id;
    std::vector<unsigned char> data;
};

// A source that includes module_resources.h and defines OstrelResourceTable
// holding the resources in the order given.
std::string ResourceSource(const std::vector<Resource>& resources);

}  // namespace rc
