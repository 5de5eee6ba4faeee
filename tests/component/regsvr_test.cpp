// ostrel-regsvr as scripts use it: exit codes, output, /u, /s and /t1.
#include <Ostrel.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>

#include "component_registry.h"
#include "test_support.h"

namespace {

std::string FileText(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream s;
    s << in.rdbuf();
    return s.str();
}

struct Outcome {
    int code = -1;
    std::string out, err;
};

// Runs the tool through the shell, which hands back its exit code in a file.
Outcome RunTool(const std::string& arguments, const std::string& environment = "") {
    const std::string out = "regsvr_test.out", err = "regsvr_test.err", code = "regsvr_test.code";
    const std::string command = environment + " '" OSTREL_REGSVR_PATH "' " + arguments + " >" + out + " 2>" + err +
                                "; echo $? >" + code;
    Outcome outcome;
    if (std::system(command.c_str()) != 0) return outcome;
    outcome.code = std::atoi(FileText(code).c_str());
    outcome.out = FileText(out);
    outcome.err = FileText(err);
    return outcome;
}

bool Registered(const OLECHAR* progId) {
    CLSID clsid = GUID_NULL;
    return CLSIDFromProgID(progId, &clsid) == S_OK;
}

bool TypeLibRegistered(WORD major) {
    ITypeLib* library = nullptr;
    if (LoadRegTypeLib(LIBID_OSTRELLib, major, 0, 0x409, &library) != S_OK) return false;
    library->Release();
    return true;
}

class Regsvr : public ::testing::Test {
protected:
    test::LibraryUnregistered unregistered_;
    const std::string library = "'" OSTREL_SERVER_PATH "'";
};

TEST_F(Regsvr, ExitCodesAndMessages) {
    const struct {
        std::string arguments;
        int code;
        std::string out, err;  // text each must contain; "" for empty output
    } cases[] = {
        {"--help", 0, "usage: ostrel-regsvr", ""},
        {"", 1, "", "no library given"},
        {"-x " + library, 1, "", "unknown switch -x"},
        {library + " " + library, 1, "", "more than one library"},
        {"/nonexistent/libGone.so", 3, "", "0x8007007E (The specified module could not be found.)"},
        {"'" OSTREL_PLATFORM_PATH "'", 4, "", "has no entry point DllRegisterServer"},
        {"/s " + library, 0, "", ""},
        {"/U " + library, 0, "DllUnregisterServer in", ""},
        {library, 0, "DllRegisterServer in", ""},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.arguments);
        const Outcome o = RunTool(c.arguments);
        EXPECT_EQ(o.code, c.code) << o.err;
        if (c.out.empty()) EXPECT_EQ(o.out, "");
        else EXPECT_NE(o.out.find(c.out), std::string::npos) << o.out;
        if (c.err.empty()) EXPECT_EQ(o.err, "");
        else EXPECT_NE(o.err.find(c.err), std::string::npos) << o.err;
    }
}

TEST_F(Regsvr, TheVersion1TypeLibraryOnlyOnRequest) {
    ASSERT_EQ(RunTool("/s " + library).code, 0);
    EXPECT_TRUE(Registered(OLESTR("VoSchedule.VoScheduler")));
    EXPECT_TRUE(TypeLibRegistered(2));
    EXPECT_FALSE(TypeLibRegistered(1));

    const Outcome registered = RunTool("/t1 " + library);
    ASSERT_EQ(registered.code, 0) << registered.err;
    EXPECT_NE(registered.out.find("Type library OstrelLib-1.0.tlb registered."), std::string::npos);
    EXPECT_TRUE(TypeLibRegistered(1));

    // Late binding now finds its library.
    CoInitialize(nullptr);
    CLSID clsid = GUID_NULL;
    IDispatch* calculator = nullptr;
    ASSERT_HR(S_OK, CLSIDFromProgID(OLESTR("VoService.VoCalculator"), &clsid));
    ASSERT_HR(S_OK, CoCreateInstance(clsid, nullptr, CLSCTX_INPROC_SERVER, IID_IDispatch,
                                     reinterpret_cast<void**>(&calculator)));
    ITypeInfo* info = nullptr;
    EXPECT_HR(S_OK, calculator->GetTypeInfo(0, 0x409, &info));
    if (info) info->Release();
    calculator->Release();
    CoUninitialize();

    EXPECT_EQ(RunTool("/u /s /t1 " + library).code, 0);
    EXPECT_FALSE(Registered(OLESTR("VoSchedule.VoScheduler")));
    EXPECT_FALSE(TypeLibRegistered(1));
    EXPECT_FALSE(TypeLibRegistered(2));
    // Unregistering a 1.0 library that is not registered is reported.
    const Outcome again = RunTool("/u /t1 " + library);
    EXPECT_EQ(again.code, 5);
    EXPECT_NE(again.err.find("unregistering OstrelLib-1.0.tlb failed"), std::string::npos) << again.err;
}

TEST_F(Regsvr, ADamagedRegistryIsReported) {
    const std::string file = "regsvr_test.damaged";
    std::ofstream(file, std::ios::binary | std::ios::trunc) << "not a registry file\n";
    const Outcome o = RunTool(library, "OSTREL_REGISTRY=" + file);
    EXPECT_EQ(o.code, 5);
    EXPECT_NE(o.err.find("DllRegisterServer in " OSTREL_SERVER_PATH " failed: 0x800703F1 (The configuration "
                         "registry database is corrupt.)"),
              std::string::npos)
        << o.err;
    EXPECT_EQ(o.out, "");
    EXPECT_EQ(FileText(file), "not a registry file\n");
    std::remove(file.c_str());
}

}  // namespace
