// ostrel-regsvr [/u] [/s] [/t1] LIBRARY: loads a component library and calls
// its DllRegisterServer (or with /u DllUnregisterServer), as the platform's
// regsvr32 does, with the same exit codes.
#include <windows.h>

#include <cctype>
#include <cstdio>
#include <iostream>
#include <string>

namespace {

using OleString = std::basic_string<OLECHAR>;

// regsvr32's exit codes, so scripts written for it read ours the same way.
enum ExitCode { kSucceeded = 0, kBadArguments = 1, kRuntimeFailed = 2, kLoadFailed = 3, kNoEntryPoint = 4,
                kCallFailed = 5 };

// The version 1.0 type library the package installs beside the library.
constexpr char kTypeLib1File[] = "OstrelLib-1.0.tlb";

const char kUsage[] =
    "usage: ostrel-regsvr [/u] [/s] [/t1] LIBRARY\n"
    "\n"
    "Registers a component library by calling its DllRegisterServer entry point.\n"
    "\n"
    "  /u    unregister instead (DllUnregisterServer)\n"
    "  /s    silent: no message on success (failures still go to stderr)\n"
    "  /t1   also register (with /u: unregister) the version 1.0 type library\n"
    "        OstrelLib-1.0.tlb installed beside the library, which late-bound\n"
    "        calls by name need\n"
    "\n"
    "Switches may also start with '-'."
#ifndef _WIN32
    " The registry is the file named by\n"
    "$OSTREL_REGISTRY, else $XDG_CONFIG_HOME/ostrel/registry, else\n"
    "~/.config/ostrel/registry."
#endif
    "\n"
    "\n"
    "Exit codes: 0 done, 1 bad arguments, 2 the component runtime did not start,\n"
    "3 the library could not be loaded, 4 it has no such entry point,\n"
    "5 registration failed.\n"
    "\n"
#ifdef _WIN32
    "example: ostrel-regsvr /t1 C:\\Ostrel\\Ostrel.dll\n";
#else
    "example: ostrel-regsvr /t1 /usr/lib/x86_64-linux-gnu/libOstrel.so\n";
#endif

// "0x80070002 (The system cannot find the file specified.)"
std::string Describe(HRESULT hr) {
    char number[16];
    std::snprintf(number, sizeof number, "0x%08X", unsigned(hr));
    std::string text = number;
    char* message = nullptr;
    const DWORD length = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                                            FORMAT_MESSAGE_IGNORE_INSERTS,
                                        nullptr, DWORD(hr), 0, reinterpret_cast<LPSTR>(&message), 0, nullptr);
    if (length && message) {
        std::string said(message, length);
        while (!said.empty() && (said.back() == '\n' || said.back() == '\r' || said.back() == ' ')) said.pop_back();
        if (!said.empty()) text += " (" + said + ")";
    }
    if (message) LocalFree(message);
    return text;
}

HRESULT LastError() {
    const DWORD error = GetLastError();
    return error ? HRESULT_FROM_WIN32(error) : E_FAIL;
}

OleString ModulePath(HMODULE module) {
    OleString path(MAX_PATH, OLESTR('\0'));
    for (;;) {
        const DWORD length = GetModuleFileNameW(module, path.data(), DWORD(path.size()));
        if (length == 0) return OleString();
        if (length < path.size()) return path.substr(0, length);
        path.resize(path.size() * 2);
    }
}

OleString Folder(const OleString& path) {
    const size_t slash = path.find_last_of(OLESTR("/\\"));
    return slash == OleString::npos ? OleString(OLESTR(".")) : path.substr(0, slash);
}

// Registers or unregisters the 1.0 type library file beside the module.
HRESULT TypeLib1(HMODULE module, bool registering) {
    const OleString folder = Folder(ModulePath(module));
    OleString file = folder + OLESTR("/");
    for (const char* c = kTypeLib1File; *c; ++c) file += OLECHAR(*c);
    ITypeLib* library = nullptr;
    HRESULT hr = LoadTypeLibEx(file.c_str(), REGKIND_NONE, &library);
    if (FAILED(hr)) return hr;
    if (registering) {
        // MinGW's headers declare both paths without const; the call reads them only.
        hr = RegisterTypeLib(library, const_cast<OLECHAR*>(file.c_str()), const_cast<OLECHAR*>(folder.c_str()));
    } else {
        TLIBATTR* attributes = nullptr;
        hr = library->GetLibAttr(&attributes);
        if (SUCCEEDED(hr)) {
            hr = UnRegisterTypeLib(attributes->guid, attributes->wMajorVerNum, attributes->wMinorVerNum,
                                   attributes->lcid, attributes->syskind);
            library->ReleaseTLibAttr(attributes);
        }
    }
    library->Release();
    return hr;
}

