#ifndef _WIN32
#include "registry_store.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace ostrel::platform::registry {
namespace {

constexpr const char* kHeader = "Ostrel registry 1";

// Folds ASCII and Latin-1 capitals, which covers every name the system and
// its hosts register; other characters compare as they are.
char16_t Fold(char16_t c) {
    if ((c >= u'A' && c <= u'Z') || (c >= 0xC0 && c <= 0xDE && c != 0xD7)) return char16_t(c + 0x20);
    return c;
}

std::string Utf8(const Name& text) {
    std::string out;
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        if (c < 0x80) {
            out += char(c);
        } else if (c < 0x800) {
            out += char(0xC0 | (c >> 6));
            out += char(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += char(0xE0 | (c >> 12));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        } else {
            out += char(0xF0 | (c >> 18));
            out += char(0x80 | ((c >> 12) & 0x3F));
            out += char(0x80 | ((c >> 6) & 0x3F));
            out += char(0x80 | (c & 0x3F));
        }
    }
    return out;
}

bool FromUtf8(const std::string& in, Name& out) {
    out.clear();
    for (size_t i = 0; i < in.size();) {
        const unsigned char b = in[i];
        int extra = b < 0x80 ? 0 : b >= 0xF0 ? 3 : b >= 0xE0 ? 2 : b >= 0xC0 ? 1 : -1;
        if (extra < 0 || i + size_t(extra) > in.size() - 1) return false;
        char32_t c = extra == 0 ? b : b & (0x3F >> extra);
        for (int k = 1; k <= extra; ++k) {
            const unsigned char next = in[i + size_t(k)];
            if ((next & 0xC0) != 0x80) return false;
            c = (c << 6) | (next & 0x3F);
        }
        i += size_t(extra) + 1;
        if (c >= 0x10000) {
            c -= 0x10000;
            out += char16_t(0xD800 + (c >> 10));
            out += char16_t(0xDC00 + (c & 0x3FF));
        } else {
            out += char16_t(c);
        }
    }
    return true;
}

// A name in the file: UTF-8 with '%', '\', spaces and control characters
// written as %XX, so names never break a line or a path apart.
std::string Encode(const Name& name) {
    static const char hex[] = "0123456789ABCDEF";
    std::string out;
    for (unsigned char c : Utf8(name)) {
        if (c <= 0x20 || c == '%' || c == '\\' || c == 0x7F) {
            out += '%';
            out += hex[c >> 4];
            out += hex[c & 15];
        } else {
            out += char(c);
        }
    }
    return out;
}

int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    return -1;
}

bool Decode(const std::string& text, Name& out) {
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '%') {
            bytes += text[i];
            continue;
        }
        if (i + 2 >= text.size() || HexDigit(text[i + 1]) < 0 || HexDigit(text[i + 2]) < 0) return false;
        bytes += char(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]));
        i += 2;
    }
    return FromUtf8(bytes, out);
}

void Write(std::ostringstream& out, const Key& key, const std::string& path) {
    static const char hex[] = "0123456789abcdef";
    if (!path.empty()) {
        out << "K " << path << '\n';
        for (const auto& [folded, value] : key.values) {
            out << "V " << value.type << ' ';
            if (value.data.empty()) out << '-';
            for (BYTE b : value.data) out << hex[b >> 4] << hex[b & 15];
            out << ' ' << Encode(value.name) << '\n';
        }
    }
    for (const auto& [folded, sub] : key.subkeys)
        Write(out, *sub, path.empty() ? Encode(sub->name) : path + '\\' + Encode(sub->name));
}

// The key at an encoded path, created as needed.
Key* Place(Key& top, const std::string& encodedPath) {
    Key* key = &top;
    std::istringstream parts(encodedPath);
    std::string part;
    while (std::getline(parts, part, '\\')) {
        Name name;
        if (part.empty() || !Decode(part, name)) return nullptr;
        auto& slot = key->subkeys[name];
        if (!slot) {
            slot = std::make_unique<Key>();
            slot->name = name;
        }
        key = slot.get();
    }
    return key;
}

bool Parse(const std::string& text, Key& top) {
    std::istringstream lines(text);
    std::string line;
    if (!std::getline(lines, line) || line != kHeader) return false;
    Key* current = nullptr;
    while (std::getline(lines, line)) {
        if (line.empty()) continue;
        if (line.compare(0, 2, "K ") == 0) {
            current = Place(top, line.substr(2));
            if (!current) return false;
        } else if (line.compare(0, 2, "V ") == 0 && current) {
            std::istringstream fields(line.substr(2));
            std::string type, hex, encodedName;
            if (!(fields >> type >> hex)) return false;
            std::getline(fields, encodedName);
            if (!encodedName.empty() && encodedName[0] == ' ') encodedName.erase(0, 1);
            Value value;
            char* end = nullptr;
            const unsigned long t = std::strtoul(type.c_str(), &end, 10);
            if (*end || !Decode(encodedName, value.name)) return false;
            value.type = DWORD(t);
            if (hex != "-") {
                if (hex.size() % 2) return false;
                for (size_t i = 0; i < hex.size(); i += 2) {
                    const int hi = HexDigit(hex[i]), lo = HexDigit(hex[i + 1]);
                    if (hi < 0 || lo < 0) return false;
                    value.data.push_back(BYTE(hi * 16 + lo));
                }
            }
            current->values[value.name] = std::move(value);
        } else {
            return false;
        }
    }
    return true;
}

