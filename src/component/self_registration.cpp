#include "component/self_registration.h"

#include <Ostrel.h>

#include <new>
#include <vector>

#include "component/registrar.h"

namespace ostrel {
namespace {

// The script puts %MODULE% inside single quotes, where a quote is written
// twice; a folder named with a quote would otherwise end the text early.
WString QuotedText(const WString& text) {
    WString out;
    for (OLECHAR c : text) {
        out += c;
        if (c == OLESTR('\'')) out += OLESTR('\'');
    }
    return out;
}

WString GuidText(REFGUID guid) {
    OLECHAR text[40];
    StringFromGUID2(guid, text, 40);
    return text;
}

HRESULT LastError() {
    const DWORD error = GetLastError();
    return error ? HRESULT_FROM_WIN32(error) : E_FAIL;
}

WString Folder(const WString& path) {
    const size_t slash = path.find_last_of(OLESTR("/\\"));
    return slash == WString::npos ? WString() : path.substr(0, slash);
}

using UnRegisterTypeLibFn = HRESULT(WINAPI*)(REFGUID, WORD, WORD, LCID, SYSKIND);

}  // namespace

HRESULT RunClassScripts(std::span<const ClassEntry> classes, const ScriptSource& source,
                        const WString& modulePath, bool registering) noexcept {
    try {
        Replacements replacements{{OLESTR("MODULE"), QuotedText(modulePath)}, {OLESTR("CLSID"), OLESTR("")}};
        unsigned id = kFirstScriptId;
        for (const ClassEntry& entry : classes) {
            WString script;
            HRESULT hr = source(id++, script);
            if (SUCCEEDED(hr)) {
                replacements[OLESTR("CLSID")] = GuidText(*entry.clsid);
                hr = RunRegistryScript(script, replacements, registering);
            }
            if (FAILED(hr) && registering) return hr;
        }
        return S_OK;
    } catch (const std::bad_alloc&) {
        return registering ? E_OUTOFMEMORY : S_OK;
    }
}

HRESULT ModuleScript(HMODULE module, unsigned id, WString& script) noexcept {
    HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(id), OLESTR("REGISTRY"));
    if (!found) return LastError();
    const auto* bytes = static_cast<const char*>(LockResource(LoadResource(module, found)));
    const DWORD size = SizeofResource(module, found);
    if (!bytes) return LastError();
    if (size == 0) {
        script.clear();
        return S_OK;
    }
    const int length = MultiByteToWideChar(CP_ACP, 0, bytes, int(size), nullptr, 0);
    if (length <= 0) return LastError();
    try {
        script.resize(size_t(length));
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
    MultiByteToWideChar(CP_ACP, 0, bytes, int(size), script.data(), length);
    return S_OK;
}

HRESULT OwnModule(HMODULE& module, WString& path) noexcept {
    if (!GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                            reinterpret_cast<LPCWSTR>(&OwnModule), &module)) {
        return LastError();
    }
    try {
        std::vector<OLECHAR> name(MAX_PATH);
        for (;;) {
            const DWORD length = GetModuleFileNameW(module, name.data(), DWORD(name.size()));
            if (length == 0) return LastError();
            if (length < name.size()) {
                path.assign(name.data(), length);
                return S_OK;
            }
            name.resize(name.size() * 2);  // truncated: try again with more room
        }
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

HRESULT RegisterTypeLibraryOf(const WString& path) noexcept {
    try {
        ITypeLib* library = nullptr;
        HRESULT hr = LoadTypeLib(path.c_str(), &library);
        if (FAILED(hr)) return hr;
        WString folder = Folder(path);
        // MinGW's headers declare both paths without const; the call reads them only.
        hr = RegisterTypeLib(library, const_cast<OLECHAR*>(path.c_str()),
                             folder.empty() ? nullptr : const_cast<OLECHAR*>(folder.c_str()));
        library->Release();
        return hr;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

void UnregisterTypeLibraryOf(const WString& path) noexcept {
    ITypeLib* library = nullptr;
    if (FAILED(LoadTypeLib(path.c_str(), &library))) return;
    TLIBATTR* attributes = nullptr;
    if (SUCCEEDED(library->GetLibAttr(&attributes))) {
        // Looked up at run time, as the function came late to the automation
        // library; without it there is nothing to undo.
        HMODULE automation = LoadLibraryExA("oleaut32.dll", nullptr, 0);
        auto unregister = automation ? reinterpret_cast<UnRegisterTypeLibFn>(
                                           reinterpret_cast<void*>(GetProcAddress(automation, "UnRegisterTypeLib")))
                                     : nullptr;
        if (unregister) {
            unregister(attributes->guid, attributes->wMajorVerNum, attributes->wMinorVerNum, attributes->lcid,
                       attributes->syskind);
        }
        if (automation) FreeLibrary(automation);
        library->ReleaseTLibAttr(attributes);
    }
    library->Release();
}

}  // namespace ostrel
