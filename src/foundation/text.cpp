#include "foundation/text.h"

#include <climits>

#include "foundation/hresult.h"

namespace ostrel {

WString Widen(const char* text, size_t length) {
    if (length == 0) return WString();
    if (length > size_t(INT_MAX)) throw E_OUTOFMEMORY;
    int n = MultiByteToWideChar(CP_ACP, 0, text, int(length), nullptr, 0);
    if (n <= 0) return WString();
    WString out(size_t(n), OLECHAR(0));
    MultiByteToWideChar(CP_ACP, 0, text, int(length), out.data(), n);
    return out;
}

std::string Narrow(const OLECHAR* text, size_t length) {
    if (!text || length == 0) return std::string();
    if (length > size_t(INT_MAX)) throw E_OUTOFMEMORY;
    int n = WideCharToMultiByte(CP_ACP, 0, text, int(length), nullptr, 0, nullptr, nullptr);
    if (n <= 0) return std::string();
    std::string out(size_t(n), '\0');
    WideCharToMultiByte(CP_ACP, 0, text, int(length), out.data(), n, nullptr, nullptr);
    return out;
}

}  // namespace ostrel
