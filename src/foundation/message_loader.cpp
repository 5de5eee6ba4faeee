#include "foundation/message_loader.h"

#include <atomic>

namespace ostrel {
namespace {

// One handle for the process, kept without a lock: two threads that both
// find it empty both load the module; the one that loses the race to store
// its handle gives its load back.
std::atomic<HMODULE> messageModule{nullptr};

constexpr DWORD kLanguageUserDefault = 0x400;

// The system's text for a Win32 error number, or false when it has none.
bool SystemText(DWORD error, WString& text, const WString& prefix) {
    LPSTR buffer = nullptr;
    DWORD n = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM, nullptr, error,
                             kLanguageUserDefault, reinterpret_cast<LPSTR>(&buffer), 0, nullptr);
    bool found = n != 0 && buffer != nullptr;
    if (found) text = prefix + Widen(buffer, n);
    if (buffer) LocalFree(buffer);
    return found;
}

}  // namespace

void LoadVoMessage(DWORD number, WString& text, va_list* inserts) {
    HMODULE module = messageModule.load(std::memory_order_acquire);
    if (!module) {
        HMODULE loaded = LoadLibraryExA("VoMessages.dll", nullptr, DONT_RESOLVE_DLL_REFERENCES);
        if (!loaded) {
            SystemText(GetLastError(), text, OLESTR("File VoMessages.dll could not be loaded: "));
            return;
        }
        if (messageModule.compare_exchange_strong(module, loaded, std::memory_order_acq_rel)) {
            module = loaded;
        } else {
            FreeLibrary(loaded);  // another thread stored its handle first; module now holds it
        }
    }

    LPSTR buffer = nullptr;
    DWORD n = FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_HMODULE | FORMAT_MESSAGE_FROM_SYSTEM,
                             module, number, kLanguageUserDefault, reinterpret_cast<LPSTR>(&buffer), 0,
                             inserts);
    if (n != 0 && buffer != nullptr) {
        text = Widen(buffer, n);
    } else if (!SystemText(GetLastError(), text, WString())) {
        text = OLESTR("Failed to load (error)message from module");
    }
    if (buffer) LocalFree(buffer);
}

WString FormatVoMessage(DWORD number, ...) {
    WString text;
    va_list inserts;
    va_start(inserts, number);
    try {
        LoadVoMessage(number, text, &inserts);
    } catch (...) {
        va_end(inserts);
        throw;
    }
    va_end(inserts);
    return text;
}

}  // namespace ostrel
