// TestResources.dll: a module with resources but no message table.
#include "module_resources.h"

namespace {
constexpr unsigned char kLibrary[] = {'M', 'S', 'F', 'T'};
}

OSTREL_RESOURCE_TABLE = {
    {OSTREL_RT_TYPELIB, 1, kLibrary, sizeof kLibrary},
    {nullptr, 0, nullptr, 0},
};
