// Texts and references at the component boundary: the command works in
// UTF-8, the components in 16-bit OLECHAR strings (BSTR).
#pragma once
#include <Ostrel.h>

#include <string>
#include <string_view>
#include <utility>

namespace cli {

// A 16-bit text in the components' own character type.
using OleText = std::basic_string<OLECHAR>;

OleText Utf16(std::string_view utf8);
std::string Utf8(const OLECHAR* text, size_t length);
inline std::string Utf8(BSTR text) { return text ? Utf8(text, SysStringLen(text)) : std::string(); }

// An owned BSTR, freed with the platform's own call.
class Bstr {
public:
    Bstr() = default;
    explicit Bstr(std::string_view utf8);
    ~Bstr() { SysFreeString(value_); }
    Bstr(const Bstr&) = delete;
    Bstr& operator=(const Bstr&) = delete;
    Bstr(Bstr&& other) noexcept : value_(std::exchange(other.value_, nullptr)) {}
    BSTR Get() const { return value_; }
    BSTR* Out() { return &value_; }
    // Hands the string over to whoever frees it next.
    BSTR Release() { return std::exchange(value_, nullptr); }

private:
    BSTR value_ = nullptr;
};

// A counted interface reference; Release on destruction.
template <class Itf>
class Ref {
public:
    Ref() = default;
    explicit Ref(Itf* adopted) : p_(adopted) {}
    ~Ref() { Reset(); }
    Ref(const Ref& other) : p_(other.p_) { if (p_) p_->AddRef(); }
    Ref& operator=(Ref other) noexcept { std::swap(p_, other.p_); return *this; }
    Itf* Get() const { return p_; }
    Itf* operator->() const { return p_; }
    explicit operator bool() const { return p_ != nullptr; }
    Itf** Out() { Reset(); return &p_; }
    void** OutVoid() { return reinterpret_cast<void**>(Out()); }
    void Reset() { if (p_) std::exchange(p_, nullptr)->Release(); }

private:
    Itf* p_ = nullptr;
};

// A number as people write it: "2", "0.5", "1.25".
std::string FormatNumber(double value);

// The description a failed component call left in the error information,
// or the code in hex when it left none.
std::string ErrorText(HRESULT hr);

}  // namespace cli
