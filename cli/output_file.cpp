#include "output_file.h"

#include <cstdio>

#include "engine_run.h"

namespace cli {

void WriteFileWhole(const std::string& fileName, std::string_view content) {
    const std::string aside = fileName + ".part";
    std::FILE* file = std::fopen(aside.c_str(), "wb");
    if (!file) throw RunError("cannot write " + fileName);
    const bool written = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    if (std::fclose(file) != 0 || !written || std::rename(aside.c_str(), fileName.c_str()) != 0) {
        std::remove(aside.c_str());
        throw RunError("cannot write " + fileName);
    }
}

}  // namespace cli