struct Options {
    bool unregister = false, silent = false, typeLib1 = false;
    std::string library;
};

// False (after saying why) for arguments that are not understood.
bool Parse(int argc, char** argv, Options& options, bool& help) {
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--help" || a == "-h" || a == "/?" || a == "-?") {
            help = true;
            return true;
        }
        // A leading '/' is a switch only when it names one: Linux paths start with it too.
        if (a.size() > 1 && (a[0] == '/' || a[0] == '-')) {
            std::string name = a.substr(1);
            for (char& c : name) c = char(std::tolower(static_cast<unsigned char>(c)));
            bool* flag = name == "u" ? &options.unregister : name == "s" ? &options.silent
                       : name == "t1" ? &options.typeLib1 : nullptr;
            if (flag) {
                *flag = true;
                continue;
            }
            if (a[0] == '-') {
                std::cerr << "ostrel-regsvr: unknown switch " << a << "\n";
                return false;
            }
        }
        if (!options.library.empty()) {
            std::cerr << "ostrel-regsvr: more than one library given\n";
            return false;
        }
        options.library = a;
    }
    if (options.library.empty()) {
        std::cerr << "ostrel-regsvr: no library given\n";
        return false;
    }
    return true;
}

int Run(const Options& options) {
    const char* entryName = options.unregister ? "DllUnregisterServer" : "DllRegisterServer";
    HMODULE module = LoadLibraryExA(options.library.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (!module) {
        std::cerr << "ostrel-regsvr: " << options.library << " could not be loaded: " << Describe(LastError())
                  << "\n";
        return kLoadFailed;
    }
    int code = kSucceeded;
    auto entry = reinterpret_cast<HRESULT(STDAPICALLTYPE*)()>(
        reinterpret_cast<void*>(GetProcAddress(module, entryName)));
    if (!entry) {
        std::cerr << "ostrel-regsvr: " << options.library << " has no entry point " << entryName << "\n";
        code = kNoEntryPoint;
    } else {
        // The 1.0 library goes last on registering and first on unregistering.
        HRESULT hr = S_OK;
        if (options.typeLib1 && options.unregister) {
            hr = TypeLib1(module, false);
            if (FAILED(hr)) {
                std::cerr << "ostrel-regsvr: unregistering " << kTypeLib1File << " failed: " << Describe(hr) << "\n";
                code = kCallFailed;
            }
        }
        hr = entry();
        if (FAILED(hr)) {
            std::cerr << "ostrel-regsvr: " << entryName << " in " << options.library << " failed: " << Describe(hr)
                      << "\n";
            code = kCallFailed;
        } else if (!options.silent) {
            std::cout << entryName << " in " << options.library << " succeeded.\n";
        }
        if (code == kSucceeded && options.typeLib1 && !options.unregister) {
            hr = TypeLib1(module, true);
            if (FAILED(hr)) {
                std::cerr << "ostrel-regsvr: registering " << kTypeLib1File << " failed: " << Describe(hr) << "\n";
                code = kCallFailed;
            } else if (!options.silent) {
                std::cout << "Type library " << kTypeLib1File << " registered.\n";
            }
        } else if (code == kSucceeded && options.typeLib1 && !options.silent) {
            std::cout << "Type library " << kTypeLib1File << " unregistered.\n";
        }
    }
    FreeLibrary(module);
    return code;
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    bool help = false;
    if (!Parse(argc, argv, options, help)) {
        std::cerr << kUsage;
        return kBadArguments;
    }
    if (help) {
        std::cout << kUsage;
        return kSucceeded;
    }
    if (FAILED(CoInitialize(nullptr))) {
        std::cerr << "ostrel-regsvr: the component runtime could not be started\n";
        return kRuntimeFailed;
    }
    const int code = Run(options);
    CoUninitialize();
    return code;
}
