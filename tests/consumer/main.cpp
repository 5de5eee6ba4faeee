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

    // A calendar built and read back through the component interfaces.
    IVoRules* rules = nullptr;
    if (FAILED(CoCreateInstance(CLSID_VoRules, nullptr, CLSCTX_INPROC_SERVER, IID_IVoRules,
                                reinterpret_cast<void**>(&rules)))) {
        status = 5;
    } else {
        const DATE anyDay = 37622.0;  // 2003-01-01
        rules->AddRule(anyDay + 8 / 24.0, anyDay + 12 / 24.0, TRUE, crWorkingHour);
        IUnknown* found = nullptr;
        IEnumRules* e = nullptr;
        tagRULE rule = {};
        ULONG fetched = 0;
        if (FAILED(rules->EnumRules(45000.0, crAll, &found)) ||
            FAILED(found->QueryInterface(IID_IEnumRules, reinterpret_cast<void**>(&e))) ||
            e->Next(1, &rule, &fetched) != S_OK || rule.crRule != crWorkingHour)
            status = 6;
        if (e) e->Release();
        if (found) found->Release();
        // An overlapping rule is refused with a text the message module need not supply.
        if (rules->AddRule(anyDay + 9 / 24.0, anyDay + 10 / 24.0, TRUE, crWorkingHour) != DISP_E_EXCEPTION)
            status = 7;
        rules->Release();
    }

    CoUninitialize();
    std::puts(status == 0 ? "consumer: ok" : "consumer: FAILED");
    return status;
}
