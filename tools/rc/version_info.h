// The platform's version block (RT_VERSION 1, VS_VERSIONINFO): a tree of
// nodes {length, value length, type, key, value, children}, each aligned to
// four bytes, holding the fixed file information and a StringFileInfo table
// of named texts for one language and code page.
#pragma once
#include <string>
#include <utility>
#include <vector>

namespace rc {

struct VersionInfo {
    unsigned short version[4] = {};  // major, minor, patch, build: both file and product version
    // Named texts in the order given, e.g. {"FileDescription", ...}; an
    // empty text marks a flag such as "OLESelfRegister".
    std::vector<std::pair<std::u16string, std::u16string>> strings;
};

// The block for US English (0x0409) in UTF-16 (code page 1200), describing a
// library (VFT_DLL) for 32-bit Windows on NT.
std::vector<unsigned char> VersionBlock(const VersionInfo& info);

}  // namespace rc
