#ifndef _WIN32
// LoadTypeLib and LoadTypeLibEx: a type library from a .tlb file, or from
// the TYPELIB resource of a module.
//
// As on the platform, the name is first tried as a file; a file that is not
// a type library is taken to be a module and its TYPELIB resource 1 is read.
// A name ending in "\N" that is not itself a file names resource N of the
// module before it. A name without '/' that is no file in the current folder
// is searched for as a module is (LoadLibrary's folders).
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <windows.h>

#include "typelib_objects.h"

namespace ostrel::platform::typelib {
namespace {

// A type library file larger than this is not one (ours are a few kB).
constexpr long kLargestFile = 64L << 20;

std::string Utf8(const OLECHAR* text) {
    const int length = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (length <= 0) return std::string();
    std::string narrow(size_t(length), '\0');
    WideCharToMultiByte(CP_UTF8, 0, text, -1, narrow.data(), length, nullptr, nullptr);
    narrow.pop_back();
    return narrow;
}

bool IsFile(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

// The whole file, or false when it cannot be read.
bool ReadFile(const std::string& path, std::vector<BYTE>& bytes) {
    std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
    if (!file || std::fseek(file.get(), 0, SEEK_END) != 0) return false;
    const long size = std::ftell(file.get());
    if (size < 0 || size > kLargestFile || std::fseek(file.get(), 0, SEEK_SET) != 0) return false;
    bytes.resize(size_t(size));
    return std::fread(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
}

HRESULT Publish(const BYTE* data, size_t size, ITypeLib** pptlib) {
    auto lib = std::make_unique<LibData>();
    const HRESULT hr = ReadTypeLib(data, size, *lib);
    if (FAILED(hr)) return hr;
    TypeLibObject* object = TypeLibObject::Create(std::move(lib));
    if (!object) return E_OUTOFMEMORY;
    *pptlib = object;
    return S_OK;
}

// The library is copied out of the module, so the module is freed again.
HRESULT FromModule(const std::string& path, unsigned resource, ITypeLib** pptlib) {
    HMODULE module = LoadLibraryExA(path.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
    if (!module) return TYPE_E_CANTLOADLIBRARY;
    HRESULT hr = TYPE_E_CANTLOADLIBRARY;
    if (HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(resource), u"TYPELIB")) {
        const void* data = LockResource(LoadResource(module, found));
        const DWORD size = SizeofResource(module, found);
        if (data) hr = Publish(static_cast<const BYTE*>(data), size, pptlib);
    }
    FreeLibrary(module);
    return hr;
}

// Splits "path\N" into the path and N; false when the name has no such end.
bool ResourceSuffix(const std::string& name, std::string& path, unsigned& resource) {
    const size_t slash = name.rfind('\\');
    if (slash == std::string::npos || slash + 1 == name.size() || name.size() - slash > 6) return false;
    unsigned number = 0;
    for (size_t i = slash + 1; i < name.size(); ++i) {
        if (name[i] < '0' || name[i] > '9') return false;
        number = number * 10 + unsigned(name[i] - '0');
    }
    if (number == 0 || number > 0xFFFF) return false;
    path = name.substr(0, slash);
    resource = number;
    return true;
}

HRESULT Load(const std::string& name, ITypeLib** pptlib) {
    if (IsFile(name)) {
        std::vector<BYTE> bytes;
        if (!ReadFile(name, bytes)) return TYPE_E_CANTLOADLIBRARY;
        if (bytes.size() >= 4 && std::memcmp(bytes.data(), "MSFT", 4) == 0) {
            return Publish(bytes.data(), bytes.size(), pptlib);
        }
        return FromModule(name.find('/') == std::string::npos ? "./" + name : name, 1, pptlib);
    }
    std::string path;
    unsigned resource = 1;
    if (ResourceSuffix(name, path, resource)) {
        return FromModule(IsFile(path) && path.find('/') == std::string::npos ? "./" + path : path, resource,
                          pptlib);
    }
    // A plain name is looked for as a module is.
    if (name.find('/') == std::string::npos) return FromModule(name, 1, pptlib);
    return TYPE_E_CANTLOADLIBRARY;
}

// The full path a library loaded by name is registered under.
std::u16string FullPath(const OLECHAR* file) {
    std::u16string path = file;
    if (!path.empty() && path[0] == u'/') return path;
    std::unique_ptr<char, void (*)(void*)> cwd(getcwd(nullptr, 0), &std::free);
    if (!cwd) return path;
    const int length = MultiByteToWideChar(CP_UTF8, 0, cwd.get(), -1, nullptr, 0);
    if (length <= 0) return path;
    std::u16string folder(size_t(length), u'\0');
    MultiByteToWideChar(CP_UTF8, 0, cwd.get(), -1, folder.data(), length);
    folder.pop_back();
    return folder + u"/" + path;
}

}  // namespace
}  // namespace ostrel::platform::typelib

using namespace ostrel::platform::typelib;

HRESULT WINAPI LoadTypeLibEx(LPCOLESTR szFile, REGKIND regkind, ITypeLib** pptlib) {
    if (!pptlib) return E_INVALIDARG;
    *pptlib = nullptr;
    if (!szFile || regkind > REGKIND_NONE) return E_INVALIDARG;
    try {
        const std::string name = Utf8(szFile);
        if (name.empty()) return TYPE_E_CANTLOADLIBRARY;
        HRESULT hr = Load(name, pptlib);
        if (FAILED(hr)) return hr;
        // By default the platform registers a library named without a full
        // path, and leaves one given with its full path alone.
        const bool fullPath = szFile[0] == u'/';
        if (regkind == REGKIND_REGISTER || (regkind == REGKIND_DEFAULT && !fullPath)) {
            const std::u16string path = FullPath(szFile);
            hr = RegisterTypeLib(*pptlib, path.c_str(), nullptr);
            if (FAILED(hr)) {
                (*pptlib)->Release();
                *pptlib = nullptr;
                return hr;
            }
        }
        return S_OK;
    } catch (const std::bad_alloc&) {
        if (*pptlib) (*pptlib)->Release();
        *pptlib = nullptr;
        return E_OUTOFMEMORY;
    }
}

HRESULT WINAPI LoadTypeLib(LPCOLESTR szFile, ITypeLib** pptlib) { return LoadTypeLibEx(szFile, REGKIND_DEFAULT, pptlib); }

#endif
