#include "output_file.h"

#include <cstdio>

#include "engine_run.h"

namespace cli {
namespace {

// Puts the finished file in the old one's place in one step. The C library's
// rename does that on Linux, but on Windows it refuses an existing target.
bool ReplaceFile(const std::string& from, const std::string& to) {
#ifdef _WIN32
    return MoveFileExA(from.c_str(), to.c_str(), MOVEFILE_REPLACE_EXISTING) != 0;
#else
    return std::rename(from.c_str(), to.c_str()) == 0;
#endif
}

}  // namespace

void WriteFileWhole(const std::string& fileName, std::string_view content) {
    const std::string aside = fileName + ".part";
    std::FILE* file = std::fopen(aside.c_str(), "wb");
    if (!file) throw RunError("cannot write " + fileName);
    const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    if (std::fclose(file) != 0 || !written || !ReplaceFile(aside, fileName)) {
        std::remove(aside.c_str());
        throw RunError("cannot write " + fileName);
    }
}

}  // namespace cli
