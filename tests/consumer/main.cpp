// A host's first steps: the platform API and the type library's identifiers
// come from <Ostrel.h>, and the message module is found beside the library.
#include <Ostrel.h>

#include <cstdio>

int main() {
    if (FAILED(CoInitialize(nullptr))) return 1;

    BSTR text = SysAllocString(OLESTR("Ostrel"));
    int status = SysStringLen(text) == 6 ? 0 : 2;
    SysFreeString(text);

    if (IsEqualGUID(LIBID_OSTRELLib, GUID_NULL)) status = 3;
    task_key key = {};
    key.Level = 1;
    VariantInit(&key.Value);

    HMODULE messages = LoadLibraryExA("VoMessages.dll", nullptr, DONT_RESOLVE_DLL_REFERENCES);
    if (!messages) {
        std::fprintf(stderr, "VoMessages.dll not found beside the installed library (error %u)\n",
                     unsigned(GetLastError()));
        status = 4;
    }

    CoUninitialize();
    std::puts(status == 0 ? "consumer: ok" : "consumer: FAILED");
    return status;
}
