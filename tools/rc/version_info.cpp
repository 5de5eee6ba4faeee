#include "version_info.h"

#include <stdexcept>

namespace rc {
namespace {

constexpr unsigned kFixedSignature = 0xFEEF04BD;
constexpr unsigned kFixedStructVersion = 0x00010000;
constexpr unsigned kFileFlagsMask = 0x3F;     // VS_FFI_FILEFLAGSMASK
constexpr unsigned kOsNtWindows32 = 0x40004;  // VOS_NT_WINDOWS32
constexpr unsigned kFileTypeDll = 2;          // VFT_DLL
constexpr char16_t kLanguageCodePage[] = u"040904B0";
constexpr unsigned kTranslation = 0x04B00409;  // language in the low word, code page in the high

using Bytes = std::vector<unsigned char>;

void PutWord(Bytes& out, unsigned value) {
    out.push_back(static_cast<unsigned char>(value & 0xFF));
    out.push_back(static_cast<unsigned char>((value >> 8) & 0xFF));
}

void PutDword(Bytes& out, unsigned value) {
    PutWord(out, value & 0xFFFF);
    PutWord(out, value >> 16);
}

void PutText(Bytes& out, const std::u16string& text) {
    for (char16_t c : text) PutWord(out, c);
    PutWord(out, 0);
}

void Align(Bytes& out) {
    while (out.size() % 4) out.push_back(0);
}

// One node. Its value and each child start aligned; a node with children
// counts the padding after the last one too (as resource compilers write
// it), a leaf does not.
Bytes Node(const std::u16string& key, unsigned type, unsigned valueLength, const Bytes& value,
           const std::vector<Bytes>& children) {
    Bytes out;
    PutWord(out, 0);  // the length, filled in below
    PutWord(out, valueLength);
    PutWord(out, type);
    PutText(out, key);
    if (!value.empty()) {
        Align(out);
        out.insert(out.end(), value.begin(), value.end());
    }
    for (const Bytes& child : children) {
        Align(out);
        out.insert(out.end(), child.begin(), child.end());
    }
    if (!children.empty()) Align(out);
    if (out.size() > 0xFFFF) throw std::length_error("the version block is too long");
    out[0] = static_cast<unsigned char>(out.size() & 0xFF);
    out[1] = static_cast<unsigned char>(out.size() >> 8);
    return out;
}

constexpr unsigned kBinary = 0;
constexpr unsigned kText = 1;

Bytes FixedFileInfo(const unsigned short (&v)[4]) {
    Bytes out;
    const unsigned high = unsigned(v[0]) << 16 | v[1];
    const unsigned low = unsigned(v[2]) << 16 | v[3];
    for (unsigned value : {kFixedSignature, kFixedStructVersion, high, low, high, low, kFileFlagsMask, 0u,
                           kOsNtWindows32, kFileTypeDll, 0u, 0u, 0u})
        PutDword(out, value);
    return out;
}

}  // namespace

std::vector<unsigned char> VersionBlock(const VersionInfo& info) {
    std::vector<Bytes> strings;
    for (const auto& [key, text] : info.strings) {
        Bytes value;
        PutText(value, text);
        // Counted in characters with the terminator.
        strings.push_back(Node(key, kText, unsigned(text.size() + 1), value, {}));
    }
    const Bytes table = Node(kLanguageCodePage, kText, 0, {}, strings);
    const Bytes stringInfo = Node(u"StringFileInfo", kText, 0, {}, {table});
    Bytes translation;
    PutDword(translation, kTranslation);
    const Bytes var = Node(u"Translation", kBinary, unsigned(translation.size()), translation, {});
    const Bytes varInfo = Node(u"VarFileInfo", kText, 0, {}, {var});
    const Bytes fixed = FixedFileInfo(info.version);
    return Node(u"VS_VERSION_INFO", kBinary, unsigned(fixed.size()), fixed, {stringInfo, varInfo});
}

}  // namespace rc
