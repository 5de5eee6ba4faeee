// The library's entry point for the Windows loader. On Linux there is none:
// the library's state is made on first use and the C++ runtime tears it down
// at unload.
#include <windows.h>

#include "component/module_state.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID reserved) {
    switch (reason) {
    case DLL_PROCESS_ATTACH:
        // Nothing here is kept per thread, so thread notifications would only
        // cost every thread start and end a call into the library.
        DisableThreadLibraryCalls(instance);
        ostrel::AttachModule();
        break;
    case DLL_PROCESS_DETACH:
        // At process exit (reserved set) other threads were stopped wherever
        // they were, possibly holding the lock: leave it alone then.
        if (!reserved) ostrel::DetachModule();
        break;
    default:
        break;
    }
    return TRUE;
}
