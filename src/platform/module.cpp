#ifndef _WIN32
// Modules: shared objects loaded by the platform's rules, their exports, file
// names and resources.
//
// A plain file name is searched where the platform searches, mapped to
// Linux: the executable's folder, the "system folder" (the folder holding
// this platform library, where an installation puts the message module), the
// current folder, then each folder of PATH. A name containing '/' is used as
// given.
#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include <windows.h>

#include "module_resources.h"
#include "resource_lookup.h"

namespace {

namespace fs = std::filesystem;

struct Module {
    void* library;     // dlopen's handle, which is also the HMODULE
    std::string path;  // absolute, as it was found
    unsigned loads;    // LoadLibrary calls not yet matched by FreeLibrary
};

// Modules loaded through LoadLibrary. An HMODULE is only ever used after it
// is found here, so a stale or made-up one is refused, never followed.
std::mutex modulesMutex;
std::vector<Module>& Modules() {
    static auto* modules = new std::vector<Module>;  // never destroyed: modules may be freed at exit
    return *modules;
}

Module* FindModule(HMODULE handle) {
    for (Module& m : Modules()) {
        if (m.library == handle) return &m;
    }
    return nullptr;
}

// The dlopen handle of the executable, which a null HMODULE stands for.
void* Executable() {
    static void* executable = dlopen(nullptr, RTLD_LAZY);
    return executable;
}

std::string ExecutablePath() {
    std::error_code error;
    fs::path path = fs::read_symlink("/proc/self/exe", error);
    return error ? std::string() : path.string();
}

std::string SystemFolder() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void*>(&LoadLibraryExA), &info) || !info.dli_fname) return std::string();
    std::error_code error;
    fs::path library = fs::canonical(info.dli_fname, error);
    return error ? std::string() : library.parent_path().string();
}

