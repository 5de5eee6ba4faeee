// The built type library read by LoadTypeLibEx: what ITypeLib and ITypeInfo
// report of it (checked against what the platform reports for the same file),
// and damaged copies of it refused without a crash.
#define INITGUID  // the identifiers this test compares with, defined here
#include <Ostrel.h>

#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "test_support.h"

namespace {

OleString Wide(const std::string& s) { return OleString(s.begin(), s.end()); }

struct Lib {
    ITypeLib* p = nullptr;
    explicit Lib(const char* file) { EXPECT_HR(S_OK, LoadTypeLibEx(Wide(file).c_str(), REGKIND_NONE, &p)); }
    ~Lib() {
        if (p) p->Release();
    }
};

struct Info {
    ITypeInfo* p = nullptr;
    TYPEATTR* attr = nullptr;
    Info() = default;
    Info(const Info&) = delete;
    ~Info() {
        if (attr) p->ReleaseTypeAttr(attr);
        if (p) p->Release();
    }
    bool Load() { return p && SUCCEEDED(p->GetTypeAttr(&attr)); }
};

std::string Name(ITypeInfo* info, MEMBERID memid = MEMBERID_NIL) {
    BSTR name = nullptr;
    info->GetDocumentation(memid, &name, nullptr, nullptr, nullptr);
    std::string text = test::Utf8(name);
    SysFreeString(name);
    return text;
}

TEST(TypeLib, LibraryAttributesAndDocumentation) {
    Lib lib(OSTREL_TYPELIB_FILE);
    ASSERT_TRUE(lib.p);
    TLIBATTR* attr = nullptr;
    ASSERT_HR(S_OK, lib.p->GetLibAttr(&attr));
    EXPECT_TRUE(IsEqualGUID(attr->guid, LIBID_OSTRELLib));
    EXPECT_EQ(attr->lcid, 0x409u);
    EXPECT_EQ(attr->syskind, SYS_WIN64);
    EXPECT_EQ(attr->wMajorVerNum, 2);
    EXPECT_EQ(attr->wMinorVerNum, 0);
    EXPECT_EQ(attr->wLibFlags, LIBFLAG_FHASDISKIMAGE);
    lib.p->ReleaseTLibAttr(attr);
    EXPECT_EQ(lib.p->GetTypeInfoCount(), 33u);

    BSTR name = nullptr, doc = nullptr, file = nullptr;
    ASSERT_HR(S_OK, lib.p->GetDocumentation(-1, &name, &doc, nullptr, &file));
    EXPECT_EQ(test::Utf8(name), "OSTRELLib");
    EXPECT_EQ(test::Utf8(doc), "Marrowby Type Library 2.0");
    EXPECT_EQ(file, nullptr);
    SysFreeString(name);
    SysFreeString(doc);
    EXPECT_HR(TYPE_E_ELEMENTNOTFOUND, lib.p->GetDocumentation(33, &name, nullptr, nullptr, nullptr));

    Lib v1(OSTREL_TYPELIB_V1_FILE);
    ASSERT_HR(S_OK, v1.p->GetLibAttr(&attr));
    EXPECT_EQ(attr->wMajorVerNum, 1);
    v1.p->ReleaseTLibAttr(attr);
    ASSERT_HR(S_OK, v1.p->GetDocumentation(-1, nullptr, &doc, nullptr, nullptr));
    EXPECT_EQ(test::Utf8(doc), "Marrowby Type Library 1.0");
    SysFreeString(doc);

    // A hash of 0 asks the library to compute it. Wine differs from the
    // documented platform here: it takes 0 for the hash and finds nothing.
    const bool wine = test::UnderWine();
    OLECHAR buffer[] = OLESTR("ivorules");
    BOOL found = FALSE;
    EXPECT_HR(S_OK, lib.p->IsName(buffer, 0, &found));
    EXPECT_EQ(found, !wine);
    EXPECT_EQ(test::Utf8(buffer), wine ? "ivorules" : "IVoRules");  // written back in the library's spelling
    ITypeInfo* infos[2] = {};
    MEMBERID ids[2] = {};
    USHORT count = 2;
    EXPECT_HR(S_OK, lib.p->FindName(buffer, 0, infos, ids, &count));
    if (wine) {
        EXPECT_EQ(count, 0);
        return;
    }
    ASSERT_EQ(count, 1);
    EXPECT_EQ(ids[0], MEMBERID_NIL);
    infos[0]->Release();
}

// Kinds, sizes and flags as the platform reports them for this file.
TEST(TypeLib, TypeAttributesAsThePlatformReportsThem) {
    Lib lib(OSTREL_TYPELIB_FILE);
    struct Row {
        const char* name;
        TYPEKIND kind;
        WORD funcs, vars, impls, vft, alignment, flags;
        ULONG size;
    } rows[] = {
        {"tagCONSTRAINT", TKIND_ENUM, 0, 9, 0, 0, 4, 0, 4},
        {"task_key", TKIND_RECORD, 0, 3, 0, 0, 8, 0, 32},
        {"tagScheduleData", TKIND_RECORD, 0, 14, 0, 0, 8, 0, 144},
        {"IEnumRules", TKIND_INTERFACE, 4, 0, 1, 56, 8, 0, 8},
        {"VoScheduler", TKIND_COCLASS, 0, 0, 2, 0, 4, TYPEFLAG_FCANCREATE, 8},
        {"IVoAvailability", TKIND_DISPATCH, 29, 0, 1, 56, 8, TYPEFLAG_FDUAL | TYPEFLAG_FDISPATCHABLE, 8},
        {"IReadWriteLock", TKIND_INTERFACE, 8, 0, 1, 88, 8, 0, 8},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        Info info;
        bool seen = false;
        for (UINT i = 0; i < lib.p->GetTypeInfoCount() && !seen; ++i) {
            ITypeInfo* candidate = nullptr;
            lib.p->GetTypeInfo(i, &candidate);
            if (Name(candidate) == row.name) {
                info.p = candidate;
                seen = true;
                TYPEKIND kind;
                EXPECT_HR(S_OK, lib.p->GetTypeInfoType(i, &kind));
                EXPECT_EQ(kind, row.kind);
            } else {
                candidate->Release();
            }
        }
        ASSERT_TRUE(seen && info.Load());
        EXPECT_EQ(info.attr->typekind, row.kind);
        EXPECT_EQ(info.attr->cFuncs, row.funcs);
        EXPECT_EQ(info.attr->cVars, row.vars);
        EXPECT_EQ(info.attr->cImplTypes, row.impls);
        EXPECT_EQ(info.attr->cbSizeVft, row.vft);
        EXPECT_EQ(info.attr->cbAlignment, row.alignment);
        EXPECT_EQ(info.attr->wTypeFlags, row.flags);
        EXPECT_EQ(info.attr->cbSizeInstance, row.size);
    }
}

TEST(TypeLib, DualInterfaceHasDispatchAndInterfaceViews) {
    Lib lib(OSTREL_TYPELIB_FILE);
    Info disp, iface;
    ASSERT_HR(S_OK, lib.p->GetTypeInfoOfGuid(IID_IVoAvailability, &disp.p));
    ASSERT_TRUE(disp.Load());
    HREFTYPE ref = 0;
    ASSERT_HR(S_OK, disp.p->GetRefTypeOfImplType(UINT(-1), &ref));
    ASSERT_HR(S_OK, disp.p->GetRefTypeInfo(ref, &iface.p));
    ASSERT_TRUE(iface.Load());
    EXPECT_EQ(iface.attr->typekind, TKIND_INTERFACE);
    EXPECT_EQ(iface.attr->cFuncs, 22);
    EXPECT_EQ(iface.attr->cbSizeVft, 232);
    EXPECT_EQ(iface.attr->wTypeFlags, TYPEFLAG_FDUAL | TYPEFLAG_FOLEAUTOMATION | TYPEFLAG_FDISPATCHABLE);

    // The dispatch view lists IUnknown's and IDispatch's members first, and
    // turns [out, retval] into the result: CalcWorkingHours returns a double.
    FUNCDESC* func = nullptr;
    ASSERT_HR(S_OK, disp.p->GetFuncDesc(0, &func));
    EXPECT_EQ(Name(disp.p, func->memid), "QueryInterface");
    EXPECT_EQ(func->funckind, FUNC_DISPATCH);
    disp.p->ReleaseFuncDesc(func);
    ASSERT_HR(S_OK, disp.p->GetFuncDesc(9, &func));
    EXPECT_EQ(func->memid, 0x60020002);
    EXPECT_EQ(func->cParams, 2);
    EXPECT_EQ(func->elemdescFunc.tdesc.vt, VT_R8);
    disp.p->ReleaseFuncDesc(func);
    ASSERT_HR(S_OK, iface.p->GetFuncDesc(2, &func));
    EXPECT_EQ(func->funckind, FUNC_PUREVIRTUAL);
    EXPECT_EQ(func->oVft, 72);
    EXPECT_EQ(func->cParams, 3);
    EXPECT_EQ(func->elemdescFunc.tdesc.vt, VT_HRESULT);
    EXPECT_EQ(func->lprgelemdescParam[2].tdesc.vt, VT_PTR);
    EXPECT_EQ(func->lprgelemdescParam[2].tdesc.lptdesc->vt, VT_R8);
    EXPECT_EQ(func->lprgelemdescParam[2].paramdesc.wParamFlags, PARAMFLAG_FOUT | PARAMFLAG_FRETVAL);
    iface.p->ReleaseFuncDesc(func);
    EXPECT_HR(TYPE_E_ELEMENTNOTFOUND, iface.p->GetFuncDesc(22, &func));

    BSTR names[4] = {};
    UINT count = 0;
    ASSERT_HR(S_OK, iface.p->GetNames(0x60020002, names, 4, &count));
    ASSERT_EQ(count, 4u);
    EXPECT_EQ(test::Utf8(names[3]), "dblHours");
    for (BSTR n : names) SysFreeString(n);
    ASSERT_HR(S_OK, iface.p->GetNames(0x60010003, names, 1, &count));  // inherited from IDispatch
    EXPECT_EQ(test::Utf8(names[0]), "Invoke");
    SysFreeString(names[0]);

    // Both views derive from IDispatch, which derives from IUnknown.
    Info base, root;
    ASSERT_HR(S_OK, iface.p->GetRefTypeOfImplType(0, &ref));
    ASSERT_HR(S_OK, iface.p->GetRefTypeInfo(ref, &base.p));
    EXPECT_EQ(Name(base.p), "IDispatch");
    ASSERT_HR(S_OK, base.p->GetRefTypeOfImplType(0, &ref));
    ASSERT_HR(S_OK, base.p->GetRefTypeInfo(ref, &root.p));
    EXPECT_EQ(Name(root.p), "IUnknown");

    ITypeLib* containing = nullptr;
    UINT index = 99;
    ASSERT_HR(S_OK, iface.p->GetContainingTypeLib(&containing, &index));
    EXPECT_EQ(containing, lib.p);
    containing->Release();
    TYPEKIND kind;
    lib.p->GetTypeInfoType(index, &kind);
    EXPECT_EQ(kind, TKIND_DISPATCH);

    void* address = nullptr;
    EXPECT_HR(TYPE_E_BADMODULEKIND, iface.p->AddressOfMember(0x60020002, INVOKE_FUNC, &address));
    EXPECT_HR(TYPE_E_BADMODULEKIND, iface.p->GetDllEntry(0x60020002, INVOKE_FUNC, nullptr, nullptr, nullptr));
    // Only a class makes instances. Wine differs from the documented platform
    // here: it answers E_INVALIDARG rather than the kind's own code.
    EXPECT_HR(test::UnderWine() ? E_INVALIDARG : TYPE_E_WRONGTYPEKIND,
              iface.p->CreateInstance(nullptr, IID_IUnknown, &address));
}

TEST(TypeLib, ClassesEnumerationsAndRecords) {
    Lib lib(OSTREL_TYPELIB_FILE);
    Info scheduler;
    ASSERT_HR(S_OK, lib.p->GetTypeInfoOfGuid(CLSID_VoScheduler, &scheduler.p));
    INT flags[2] = {};
    const char* names[2] = {"IVoScheduler", "IVoScheduleEvents"};
    for (UINT i = 0; i < 2; ++i) {
        HREFTYPE ref;
        Info itf;
        ASSERT_HR(S_OK, scheduler.p->GetRefTypeOfImplType(i, &ref));
        ASSERT_HR(S_OK, scheduler.p->GetImplTypeFlags(i, &flags[i]));
        ASSERT_HR(S_OK, scheduler.p->GetRefTypeInfo(ref, &itf.p));
        EXPECT_EQ(Name(itf.p), names[i]);
    }
    EXPECT_EQ(flags[0], IMPLTYPEFLAG_FDEFAULT);
    EXPECT_EQ(flags[1], IMPLTYPEFLAG_FDEFAULT | IMPLTYPEFLAG_FSOURCE);
    HREFTYPE ref;
    EXPECT_HR(TYPE_E_ELEMENTNOTFOUND, scheduler.p->GetRefTypeOfImplType(2, &ref));
    EXPECT_HR(TYPE_E_ELEMENTNOTFOUND, scheduler.p->GetRefTypeOfImplType(UINT(-1), &ref));
    BSTR doc = nullptr;
    ASSERT_HR(S_OK, scheduler.p->GetDocumentation(MEMBERID_NIL, nullptr, &doc, nullptr, nullptr));
    EXPECT_EQ(test::Utf8(doc), "VoScheduler Class");
    SysFreeString(doc);

    // Enumeration members are constants; record fields have their offsets.
    struct Member {
        UINT type, index;
        const char* name;
        VARKIND kind;
        LONG value;  // constant value or field offset
        VARTYPE vt;
    } members[] = {
        {5, 12, "crAll", VAR_CONST, 0xFFFF, VT_INT},
        {6, 17, "ry5thDayInMonth", VAR_CONST, 1935, VT_INT},
        {1, 4, "ptNoRelation", VAR_CONST, 65535, VT_INT},
        {9, 2, "Value", VAR_PERINSTANCE, 8, VT_VARIANT},
        {18, 13, "dwReserved", VAR_PERINSTANCE, 140, VT_UI4},
        {10, 2, "crRule", VAR_PERINSTANCE, 16, VT_USERDEFINED},
    };
    for (const Member& m : members) {
        SCOPED_TRACE(m.name);
        Info type;
        ASSERT_HR(S_OK, lib.p->GetTypeInfo(m.type, &type.p));
        VARDESC* var = nullptr;
        ASSERT_HR(S_OK, type.p->GetVarDesc(m.index, &var));
        EXPECT_EQ(Name(type.p, var->memid), m.name);
        EXPECT_EQ(var->varkind, m.kind);
        EXPECT_EQ(var->elemdescVar.tdesc.vt, m.vt);
        if (m.kind == VAR_CONST) {
            EXPECT_EQ(var->lpvarValue->vt, VT_I4);
            EXPECT_EQ(var->lpvarValue->lVal, m.value);
        } else {
            EXPECT_EQ(var->oInst, ULONG(m.value));
        }
        if (m.vt == VT_USERDEFINED) {
            Info target;
            ASSERT_HR(S_OK, type.p->GetRefTypeInfo(var->elemdescVar.tdesc.hreftype, &target.p));
            EXPECT_EQ(Name(target.p), "tagRULETYPE");
        }
        type.p->ReleaseVarDesc(var);
    }
}

TEST(TypeLib, FilesThatAreNoTypeLibraryAreRefused) {
    ITypeLib* lib = reinterpret_cast<ITypeLib*>(1);
    EXPECT_HR(TYPE_E_CANTLOADLIBRARY, LoadTypeLibEx(OLESTR("/nonexistent/OstrelLib.tlb"), REGKIND_NONE, &lib));
    EXPECT_EQ(lib, nullptr);
    EXPECT_HR(TYPE_E_CANTLOADLIBRARY, LoadTypeLibEx(Wide(OSTREL_TEST_MESSAGES).c_str(), REGKIND_NONE, &lib));
    EXPECT_HR(TYPE_E_CANTLOADLIBRARY, LoadTypeLibEx(Wide(OSTREL_TEST_MESSAGES "\\2").c_str(), REGKIND_NONE, &lib));
    EXPECT_HR(TYPE_E_CANTLOADLIBRARY, LoadTypeLibEx(OLESTR(""), REGKIND_NONE, &lib));
    EXPECT_HR(E_INVALIDARG, LoadTypeLibEx(nullptr, REGKIND_NONE, &lib));
    EXPECT_HR(E_INVALIDARG, LoadTypeLib(OLESTR("x.tlb"), nullptr));
}

#ifndef _WIN32
// Our layer's own reader against truncated and damaged files. The platform
// documents nothing for them, and Wine's reader crashes on them, so these run
// on our layer only.

// Walks everything a library offers, so a damaged one that still loads is
// read through every pointer it hands out.
void WalkAll(ITypeLib* lib) {
    for (UINT i = 0; i < lib->GetTypeInfoCount(); ++i) {
        Info info;
        if (FAILED(lib->GetTypeInfo(i, &info.p)) || !info.Load()) continue;
        Name(info.p);
        for (UINT f = 0; f < info.attr->cFuncs; ++f) {
            FUNCDESC* func = nullptr;
            if (FAILED(info.p->GetFuncDesc(f, &func))) continue;
            BSTR names[8] = {};
            UINT count = 0;
            if (SUCCEEDED(info.p->GetNames(func->memid, names, 8, &count))) {
                for (UINT n = 0; n < count; ++n) SysFreeString(names[n]);
            }
            for (SHORT p = 0; p < func->cParams; ++p) {
                const TYPEDESC* t = &func->lprgelemdescParam[p].tdesc;
                while (t->vt == VT_PTR || t->vt == VT_SAFEARRAY) t = t->lptdesc;
                Info target;
                if (t->vt == VT_USERDEFINED) info.p->GetRefTypeInfo(t->hreftype, &target.p);
            }
            info.p->ReleaseFuncDesc(func);
        }
        for (UINT v = 0; v < info.attr->cVars; ++v) {
            VARDESC* var = nullptr;
            if (SUCCEEDED(info.p->GetVarDesc(v, &var))) info.p->ReleaseVarDesc(var);
        }
        for (UINT r = 0; r < info.attr->cImplTypes; ++r) {
            HREFTYPE ref;
            Info target;
            if (SUCCEEDED(info.p->GetRefTypeOfImplType(r, &ref))) info.p->GetRefTypeInfo(ref, &target.p);
        }
    }
}

TEST(TypeLib, DamagedCopiesAreRefusedNeverReadPastTheirEnd) {
    std::ifstream in(OSTREL_TYPELIB_FILE, std::ios::binary);
    const std::vector<char> good((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    ASSERT_GT(good.size(), 1000u);
    const std::string path = "damaged-" + std::to_string(getpid()) + ".tlb";
    const OleString wide = Wide(path);
    auto load = [&](const std::vector<char>& bytes) {
        std::ofstream(path, std::ios::binary | std::ios::trunc).write(bytes.data(), std::streamsize(bytes.size()));
        ITypeLib* lib = nullptr;
        const HRESULT hr = LoadTypeLibEx(wide.c_str(), REGKIND_NONE, &lib);
        if (SUCCEEDED(hr)) {
            WalkAll(lib);
            lib->Release();
        } else {
            EXPECT_EQ(lib, nullptr);
        }
        return hr;
    };
    int refused = 0;
    for (size_t length = 0; length < good.size(); length += 37) {
        const HRESULT hr = load(std::vector<char>(good.begin(), good.begin() + std::ptrdiff_t(length)));
        EXPECT_TRUE(hr == TYPE_E_INVDATAREAD || hr == TYPE_E_CANTLOADLIBRARY) << length << " " << test::Hex(hr);
        ++refused;
    }
    std::mt19937 random(20261123);
    for (int round = 0; round < 600; ++round) {
        std::vector<char> bytes = good;
        for (int flips = 0; flips < 3; ++flips) bytes[random() % bytes.size()] ^= char(1 << (random() % 8));
        const HRESULT hr = load(bytes);
        EXPECT_TRUE(SUCCEEDED(hr) || hr == TYPE_E_INVDATAREAD || hr == TYPE_E_CANTLOADLIBRARY) << test::Hex(hr);
        if (FAILED(hr)) ++refused;
    }
    std::remove(path.c_str());
    EXPECT_GT(refused, 0);
}
#endif

}  // namespace
