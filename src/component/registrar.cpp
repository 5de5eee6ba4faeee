#include "component/registrar.h"

#include <memory>
#include <new>
#include <vector>

namespace ostrel {
namespace {

struct Value {
    bool present = false;
    DWORD type = REG_SZ;
    WString text;
    DWORD number = 0;
};

struct ScriptKey {
    enum class Kind { Normal, ForceRemove, NoRemove } kind = Kind::Normal;
    WString name;
    Value value;
    std::vector<std::pair<WString, Value>> named;
    std::vector<ScriptKey> subkeys;
};

class Parser {
public:
    explicit Parser(const WString& text) : text_(text) {}

    // The roots and their keys; false when the script does not parse.
    bool Script(std::vector<std::pair<HKEY, ScriptKey>>& roots) {
        for (;;) {
            WString word;
            if (!Token(word)) return AtEnd();
            HKEY root = Root(word);
            ScriptKey top;
            if (!root || !Block(top)) return false;
            roots.emplace_back(root, std::move(top));
        }
    }

private:
    static HKEY Root(const WString& name) {
        if (name == OLESTR("HKCR") || name == OLESTR("HKEY_CLASSES_ROOT")) return HKEY_CLASSES_ROOT;
        if (name == OLESTR("HKCU") || name == OLESTR("HKEY_CURRENT_USER")) return HKEY_CURRENT_USER;
        if (name == OLESTR("HKLM") || name == OLESTR("HKEY_LOCAL_MACHINE")) return HKEY_LOCAL_MACHINE;
        return nullptr;
    }

    void SkipSpace() {
        while (pos_ < text_.size() && (text_[pos_] == OLESTR(' ') || text_[pos_] == OLESTR('\t') || text_[pos_] == OLESTR('\r') ||
                                       text_[pos_] == OLESTR('\n')))
            ++pos_;
    }
    bool AtEnd() {
        SkipSpace();
        return pos_ == text_.size();
    }
    bool Peek(OLECHAR c) {
        SkipSpace();
        return pos_ < text_.size() && text_[pos_] == c && (c == OLESTR('=') || Standalone(pos_));
    }
    // A brace followed by white space or the end is a block's brace; one
    // that runs on into a word starts a name, as class identifiers do.
    bool Standalone(size_t at) const {
        return at + 1 >= text_.size() || text_[at + 1] == OLESTR(' ') || text_[at + 1] == OLESTR('\t') ||
               text_[at + 1] == OLESTR('\r') || text_[at + 1] == OLESTR('\n');
    }
    bool Expect(OLECHAR c) {
        if (!Peek(c)) return false;
        ++pos_;
        return true;
    }

    // A bare word or a quoted text ('' inside quotes is one quote). A block's
    // braces and '=' are tokens of their own; a word runs to white space or
    // '='.
    bool Token(WString& out, bool* quoted = nullptr) {
        SkipSpace();
        out.clear();
        if (pos_ >= text_.size() || text_[pos_] == OLESTR('=')) return false;
        if ((text_[pos_] == OLESTR('{') || text_[pos_] == OLESTR('}')) && Standalone(pos_)) return false;
        if (text_[pos_] == OLESTR('\'')) {
            if (quoted) *quoted = true;
            for (++pos_; pos_ < text_.size(); ++pos_) {
                if (text_[pos_] == OLESTR('\'')) {
                    if (pos_ + 1 < text_.size() && text_[pos_ + 1] == OLESTR('\'')) {
                        out += OLESTR('\'');
                        ++pos_;
                        continue;
                    }
                    ++pos_;
                    return true;
                }
                out += text_[pos_];
            }
            return false;  // unterminated
        }
        if (quoted) *quoted = false;
        while (pos_ < text_.size() && text_[pos_] > OLESTR(' ') && text_[pos_] != OLESTR('=') && text_[pos_] != OLESTR('\''))
            out += text_[pos_++];
        return !out.empty();
    }

    bool ParseValue(Value& value) {
        WString kind, data;
        bool quoted = false;
        if (!Token(kind) || !Token(data, &quoted)) return false;
        value.present = true;
        if (kind == OLESTR("s")) {
            value.type = REG_SZ;
            value.text = data;
            return quoted;
        }
        if (kind == OLESTR("d")) {
            value.type = REG_DWORD;
            unsigned long long n = 0;
            for (OLECHAR c : data) {
                if (c < OLESTR('0') || c > OLESTR('9') || (n = n * 10 + unsigned(c - OLESTR('0'))) > 0xFFFFFFFFull) return false;
            }
            value.number = DWORD(n);
            return !data.empty();
        }
        return false;
    }

    // '{' then keys and named values up to '}'.
    bool Block(ScriptKey& key) {
        if (!Expect(OLESTR('{'))) return false;
        while (!Peek(OLESTR('}'))) {
            WString word;
            bool quoted = false;
            if (!Token(word, &quoted)) return false;
            if (!quoted && word == OLESTR("val")) {
                WString name;
                Value value;
                if (!Token(name) || !Expect(OLESTR('=')) || !ParseValue(value)) return false;
                key.named.emplace_back(std::move(name), std::move(value));
                continue;
            }
            ScriptKey sub;
            if (!quoted && (word == OLESTR("ForceRemove") || word == OLESTR("NoRemove"))) {
                sub.kind = word == OLESTR("ForceRemove") ? ScriptKey::Kind::ForceRemove : ScriptKey::Kind::NoRemove;
                if (!Token(word)) return false;
            }
            sub.name = word;
            if (Peek(OLESTR('='))) {
                ++pos_;
                if (!ParseValue(sub.value)) return false;
            }
            if (Peek(OLESTR('{')) && !Block(sub)) return false;
            key.subkeys.push_back(std::move(sub));
        }
        ++pos_;  // the closing brace
        return true;
    }