bool IsFile(const std::string& path) {
    struct stat info {};
    return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

// The platform's rule for names without a path: no extension means ".dll",
// and a trailing dot means "this name has no extension".
std::string WithDefaultExtension(std::string name) {
    if (name.back() == '.') name.pop_back();
    else if (name.find('.') == std::string::npos) name += ".dll";
    return name;
}

// The platform's system modules: on Linux their functions are this
// library's own exports, so their names load this library, and
// GetProcAddress(LoadLibraryExA("oleaut32.dll"), ...) finds the functions a
// caller looks up at run time.
bool IsSystemModule(const std::string& name) {
    for (const char* system : {"kernel32.dll", "advapi32.dll", "user32.dll", "ole32.dll", "oleaut32.dll"}) {
        if (strcasecmp(name.c_str(), system) == 0) return true;
    }
    return false;
}

std::string PlatformLibraryPath() {
    Dl_info info{};
    if (!dladdr(reinterpret_cast<void*>(&LoadLibraryExA), &info) || !info.dli_fname) return std::string();
    std::error_code error;
    fs::path library = fs::canonical(info.dli_fname, error);
    return error ? std::string() : library.string();
}

// The path of a module with this file name that is already loaded: the
// platform uses a loaded module of the same name before searching.
std::string LoadedPath(const std::string& name) {
    std::lock_guard<std::mutex> lock(modulesMutex);
    for (const Module& m : Modules()) {
        if (fs::path(m.path).filename() == name) return m.path;
    }
    return std::string();
}

std::string Search(const std::string& name) {
    std::vector<std::string> folders;
    folders.push_back(fs::path(ExecutablePath()).parent_path().string());
    static const std::string systemFolder = SystemFolder();
    folders.push_back(systemFolder);
    std::error_code error;
    folders.push_back(fs::current_path(error).string());
    if (const char* path = getenv("PATH")) {
        std::string list = path;
        for (size_t start = 0; start <= list.size();) {
            size_t end = list.find(':', start);
            if (end == std::string::npos) end = list.size();
            folders.push_back(list.substr(start, end - start));
            start = end + 1;
        }
    }
    for (const std::string& folder : folders) {
        if (folder.empty()) continue;
        std::string candidate = folder + "/" + name;
        if (IsFile(candidate)) return candidate;
    }
    return std::string();
}

// The platform's error for a file that was found but dlopen refused.
DWORD LoadError(const char* message) {
    const std::string text = message ? message : "";
    if (text.find("undefined symbol") != std::string::npos) return ERROR_PROC_NOT_FOUND;  // a missing import
    if (text.find("No such file") != std::string::npos) return ERROR_MOD_NOT_FOUND;       // a missing dependency
    if (text.find("Permission denied") != std::string::npos) return ERROR_ACCESS_DENIED;
    return ERROR_BAD_EXE_FORMAT;
}

// A symbol the module itself defines. dlsym also searches the module's
// dependencies, but the platform's exports are the module's own.
void* OwnSymbol(void* library, const char* name) {
    void* symbol = dlsym(library, name);
    if (!symbol) return nullptr;
    link_map* module = nullptr;
    link_map* owner = nullptr;
    Dl_info info{};
    if (dlinfo(library, RTLD_DI_LINKMAP, &module) != 0 ||
        !dladdr1(symbol, &info, reinterpret_cast<void**>(&owner), RTLD_DL_LINKMAP) || owner != module) {
        return nullptr;
    }
    return symbol;
}

// A module's exports in the order the platform's linker numbers them when
// nothing says otherwise, by name, so that ordinal n is the n-th name: the
// functions and data the module defines and shows. Left out are the
// loader's own entry points and our resource table, which stands in for the
// platform's resource section. Read from the file's symbol table; anything
// that is not a well-formed 64-bit module gives none.
std::vector<std::string> ExportNames(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    const std::vector<char> file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    auto fits = [&](uint64_t offset, uint64_t size) { return offset <= file.size() && size <= file.size() - offset; };
    Elf64_Ehdr header;
    if (!fits(0, sizeof header)) return {};
    std::memcpy(&header, file.data(), sizeof header);
    if (std::memcmp(header.e_ident, ELFMAG, SELFMAG) != 0 || header.e_ident[EI_CLASS] != ELFCLASS64 ||
        header.e_shentsize != sizeof(Elf64_Shdr) || !fits(header.e_shoff, uint64_t{header.e_shnum} * sizeof(Elf64_Shdr))) {
        return {};
    }
    auto section = [&](size_t i) {
        Elf64_Shdr s;
        std::memcpy(&s, file.data() + header.e_shoff + i * sizeof s, sizeof s);
        return s;
    };
    std::vector<std::string> names;
    for (size_t i = 0; i < header.e_shnum; ++i) {
        const Elf64_Shdr symbols = section(i);
        if (symbols.sh_type != SHT_DYNSYM || symbols.sh_link >= header.e_shnum || !fits(symbols.sh_offset, symbols.sh_size)) {
            continue;
        }
        const Elf64_Shdr strings = section(symbols.sh_link);
        if (!fits(strings.sh_offset, strings.sh_size)) continue;
        for (uint64_t at = sizeof(Elf64_Sym); at + sizeof(Elf64_Sym) <= symbols.sh_size; at += sizeof(Elf64_Sym)) {
            Elf64_Sym symbol;
            std::memcpy(&symbol, file.data() + symbols.sh_offset + at, sizeof symbol);
            const unsigned bind = ELF64_ST_BIND(symbol.st_info), type = ELF64_ST_TYPE(symbol.st_info);
            if (symbol.st_shndx == SHN_UNDEF || (bind != STB_GLOBAL && bind != STB_WEAK) ||
                (type != STT_FUNC && type != STT_OBJECT) || ELF64_ST_VISIBILITY(symbol.st_other) != STV_DEFAULT ||
                symbol.st_name >= strings.sh_size) {
                continue;
            }
            const char* name = file.data() + strings.sh_offset + symbol.st_name;
            const std::string text(name, strnlen(name, strings.sh_size - symbol.st_name));
            if (text != "_init" && text != "_fini" && text != OSTREL_RESOURCE_TABLE_SYMBOL) names.push_back(text);
        }
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

// The dlopen handle behind an HMODULE (null: the executable), or null.
// Called with modulesMutex held.
void* LibraryOf(HMODULE module) {
    if (!module) return Executable();
    Module* m = FindModule(module);
    return m ? m->library : nullptr;
}

template <typename T>
DWORD CopyName(const std::basic_string<T>& name, T* buffer, DWORD size) {
    if (!buffer || size == 0) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    if (name.size() < size) {
        name.copy(buffer, name.size());
        buffer[name.size()] = 0;
        SetLastError(ERROR_SUCCESS);  // the platform clears it on success
        return DWORD(name.size());
    }
    // Truncated and still terminated, as the platform does since Vista.
    name.copy(buffer, size - 1);
    buffer[size - 1] = 0;
    SetLastError(ERROR_INSUFFICIENT_BUFFER);
    return size;
}

// The module's file name, or false (with the last error) for an unknown one.
bool ModulePath(HMODULE module, std::string& path) {
    if (!module) {
        path = ExecutablePath();
        return true;
    }
    std::lock_guard<std::mutex> lock(modulesMutex);
    Module* m = FindModule(module);
    if (!m) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return false;
    }
    path = m->path;
    return true;
}

HMODULE Load(const char* fileName, DWORD flags) {
    if (!fileName || !*fileName) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    std::string path;
    if (std::strchr(fileName, '/')) {
        if (IsFile(fileName)) path = fileName;
        struct stat info {};
        if (path.empty() && stat(fileName, &info) == 0 && S_ISDIR(info.st_mode)) {
            SetLastError(ERROR_ACCESS_DENIED);  // a folder cannot be opened as a module's file
            return nullptr;
        }
    } else {
        const std::string name = WithDefaultExtension(fileName);
        if (IsSystemModule(name)) {
            path = PlatformLibraryPath();
        } else {
            path = LoadedPath(name);
            if (path.empty()) path = Search(name);
        }
    }
    if (path.empty()) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    std::error_code error;
    fs::path absolute = fs::absolute(path, error);
    if (!error) path = absolute.lexically_normal().string();

    // A module loaded only for its resources still gets loaded: a Linux
    // module cannot be mapped as data alone. Its symbols are then bound
    // lazily, so a missing import does not stop its resources being read.
    const bool dataOnly = flags & (DONT_RESOLVE_DLL_REFERENCES | LOAD_LIBRARY_AS_DATAFILE);
    // Outside the lock: the module's constructors may load modules too.
    void* library = dlopen(path.c_str(), (dataOnly ? RTLD_LAZY : RTLD_NOW) | RTLD_LOCAL);
    if (!library) {
        SetLastError(LoadError(dlerror()));
        return nullptr;
    }
    std::lock_guard<std::mutex> lock(modulesMutex);
    HMODULE handle = static_cast<HMODULE>(library);
    if (Module* m = FindModule(handle)) {
        ++m->loads;  // dlopen counts as well; each load is undone by one dlclose
    } else {
        Modules().push_back(Module{library, path, 1});
    }
    return handle;
}

}  // namespace

namespace ostrel::platform {

DWORD FindModuleResource(HMODULE module, const char* type, unsigned id, const void*& data, unsigned long& size) {
    const OstrelResourceEntry* entry = nullptr;
    const DWORD status = FindModuleResourceEntry(module, type, id, entry);
    if (status == ERROR_SUCCESS) {
        data = entry->data;
        size = entry->size;
    }
    return status;
}

DWORD FindModuleResourceEntry(HMODULE module, const char* type, unsigned id, const OstrelResourceEntry*& found) {
    std::lock_guard<std::mutex> lock(modulesMutex);
    void* library = LibraryOf(module);
    const auto* table =
        library ? static_cast<const OstrelResourceEntry*>(OwnSymbol(library, OSTREL_RESOURCE_TABLE_SYMBOL)) : nullptr;
    if (!table) return ERROR_RESOURCE_DATA_NOT_FOUND;
    bool typeFound = false;
    for (const OstrelResourceEntry* entry = table; entry->type; ++entry) {
        if (std::strcmp(entry->type, type) != 0) continue;
        typeFound = true;
        if (entry->id == id) {
            found = entry;
            return ERROR_SUCCESS;
        }
    }
    return typeFound ? ERROR_RESOURCE_NAME_NOT_FOUND : ERROR_RESOURCE_TYPE_NOT_FOUND;
}

}  // namespace ostrel::platform

HMODULE WINAPI LoadLibraryExA(LPCSTR lpLibFileName, HANDLE, DWORD dwFlags) {
    try {
        return Load(lpLibFileName, dwFlags);
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
}

HMODULE WINAPI LoadLibraryA(LPCSTR lpLibFileName) { return LoadLibraryExA(lpLibFileName, nullptr, 0); }

BOOL WINAPI FreeLibrary(HMODULE hLibModule) {
    if (!hLibModule) {
        SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    void* library;
    {
        std::lock_guard<std::mutex> lock(modulesMutex);
        Module* m = FindModule(hLibModule);
        if (!m) {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return FALSE;
        }
        library = m->library;
        if (--m->loads == 0) Modules().erase(Modules().begin() + (m - Modules().data()));
    }
    // Outside the lock: the module's destructors may free modules too.
    dlclose(library);
    return TRUE;
}

FARPROC WINAPI GetProcAddress(HMODULE hModule, LPCSTR lpProcName) {
    std::lock_guard<std::mutex> lock(modulesMutex);
    void* library = LibraryOf(hModule);
    if (!library) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    }
    void* symbol = nullptr;
    if (reinterpret_cast<uintptr_t>(lpProcName) < 0x10000) {
        // An export ordinal: numbered from 1 in the order of the names.
        const uintptr_t ordinal = reinterpret_cast<uintptr_t>(lpProcName);
        try {
            const Module* m = hModule ? FindModule(hModule) : nullptr;
            const std::vector<std::string> names = ExportNames(m ? m->path : ExecutablePath());
            if (ordinal >= 1 && ordinal <= names.size()) symbol = OwnSymbol(library, names[ordinal - 1].c_str());
        } catch (const std::bad_alloc&) {
            SetLastError(ERROR_NOT_ENOUGH_MEMORY);
            return nullptr;
        }
    } else {
        symbol = OwnSymbol(library, lpProcName);
    }
    if (!symbol) SetLastError(ERROR_PROC_NOT_FOUND);
    return reinterpret_cast<FARPROC>(symbol);
}

// A module loaded already, by file name (no reference is taken). The system
// modules count as loaded, as they are on the platform: the first request
// loads this library once for good. A null name answers null, which every
// function here takes as the executable.
HMODULE WINAPI GetModuleHandleW(LPCWSTR lpModuleName) {
    if (!lpModuleName) return nullptr;
    try {
        std::string name;
        for (; *lpModuleName; ++lpModuleName) name += *lpModuleName < 0x80 ? char(*lpModuleName) : '?';
        if (name.empty() || name.find('/') != std::string::npos) {
            SetLastError(ERROR_MOD_NOT_FOUND);
            return nullptr;
        }
        name = WithDefaultExtension(name);
        if (IsSystemModule(name)) {
            static const HMODULE platform = Load(PlatformLibraryPath().c_str(), 0);
            if (!platform) SetLastError(ERROR_MOD_NOT_FOUND);
            return platform;
        }
        std::lock_guard<std::mutex> lock(modulesMutex);
        for (const Module& m : Modules()) {
            if (strcasecmp(fs::path(m.path).filename().c_str(), name.c_str()) == 0) return HMODULE(m.library);
        }
        SetLastError(ERROR_MOD_NOT_FOUND);
        return nullptr;
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
}

BOOL WINAPI GetModuleHandleExW(DWORD dwFlags, LPCWSTR lpModuleName, HMODULE* phModule) {
    if (!phModule) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    *phModule = nullptr;
    // By an address inside the module, or by the name of one loaded already;
    // either way a load is counted unless asked not to.
    std::string path;
    try {
        if (dwFlags & GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS) {
            Dl_info info{};
            if (dladdr(lpModuleName, &info) && info.dli_fname && std::strchr(info.dli_fname, '/')) {
                path = info.dli_fname;
            }
        } else if (HMODULE named = GetModuleHandleW(lpModuleName)) {
            if (!ModulePath(named, path)) return FALSE;
        }
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    if (path.empty()) {
        SetLastError(ERROR_MOD_NOT_FOUND);
        return FALSE;
    }
    HMODULE module = nullptr;
    try {
        module = Load(path.c_str(), 0);
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return FALSE;
    }
    if (!module) return FALSE;
    if (dwFlags & GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT) {
        // The module is loaded already (the address is in it): give back the
        // count just taken, but keep the first, so the handle stays known.
        std::lock_guard<std::mutex> lock(modulesMutex);
        Module* m = FindModule(module);
        if (m && m->loads > 1) {
            --m->loads;
            dlclose(m->library);
        }
    }
    *phModule = module;
    return TRUE;
}

namespace {

// The table's name for a type given as a number or a text.
std::string ResourceType(LPCWSTR type) {
    if (IS_INTRESOURCE(type)) {
        switch (reinterpret_cast<ULONG_PTR>(type)) {
        case 6: return OSTREL_RT_STRING;
        case 11: return OSTREL_RT_MESSAGETABLE;
        case 16: return OSTREL_RT_VERSION;
        default: return std::string();
        }
    }
    std::string name;
    for (; *type; ++type) name += *type < 0x80 ? char(*type) : '?';
    return name;
}

}  // namespace

// Resources are numbered here; a resource named by text is never found.
HRSRC WINAPI FindResourceW(HMODULE hModule, LPCWSTR lpName, LPCWSTR lpType) {
    if (!lpType || !IS_INTRESOURCE(lpName)) {
        SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
        return nullptr;
    }
    const OstrelResourceEntry* entry = nullptr;
    const DWORD status = ostrel::platform::FindModuleResourceEntry(hModule, ResourceType(lpType).c_str(),
                                                                   unsigned(reinterpret_cast<ULONG_PTR>(lpName)), entry);
    if (status != ERROR_SUCCESS) {
        SetLastError(status);
        return nullptr;
    }
    return reinterpret_cast<HRSRC>(const_cast<OstrelResourceEntry*>(entry));
}

HGLOBAL WINAPI LoadResource(HMODULE, HRSRC hResInfo) {
    if (!hResInfo) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    return const_cast<void*>(reinterpret_cast<const OstrelResourceEntry*>(hResInfo)->data);
}

LPVOID WINAPI LockResource(HGLOBAL hResData) { return hResData; }

DWORD WINAPI SizeofResource(HMODULE, HRSRC hResInfo) {
    if (!hResInfo) {
        SetLastError(ERROR_INVALID_HANDLE);
        return 0;
    }
    return DWORD(reinterpret_cast<const OstrelResourceEntry*>(hResInfo)->size);
}

// The name comes back in the file system's own bytes rather than converted
// to the ANSI code page: a Linux path is a byte string, and these bytes are
// the ones that open the file again.
DWORD WINAPI GetModuleFileNameA(HMODULE hModule, LPSTR lpFilename, DWORD nSize) {
    try {
        std::string path;
        if (!ModulePath(hModule, path)) return 0;
        return CopyName(path, lpFilename, nSize);
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
}

// Linux paths are taken to be UTF-8.
DWORD WINAPI GetModuleFileNameW(HMODULE hModule, LPWSTR lpFilename, DWORD nSize) {
    try {
        std::string path;
        if (!ModulePath(hModule, path)) return 0;
        std::u16string wide;
        if (!path.empty()) {
            int length = MultiByteToWideChar(CP_UTF8, 0, path.data(), int(path.size()), nullptr, 0);
            wide.resize(size_t(length));
            MultiByteToWideChar(CP_UTF8, 0, path.data(), int(path.size()), wide.data(), length);
        }
        return CopyName(wide, lpFilename, nSize);
    } catch (const std::bad_alloc&) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return 0;
    }
}

#endif