// The file lock, held for one transaction. It is taken on a file of its own
// beside the registry, since the registry file itself is replaced by rename.
class FileLock {
public:
    FileLock(const std::string& path, bool exclusive) {
        fd_ = ::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        if (fd_ >= 0 && ::flock(fd_, exclusive ? LOCK_EX : LOCK_SH) != 0) {
            ::close(fd_);
            fd_ = -1;
        }
    }
    ~FileLock() {
        if (fd_ >= 0) ::close(fd_);  // closing releases the lock
    }
    FileLock(const FileLock&) = delete;
    FileLock& operator=(const FileLock&) = delete;
    bool Held() const { return fd_ >= 0; }

private:
    int fd_ = -1;
};

LSTATUS ReadFile(const std::string& path, Key& top) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return errno == ENOENT ? ERROR_SUCCESS : ERROR_ACCESS_DENIED;  // no file yet: empty
    std::string text;
    char buffer[65536];
    ssize_t n;
    while ((n = ::read(fd, buffer, sizeof buffer)) > 0) text.append(buffer, size_t(n));
    ::close(fd);
    if (n < 0) return ERROR_ACCESS_DENIED;
    return Parse(text, top) ? ERROR_SUCCESS : ERROR_BADDB;
}

bool WriteAll(int fd, const std::string& text) {
    for (size_t done = 0; done < text.size();) {
        const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
        if (n <= 0) return false;
        done += size_t(n);
    }
    return true;
}

LSTATUS WriteFile(const std::string& path, const Key& top) {
    std::ostringstream out;
    out << kHeader << '\n';
    Write(out, top, "");
    const std::string aside = path + '.' + std::to_string(::getpid()) + ".tmp";
    const int fd = ::open(aside.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0) return ERROR_WRITE_FAULT;
    const bool written = WriteAll(fd, out.str()) && ::fsync(fd) == 0;
    if (::close(fd) != 0 || !written || ::rename(aside.c_str(), path.c_str()) != 0) {
        ::unlink(aside.c_str());
        return ERROR_WRITE_FAULT;
    }
    return ERROR_SUCCESS;
}

}  // namespace

bool NameLess::operator()(const Name& a, const Name& b) const {
    const size_t n = std::min(a.size(), b.size());
    for (size_t i = 0; i < n; ++i) {
        const char16_t x = Fold(a[i]), y = Fold(b[i]);
        if (x != y) return x < y;
    }
    return a.size() < b.size();
}

Path SplitSubKey(LPCWSTR subKey) {
    Path path;
    Name part;
    for (const char16_t* p = subKey; p && *p; ++p) {
        if (*p == u'\\') {
            if (!part.empty()) path.push_back(std::move(part));
            part.clear();
        } else {
            part += *p;
        }
    }
    if (!part.empty()) path.push_back(std::move(part));
    return path;
}

Key* Find(Key& top, const Path& path) {
    Key* key = &top;
    for (const Name& name : path) {
        auto found = key->subkeys.find(name);
        if (found == key->subkeys.end()) return nullptr;
        key = found->second.get();
    }
    return key;
}

std::string FilePath() {
    if (const char* set = std::getenv("OSTREL_REGISTRY"); set && *set) return set;
    if (const char* config = std::getenv("XDG_CONFIG_HOME"); config && *config)
        return std::string(config) + "/ostrel/registry";
    const char* home = std::getenv("HOME");
    return std::string(home && *home ? home : ".") + "/.config/ostrel/registry";
}

LSTATUS Transact(bool write, const std::function<LSTATUS(Key& top)>& change) {
    try {
        const std::string path = FilePath();
        if (write) {
            std::error_code ignored;
            std::filesystem::create_directories(std::filesystem::path(path).parent_path(), ignored);
        }
        FileLock lock(path, write);
        // Reading needs no lock where there is no folder yet, hence no file.
        if (!lock.Held() && write) return ERROR_ACCESS_DENIED;
        Key top;
        if (LSTATUS status = ReadFile(path, top); status != ERROR_SUCCESS) return status;
        const LSTATUS result = change(top);
        if (!write || result != ERROR_SUCCESS) return result;
        return WriteFile(path, top);
    } catch (const std::bad_alloc&) {
        return ERROR_OUTOFMEMORY;
    }
}

}  // namespace ostrel::platform::registry

#endif