    const WString& text_;
    size_t pos_ = 0;
};

// The script with %NAME% replaced; false for an unknown or unclosed name.
bool Replace(const WString& script, const Replacements& replacements, WString& out) {
    for (size_t i = 0; i < script.size(); ++i) {
        if (script[i] != OLESTR('%')) {
            out += script[i];
            continue;
        }
        const size_t close = script.find(OLESTR('%'), i + 1);
        if (close == WString::npos) return false;
        const WString name = script.substr(i + 1, close - i - 1);
        if (name.empty()) {
            out += OLESTR('%');
        } else {
            auto found = replacements.find(name);
            if (found == replacements.end()) return false;
            out += found->second;
        }
        i = close;
    }
    return true;
}

LSTATUS SetValue(HKEY key, const OLECHAR* name, const Value& value) {
    if (value.type == REG_DWORD)
        return RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value.number), sizeof(DWORD));
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(value.text.c_str()),
                          DWORD((value.text.size() + 1) * sizeof(OLECHAR)));
}

HRESULT FromStatus(LSTATUS status) { return status == ERROR_SUCCESS ? S_OK : HRESULT_FROM_WIN32(DWORD(status)); }

HRESULT Register(HKEY parent, const ScriptKey& key) {
    if (key.kind == ScriptKey::Kind::ForceRemove) {
        const LSTATUS removed = RegDeleteTreeW(parent, key.name.c_str());
        if (removed != ERROR_SUCCESS && removed != ERROR_FILE_NOT_FOUND) return FromStatus(removed);
    }
    HKEY opened = nullptr;
    LSTATUS status =
        RegCreateKeyExW(parent, key.name.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &opened, nullptr);
    if (status != ERROR_SUCCESS) return FromStatus(status);
    HRESULT hr = S_OK;
    if (key.value.present) hr = FromStatus(SetValue(opened, nullptr, key.value));
    for (size_t i = 0; SUCCEEDED(hr) && i < key.named.size(); ++i)
        hr = FromStatus(SetValue(opened, key.named[i].first.c_str(), key.named[i].second));
    for (size_t i = 0; SUCCEEDED(hr) && i < key.subkeys.size(); ++i) hr = Register(opened, key.subkeys[i]);
    RegCloseKey(opened);
    return hr;
}

bool HasSubkeys(HKEY key) {
    OLECHAR name[2];
    DWORD n = 2;
    const LSTATUS status = RegEnumKeyExW(key, 0, name, &n, nullptr, nullptr, nullptr, nullptr);
    return status == ERROR_SUCCESS || status == ERROR_MORE_DATA;
}

HRESULT Unregister(HKEY parent, const ScriptKey& key) {
    if (key.kind == ScriptKey::Kind::ForceRemove) {
        const LSTATUS status = RegDeleteTreeW(parent, key.name.c_str());
        return status == ERROR_FILE_NOT_FOUND ? S_OK : FromStatus(status);
    }
    HKEY opened = nullptr;
    LSTATUS status = RegOpenKeyExW(parent, key.name.c_str(), 0, KEY_ALL_ACCESS, &opened);
    if (status == ERROR_FILE_NOT_FOUND) return S_OK;  // nothing to remove
    if (status != ERROR_SUCCESS) return FromStatus(status);
    HRESULT first = S_OK;
    for (const ScriptKey& sub : key.subkeys) {
        const HRESULT hr = Unregister(opened, sub);
        if (SUCCEEDED(first)) first = hr;
    }
    for (const auto& [name, value] : key.named) RegDeleteValueW(opened, name.c_str());
    const bool keep = key.kind == ScriptKey::Kind::NoRemove || HasSubkeys(opened);
    RegCloseKey(opened);
    if (!keep) {
        status = RegDeleteKeyW(parent, key.name.c_str());
        if (SUCCEEDED(first) && status != ERROR_SUCCESS && status != ERROR_FILE_NOT_FOUND) first = FromStatus(status);
    }
    return first;
}

}  // namespace

HRESULT RunRegistryScript(const WString& script, const Replacements& replacements, bool registering) {
    try {
        WString text;
        std::vector<std::pair<HKEY, ScriptKey>> roots;
        if (!Replace(script, replacements, text) || !Parser(text).Script(roots))
            return HRESULT_FROM_WIN32(ERROR_INVALID_DATA);
        HRESULT first = S_OK;
        for (const auto& [root, top] : roots) {
            for (const ScriptKey& key : top.subkeys) {
                const HRESULT hr = registering ? Register(root, key) : Unregister(root, key);
                if (registering && FAILED(hr)) return hr;
                if (SUCCEEDED(first)) first = hr;
            }
        }
        return first;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace ostrel
