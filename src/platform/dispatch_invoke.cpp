#ifndef _WIN32
// ITypeInfo::Invoke: a late-bound call made from type information, as the
// dispatch half of a dual interface forwards it.
//
// The member is found by id and kind in the interface view; each argument
// (DISPPARAMS holds them last first, named ones at the front) is coerced
// with VariantChangeType to its parameter's declared type, references of the
// declared type are passed through, and the vtable slot is called through
// libffi with the platform's argument layout.
// A failing call becomes DISP_E_EXCEPTION with the object's error
// information in the EXCEPINFO.
#include <ffi.h>

#include <cstring>
#include <new>
#include <vector>

#include "typelib_objects.h"

namespace ostrel::platform::typelib {
namespace {

// VARIANT and DECIMAL passed by value: their bytes, in eight-byte words.
ffi_type* VariantWords[] = {&ffi_type_uint64, &ffi_type_uint64, &ffi_type_uint64, nullptr};
ffi_type VariantType = {sizeof(VARIANT), alignof(VARIANT), FFI_TYPE_STRUCT, VariantWords};
ffi_type* DecimalWords[] = {&ffi_type_uint64, &ffi_type_uint64, nullptr};
ffi_type DecimalType = {sizeof(DECIMAL), alignof(DECIMAL), FFI_TYPE_STRUCT, DecimalWords};

// The native type of a value of this variant type, or null for one no call
// can carry.
ffi_type* NativeType(VARTYPE vt) {
    switch (vt) {
    case VT_I1: return &ffi_type_sint8;
    case VT_UI1: return &ffi_type_uint8;
    case VT_I2: case VT_BOOL: return &ffi_type_sint16;
    case VT_UI2: return &ffi_type_uint16;
    case VT_I4: case VT_INT: case VT_ERROR: case VT_HRESULT: return &ffi_type_sint32;
    case VT_UI4: case VT_UINT: return &ffi_type_uint32;
    case VT_I8: case VT_CY: return &ffi_type_sint64;
    case VT_UI8: return &ffi_type_uint64;
    case VT_R4: return &ffi_type_float;
    case VT_R8: case VT_DATE: return &ffi_type_double;
    case VT_BSTR: case VT_UNKNOWN: case VT_DISPATCH: case VT_PTR: return &ffi_type_pointer;
    case VT_VARIANT: return &VariantType;
    case VT_DECIMAL: return &DecimalType;
    case VT_VOID: return &ffi_type_void;
    default: return nullptr;
    }
}

// The variant type a declared type travels as: enumerations as 32-bit
// integers, aliases as what they stand for, interfaces and classes as
// IUnknown pointers. VT_EMPTY for what cannot travel (records by value).
VARTYPE Travel(const TypeInfoObject& info, const TYPEDESC& desc, int depth = 0) {
    if (desc.vt != VT_USERDEFINED) return desc.vt;
    if (depth > 8) return VT_EMPTY;
    ITypeInfo* ref = nullptr;
    if (FAILED(const_cast<TypeInfoObject&>(info).GetRefTypeInfo(desc.hreftype, &ref))) return VT_EMPTY;
    const TypeData& type = static_cast<TypeInfoObject*>(ref)->Data();
    VARTYPE vt = VT_EMPTY;
    switch (type.attr.typekind) {
    case TKIND_ENUM: vt = VT_I4; break;
    case TKIND_ALIAS: vt = Travel(*static_cast<TypeInfoObject*>(ref), type.attr.tdescAlias, depth + 1); break;
    case TKIND_INTERFACE: case TKIND_COCLASS: vt = VT_UNKNOWN; break;
    case TKIND_DISPATCH: vt = VT_DISPATCH; break;
    default: break;
    }
    ref->Release();
    return vt;
}

// One parameter's native argument: the value itself in `value` (whose
// union holds the bytes), or a pointer in `pointer`.
struct Argument {
    VARIANT value{};
    void* pointer = nullptr;
    ffi_type* type = nullptr;
    void* address = nullptr;  // what libffi reads the argument from
    bool owned = false;       // value holds a copy to clear after the call
};

struct Call {
    std::vector<Argument> args;
    ~Call() {
        for (Argument& a : args) {
            if (a.owned) VariantClear(&a.value);
        }
    }
};

void Fail(UINT* argError, UINT index) {
    if (argError) *argError = index;
}

// The object's error information for a failed call, when it declares that
// the interface supports it.
void FillException(void* instance, REFIID iid, HRESULT failure, EXCEPINFO* exception) {
    if (!exception) return;
    std::memset(exception, 0, sizeof(EXCEPINFO));
    exception->scode = failure;
    auto* object = static_cast<IUnknown*>(instance);
    ISupportErrorInfo* support = nullptr;
    if (FAILED(object->QueryInterface(IID_ISupportErrorInfo, reinterpret_cast<void**>(&support)))) return;
    const bool supported = support->InterfaceSupportsErrorInfo(iid) == S_OK;
    support->Release();
    IErrorInfo* error = nullptr;
    if (!supported || GetErrorInfo(0, &error) != S_OK || !error) return;
    error->GetSource(&exception->bstrSource);
    error->GetDescription(&exception->bstrDescription);
    error->GetHelpFile(&exception->bstrHelpFile);
    error->GetHelpContext(&exception->dwHelpContext);
    error->Release();
}

// Binds one declared parameter to the argument given for it (null: none).
HRESULT Bind(const TypeInfoObject& view, const ELEMDESC& param, VARIANT* given, UINT index, UINT* argError,
             Argument& out) {
    const TYPEDESC& desc = param.tdesc;
    const USHORT flags = param.paramdesc.wParamFlags;
    if (desc.vt != VT_PTR) {
        const VARTYPE vt = Travel(view, desc);
        out.type = NativeType(vt);
        if (!out.type || vt == VT_VOID) return DISP_E_BADVARTYPE;
        out.address = &out.value.llVal;
        if (vt == VT_VARIANT) {
            // The caller's variant as it is, or "missing" for an optional one.
            if (given) {
                out.value = *given;
            } else {
                out.value.vt = VT_ERROR;
                out.value.scode = DISP_E_PARAMNOTFOUND;
            }
            out.address = &out.value;
            return S_OK;
        }
        if (!given) return DISP_E_PARAMNOTOPTIONAL;
        if (FAILED(VariantChangeType(&out.value, given, 0, vt))) {
            Fail(argError, index);
            return DISP_E_TYPEMISMATCH;
        }
        out.owned = true;
        return S_OK;
    }
    // A reference: [out] or [in, out]. Passed through when the caller gives
    // a reference of exactly the declared type. A value instead is copied to
    // a temporary the callee may change and the caller never sees, as the
    // platform does for arguments passed by value; any other reference,
    // VT_BYREF|VT_VARIANT included, is a type mismatch there too.
    const VARTYPE target = Travel(view, *desc.lptdesc);
    out.type = &ffi_type_pointer;
    out.address = &out.pointer;
    if (!given) return DISP_E_PARAMNOTOPTIONAL;
    if (given->vt == (VT_BYREF | target) && target != VT_EMPTY) {
        out.pointer = given->byref;
        return S_OK;
    }
    if ((given->vt & VT_BYREF) || !NativeType(target) || target == VT_VOID || target == VT_VARIANT) {
        Fail(argError, index);
        return DISP_E_TYPEMISMATCH;
    }
    if ((flags & PARAMFLAG_FIN) && FAILED(VariantChangeType(&out.value, given, 0, target))) {
        Fail(argError, index);
        return DISP_E_TYPEMISMATCH;
    }
    out.value.vt = target;
    out.owned = true;
    out.pointer = &out.value.llVal;
    return S_OK;
}

HRESULT Invoke(const TypeInfoObject& info, void* instance, MEMBERID memid, WORD flags, DISPPARAMS* params,
               VARIANT* result, EXCEPINFO* exception, UINT* argError) {
    if (!instance || !params || params->cNamedArgs > params->cArgs ||
        (params->cArgs && !params->rgvarg) || (params->cNamedArgs && !params->rgdispidNamedArgs)) {
        return E_INVALIDARG;
    }
    // Calls go through the interface view, which has the real signatures.
    const TypeData& type = info.Data();
    const TypeInfoObject* view = &info;
    if (type.attr.typekind == TKIND_DISPATCH) {
        if (type.partner < 0) return DISP_E_MEMBERNOTFOUND;
        view = &info.Library().Info(type.partner);
    } else if (type.attr.typekind != TKIND_INTERFACE) {
        return DISP_E_MEMBERNOTFOUND;
    }
    const FuncData* func = view->FindFunc(memid, flags);
    if (!func) return DISP_E_MEMBERNOTFOUND;
    const FUNCDESC& desc = func->desc;

    const UINT declared = UINT(desc.cParams);
    const bool hasRetval = declared > 0 && (func->params.back().paramdesc.wParamFlags & PARAMFLAG_FRETVAL);
    const UINT visible = declared - (hasRetval ? 1 : 0);
    const UINT named = params->cNamedArgs;
    const UINT positional = params->cArgs - named;
    if (positional > visible) return DISP_E_BADPARAMCOUNT;

    // Which argument (its index in rgvarg) each parameter gets.
    constexpr UINT none = UINT(-1);
    std::vector<UINT> source(visible, none);
    for (UINT j = 0; j < positional; ++j) source[j] = params->cArgs - 1 - j;
    const bool put = flags & (DISPATCH_PROPERTYPUT | DISPATCH_PROPERTYPUTREF);
    for (UINT i = 0; i < named; ++i) {
        const DISPID id = params->rgdispidNamedArgs[i];
        const UINT k = (id == DISPID_PROPERTYPUT && put && visible > 0) ? visible - 1 : UINT(id);
        if (id < 0 && !(id == DISPID_PROPERTYPUT && put)) {
            Fail(argError, i);
            return DISP_E_PARAMNOTFOUND;
        }
        if (k >= visible || source[k] != none) {
            Fail(argError, i);
            return DISP_E_PARAMNOTFOUND;
        }
        source[k] = i;
    }

    Call call;
    call.args.resize(declared);
    for (UINT k = 0; k < visible; ++k) {
        VARIANT* given = source[k] == none ? nullptr : &params->rgvarg[source[k]];
        const bool optional = func->params[k].paramdesc.wParamFlags & PARAMFLAG_FOPT;
        // Too few arguments is a wrong count; a required one left out among
        // named ones, or marked missing (VT_ERROR, DISP_E_PARAMNOTFOUND), is
        // an argument that is not optional.
        if (!given && !optional && named == 0) return DISP_E_BADPARAMCOUNT;
        if (given && given->vt == VT_ERROR && given->scode == DISP_E_PARAMNOTFOUND && !optional) given = nullptr;
        const HRESULT hr = Bind(*view, func->params[k], given, source[k], argError, call.args[k]);
        if (FAILED(hr)) return hr;
    }
    VARTYPE retvalType = VT_EMPTY;
    if (hasRetval) {
        Argument& r = call.args[visible];
        const TYPEDESC& pointer = func->params.back().tdesc;
        retvalType = pointer.vt == VT_PTR ? Travel(*view, *pointer.lptdesc) : VARTYPE(VT_EMPTY);
        if (!NativeType(retvalType) || retvalType == VT_VOID) return DISP_E_BADVARTYPE;
        r.value.vt = retvalType;
        r.owned = true;
        r.pointer = retvalType == VT_VARIANT ? static_cast<void*>(&r.value) : &r.value.llVal;
        if (retvalType == VT_VARIANT) r.value.vt = VT_EMPTY;
        r.type = &ffi_type_pointer;
        r.address = &r.pointer;
    }

    const VARTYPE returns = Travel(*view, desc.elemdescFunc.tdesc);
    ffi_type* returnType = NativeType(returns);
    if (!returnType || returns == VT_VARIANT || returns == VT_DECIMAL) return DISP_E_BADVARTYPE;
    std::vector<ffi_type*> types{&ffi_type_pointer};
    std::vector<void*> values{&instance};
    for (Argument& a : call.args) {
        types.push_back(a.type);
        values.push_back(a.address);
    }
    ffi_cif cif;
    if (ffi_prep_cif(&cif, FFI_DEFAULT_ABI, unsigned(types.size()), returnType, types.data()) != FFI_OK) {
        return DISP_E_BADVARTYPE;
    }
    void** vtable = *static_cast<void***>(instance);
    void* slot = vtable[size_t(desc.oVft) / sizeof(void*)];
    VARIANT returned{};
    ffi_arg wide = 0;  // libffi widens small integer results to a full register
    void* returnBuffer = returnType->size <= sizeof(ffi_arg) && returnType->type != FFI_TYPE_FLOAT &&
                                 returnType->type != FFI_TYPE_DOUBLE
                             ? static_cast<void*>(&wide)
                             : static_cast<void*>(&returned.llVal);
    ffi_call(&cif, reinterpret_cast<void (*)()>(slot), returnBuffer, values.data());
    if (returnBuffer == &wide) {
        const ULONGLONG bits = wide;
        std::memcpy(&returned.llVal, &bits, returnType->size);
    }

    if (returns == VT_HRESULT && FAILED(returned.lVal)) {
        FillException(instance, view->Data().attr.guid, returned.lVal, exception);
        return DISP_E_EXCEPTION;
    }
    if (result) {
        VariantInit(result);
        if (hasRetval) {
            Argument& r = call.args[visible];
            *result = r.value;  // ownership moves to the caller
            r.owned = false;
        } else if (returns != VT_VOID && returns != VT_HRESULT) {
            *result = returned;
            result->vt = returns;
        }
    }
    return S_OK;
}

}  // namespace

HRESULT InvokeMember(const TypeInfoObject& info, void* instance, MEMBERID memid, WORD flags, DISPPARAMS* params,
                     VARIANT* result, EXCEPINFO* exception, UINT* argError) {
    try {
        return Invoke(info, instance, memid, flags, params, result, exception, argError);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

}  // namespace ostrel::platform::typelib

HRESULT WINAPI DispGetIDsOfNames(ITypeInfo* ptinfo, LPOLESTR* rgszNames, UINT cNames, DISPID* rgdispid) {
    if (!ptinfo) return E_INVALIDARG;
    return ptinfo->GetIDsOfNames(rgszNames, cNames, rgdispid);
}

HRESULT WINAPI DispInvoke(void* _this, ITypeInfo* ptinfo, DISPID dispidMember, WORD wFlags, DISPPARAMS* pparams,
                          VARIANT* pvarResult, EXCEPINFO* pexcepinfo, UINT* puArgErr) {
    if (!ptinfo) return E_INVALIDARG;
    return ptinfo->Invoke(_this, dispidMember, wFlags, pparams, pvarResult, pexcepinfo, puArgErr);
}

#endif
