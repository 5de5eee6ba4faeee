// Report files are written whole or not at all: beside the target, then
// renamed over it, so a reader never sees half a file.
#pragma once
#include <string>
#include <string_view>

namespace cli {

// Throws RunError naming the file when it cannot be written.
void WriteFileWhole(const std::string& fileName, std::string_view content);

}  // namespace cli
