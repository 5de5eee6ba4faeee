#ifndef _WIN32
// Reading the platform's binary type library format ("MSFT", as the IDL
// compiler writes it) into a LibData.
//
// The file is a header, the offsets of its type infos, and a directory of
// fifteen segments (type infos, imports, references, GUIDs, names, strings,
// type descriptions, array descriptions, custom data, ...). Everything
// inside refers to other parts by offset, so every offset is checked against
// its segment before it is followed: a damaged file is refused, never read
// past its end.
#include <cstring>
#include <new>

#include "typelib_model.h"

namespace ostrel::platform::typelib {
namespace {

struct Damaged {};  // thrown inside the reader, answered as TYPE_E_INVDATAREAD

enum Segment {
    kTypeInfoSeg = 0,
    kImportInfoSeg = 1,
    kRefSeg = 3,
    kGuidSeg = 5,
    kNameSeg = 7,
    kStringSeg = 8,
    kTypeDescSeg = 9,
    kArrayDescSeg = 10,
    kCustDataSeg = 11,
    kSegmentCount = 15
};

constexpr size_t kHeaderSize = 0x54;
constexpr size_t kTypeInfoSize = 0x64;
constexpr int kMaxTypeDepth = 16;  // pointer chains deeper than this are a loop
constexpr int kHelpDllFlag = 0x100;

// The system interfaces' identifiers, as the automation library defines them.
constexpr GUID kIUnknown = {0x00000000, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
constexpr GUID kIDispatch = {0x00020400, 0x0000, 0x0000, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};

class Reader {
public:
    Reader(const BYTE* data, size_t size, LibData& lib) : data_(data), size_(size), lib_(lib) {}

    void Read();

private:
    struct Seg {
        size_t offset = 0;
        size_t length = 0;
    };

    INT At(size_t offset) const {
        if (offset > size_ || size_ - offset < 4) throw Damaged{};
        INT value;
        std::memcpy(&value, data_ + offset, 4);
        return value;
    }
    // The position of `length` bytes at `offset` inside a segment.
    size_t In(Segment s, INT offset, size_t length) const {
        const Seg& seg = segs_[s];
        if (offset < 0 || size_t(offset) > seg.length || seg.length - size_t(offset) < length) throw Damaged{};
        return seg.offset + size_t(offset);
    }
    INT SegInt(Segment s, INT offset) const { return At(In(s, offset, 4)); }

    std::u16string Name(INT offset) const;
    std::u16string String(INT offset) const;
    GUID Guid(INT offset) const;
    TYPEDESC Type(INT dataType, int depth);
    void Constant(INT offsValue, VARIANT& value) const;
    HREFTYPE ImportRef(HREFTYPE ref);

    void ReadTypeInfo(size_t index, size_t offset);
    void ReadMembers(TypeData& type, INT memOffset, int funcs, int vars);
    void ReadImpls(TypeData& type, INT dataType1);
    void AddSystemInterfaces();
    void SplitDual(size_t index);
    void LinkDescriptions();

    const BYTE* data_;
    size_t size_;
    LibData& lib_;
    Seg segs_[kSegmentCount];
};

std::u16string Latin1(const BYTE* bytes, size_t length) {
    std::u16string text;
    text.reserve(length);
    for (size_t i = 0; i < length; ++i) text += char16_t(bytes[i]);
    return text;
}

// A name entry: its type reference, the next name of its hash chain, its
// length (low byte) and hash (high word), then the bytes.
std::u16string Reader::Name(INT offset) const {
    if (offset == -1) return std::u16string();
    const size_t at = In(kNameSeg, offset, 12);
    const size_t length = size_t(At(at + 8) & 0xFF);
    return Latin1(data_ + In(kNameSeg, offset, 12 + length) + 12, length);
}

// A string entry: a 16-bit length, then the bytes.
std::u16string Reader::String(INT offset) const {
    if (offset == -1) return std::u16string();
    const size_t at = In(kStringSeg, offset, 2);
    const size_t length = size_t(data_[at]) | size_t(data_[at + 1]) << 8;
    return Latin1(data_ + In(kStringSeg, offset, 2 + length) + 2, length);
}

GUID Reader::Guid(INT offset) const {
    if (offset == -1) return GUID{};
    GUID guid;
    std::memcpy(&guid, data_ + In(kGuidSeg, offset, sizeof(GUID)), sizeof(GUID));
    return guid;
}

// A data type is either a base type (negative: the type in the low bits) or
// the offset of an entry of the type description table: its kind in the low
// word of the first integer, and in the second the pointed-to data type
// (pointers, safe arrays), the reference (user-defined types) or the array
// description (fixed arrays).
TYPEDESC Reader::Type(INT dataType, int depth) {
    if (depth > kMaxTypeDepth) throw Damaged{};
    TYPEDESC desc{};
    if (dataType < 0) {
        // A base type never needs more: the kinds that point elsewhere only
        // come from the table.
        desc.vt = VARTYPE(dataType & VT_TYPEMASK);
        if (desc.vt == VT_PTR || desc.vt == VT_SAFEARRAY || desc.vt == VT_CARRAY || desc.vt == VT_USERDEFINED) {
            throw Damaged{};
        }
        return desc;
    }
    const size_t at = In(kTypeDescSeg, dataType, 8);
    desc.vt = VARTYPE(At(at) & VT_TYPEMASK);
    const INT second = At(at + 4);
    switch (desc.vt) {
    case VT_PTR:
    case VT_SAFEARRAY:
        lib_.typeDescs.push_back(Type(second, depth + 1));
        desc.lptdesc = &lib_.typeDescs.back();
        break;
    case VT_USERDEFINED: desc.hreftype = ImportRef(HREFTYPE(second)); break;
    case VT_CARRAY: {
        // The element type, then the count of dimensions and each
        // dimension's element count and lower bound.
        const TYPEDESC element = Type(SegInt(kArrayDescSeg, second), depth + 1);
        const INT dims = SegInt(kArrayDescSeg, second + 4) & 0xFFFF;
        if (dims < 1) throw Damaged{};
        auto& block = lib_.arrayDescs.emplace_back(sizeof(ARRAYDESC) + sizeof(SAFEARRAYBOUND) * size_t(dims - 1));
        auto* array = reinterpret_cast<ARRAYDESC*>(block.data());
        array->tdescElem = element;
        array->cDims = USHORT(dims);
        for (INT i = 0; i < dims; ++i) {
            array->rgbounds[i].cElements = ULONG(SegInt(kArrayDescSeg, second + 8 + 8 * i));
            array->rgbounds[i].lLbound = SegInt(kArrayDescSeg, second + 12 + 8 * i);
        }
        desc.lpadesc = array;
        break;
    }
    default: throw Damaged{};
    }
    return desc;
}

// A reference to a type of another library (odd values) is checked here and
// remembered, so that GetRefTypeInfo can answer it later.
HREFTYPE Reader::ImportRef(HREFTYPE ref) {
    if ((ref & 3) != 1) return ref;
    for (const auto& known : lib_.imports) {
        if (known.first == ref) return ref;
    }
    // An import entry: flags (0x10000: the third integer is a GUID offset),
    // the import file's offset, the imported type's GUID.
    const INT at = INT(ref & ~3u);
    const INT flags = SegInt(kImportInfoSeg, at);
    int index = -1;
    if (flags & 0x10000) {
        const GUID guid = Guid(SegInt(kImportInfoSeg, at + 8));
        if (IsEqualGUID(guid, kIUnknown)) index = lib_.unknownIndex;
        if (IsEqualGUID(guid, kIDispatch)) index = lib_.dispatchIndex;
    }
    lib_.imports.emplace_back(ref, index);
    return ref;
}

// A constant's value: small ones sit in the record itself (high bit set, the
// variant type in bits 26-30, the value in the low 26 bits); others are a
// variant in the custom data segment: its type, then its bytes.
void Reader::Constant(INT offsValue, VARIANT& value) const {
    VariantInit(&value);
    if (offsValue < 0) {
        value.vt = VARTYPE((UINT(offsValue) >> 26) & 0x1F);
        value.lVal = offsValue & 0x03FFFFFF;
        if (value.vt != VT_I4 && value.vt != VT_UI4 && value.vt != VT_INT && value.vt != VT_UINT &&
            value.vt != VT_I2 && value.vt != VT_UI2 && value.vt != VT_I1 && value.vt != VT_UI1 &&
            value.vt != VT_BOOL && value.vt != VT_ERROR) {
            throw Damaged{};
        }
        return;
    }
    const size_t at = In(kCustDataSeg, offsValue, 2);
    const VARTYPE vt = VARTYPE(data_[at] | data_[at + 1] << 8);
    switch (vt) {
    case VT_I2: case VT_UI2: case VT_BOOL: case VT_I1: case VT_UI1:
    case VT_I4: case VT_UI4: case VT_INT: case VT_UINT: case VT_ERROR: case VT_R4:
        std::memcpy(&value.lVal, data_ + In(kCustDataSeg, offsValue, 6) + 2, 4);
        break;
    case VT_I8: case VT_UI8: case VT_R8: case VT_DATE: case VT_CY:
        std::memcpy(&value.llVal, data_ + In(kCustDataSeg, offsValue, 10) + 2, 8);
        break;
    case VT_BSTR: {
        const INT length = SegInt(kCustDataSeg, offsValue + 2);
        if (length < 0) throw Damaged{};
        const std::u16string text = Latin1(data_ + In(kCustDataSeg, offsValue, 6 + size_t(length)) + 6, size_t(length));
        value.bstrVal = SysAllocStringLen(text.data(), UINT(text.size()));
        if (!value.bstrVal) throw std::bad_alloc();
        break;
    }
    default: throw Damaged{};
    }
    value.vt = vt;
}

void Reader::Read() {
    if (size_ < kHeaderSize || std::memcmp(data_, "MSFT", 4) != 0) throw Damaged{};
    const INT varFlags = At(0x14);
    const INT count = At(0x20);
    size_t at = kHeaderSize + ((varFlags & kHelpDllFlag) ? 4 : 0);
    if (count < 0 || size_t(count) > size_ / kTypeInfoSize) throw Damaged{};
    std::vector<size_t> infoOffsets;
    for (INT i = 0; i < count; ++i, at += 4) infoOffsets.push_back(size_t(At(at)));
    for (Seg& seg : segs_) {
        const INT offset = At(at);
        const INT length = At(at + 4);
        at += 16;
        if (offset == -1) continue;
        if (offset < 0 || length < 0 || size_t(offset) > size_ || size_ - size_t(offset) < size_t(length)) {
            throw Damaged{};
        }
        seg = Seg{size_t(offset), size_t(length)};
    }

    lib_.attr.guid = Guid(At(0x08));
    lib_.attr.lcid = LCID(At(0x0C));
    if ((varFlags & 0xF) > SYS_WIN64) throw Damaged{};
    lib_.attr.syskind = SYSKIND(varFlags & 0xF);
    const INT version = At(0x18);
    lib_.attr.wMajorVerNum = WORD(version & 0xFFFF);
    lib_.attr.wMinorVerNum = WORD(UINT(version) >> 16);
    // The platform marks every library read from a file as having a disk image.
    lib_.attr.wLibFlags = WORD(At(0x1C) | LIBFLAG_FHASDISKIMAGE);
    lib_.doc = String(At(0x24));
    lib_.helpContext = DWORD(At(0x2C));
    lib_.name = Name(At(0x38));
    lib_.helpFile = String(At(0x3C));

    // The system interfaces first, so references to them resolve while the
    // library's own types are read; they move behind the visible ones below.
    lib_.types.resize(size_t(count));
    lib_.visibleCount = size_t(count);
    AddSystemInterfaces();
    for (size_t i = 0; i < size_t(count); ++i) ReadTypeInfo(i, infoOffsets[i]);
    for (size_t i = 0; i < size_t(count); ++i) {
        if (lib_.types[i].attr.typekind == TKIND_DISPATCH && (lib_.types[i].attr.wTypeFlags & TYPEFLAG_FDUAL)) {
            SplitDual(i);
        }
    }
    LinkDescriptions();
}

void Reader::ReadTypeInfo(size_t index, size_t offset) {
    if (offset > size_) throw Damaged{};
    const size_t at = In(kTypeInfoSeg, INT(offset), kTypeInfoSize);
    TypeData& type = lib_.types[index];
    const INT kindWord = At(at);
    TYPEATTR& attr = type.attr;
    attr.typekind = TYPEKIND(kindWord & 0xF);
    if (attr.typekind >= TKIND_MAX) throw Damaged{};
    attr.cbAlignment = WORD((kindWord >> 11) & 0x1F);
    attr.lcid = lib_.attr.lcid;
    attr.memidConstructor = MEMBERID_NIL;
    attr.memidDestructor = MEMBERID_NIL;
    const INT elements = At(at + 0x18);
    const int funcs = elements & 0xFFFF;
    const int vars = (elements >> 16) & 0xFFFF;
    attr.guid = Guid(At(at + 0x2C));
    attr.wTypeFlags = WORD(At(at + 0x30));
    type.name = Name(At(at + 0x34));
    const INT version = At(at + 0x38);
    attr.wMajorVerNum = WORD(version & 0xFFFF);
    attr.wMinorVerNum = WORD(UINT(version) >> 16);
    type.doc = String(At(at + 0x3C));
    type.helpContext = DWORD(At(at + 0x44));
    const INT sizes = At(at + 0x4C);
    attr.cImplTypes = WORD(sizes & 0xFFFF);
    attr.cbSizeVft = WORD(UINT(sizes) >> 16);
    attr.cbSizeInstance = ULONG(At(at + 0x50));
    const INT dataType1 = At(at + 0x54);
    if (attr.typekind == TKIND_ALIAS) attr.tdescAlias = Type(dataType1, 0);
    if (funcs + vars > 0) ReadMembers(type, At(at + 0x04), funcs, vars);
    ReadImpls(type, dataType1);
    attr.cFuncs = WORD(type.funcs.size());
    attr.cVars = WORD(type.vars.size());
}

// The members' area: its length, the records (one per function, then one
// per variable), then three arrays over all members: member ids, name
// offsets, and record offsets within the area.
void Reader::ReadMembers(TypeData& type, INT memOffset, int funcs, int vars) {
    if (memOffset < 0) throw Damaged{};
    const INT infoLength = At(size_t(memOffset));
    if (infoLength < 0) throw Damaged{};
    const size_t records = size_t(memOffset) + 4;
    const size_t total = size_t(funcs + vars);
    const size_t ids = records + size_t(infoLength);
    if (ids > size_ || (size_ - ids) / 12 < total) throw Damaged{};
    const size_t names = ids + 4 * total;
    const size_t offsets = names + 4 * total;
    for (size_t k = 0; k < total; ++k) {
        const INT recordOffset = At(offsets + 4 * k);
        const bool isFunc = k < size_t(funcs);
        const INT minimum = isFunc ? 24 : 20;
        if (recordOffset < 0 || recordOffset > infoLength - minimum) throw Damaged{};
        const size_t r = records + size_t(recordOffset);
        const INT recordSize = At(r) & 0xFFFF;
        if (recordSize < minimum || recordSize > infoLength - recordOffset) throw Damaged{};
        const MEMBERID memid = At(ids + 4 * k);
        const std::u16string name = Name(At(names + 4 * k));
        if (isFunc) {
            // Info, return type, flags, vtable offset, kinds packed as
            // funckind | invkind << 3 | callconv << 8, argument counts,
            // optional fields, and each parameter (type, name, flags).
            FuncData& f = type.funcs.emplace_back();
            FUNCDESC& d = f.desc;
            d.memid = memid;
            d.elemdescFunc.tdesc = Type(At(r + 4), 0);
            d.wFuncFlags = WORD(At(r + 8));
            d.oVft = SHORT(At(r + 12) & 0xFFFF);
            const INT kinds = At(r + 16);
            d.funckind = FUNCKIND(kinds & 7);
            d.invkind = INVOKEKIND((kinds >> 3) & 0xF);
            d.callconv = CALLCONV((kinds >> 8) & 0xF);
            const INT counts = At(r + 20);
            const int args = counts & 0xFFFF;
            const int optional = (counts >> 16) & 0xFFFF;
            const int extra = (recordSize - 24 - 12 * args) / 4;
            if (extra < 0 || optional > args || d.funckind > FUNC_DISPATCH) throw Damaged{};
            if (extra > 0) f.helpContext = DWORD(At(r + 24));
            if (extra > 1) f.doc = String(At(r + 28));
            d.cParams = SHORT(args);
            d.cParamsOpt = SHORT(optional);
            f.names.push_back(name);
            const size_t params = r + size_t(recordSize) - 12 * size_t(args);
            for (int p = 0; p < args; ++p) {
                ELEMDESC& e = f.params.emplace_back();
                e.tdesc = Type(At(params + 12 * p), 0);
                f.names.push_back(Name(At(params + 12 * p + 4)));
                // Default values are not kept, so nothing may point at them.
                e.paramdesc.wParamFlags = USHORT(At(params + 12 * p + 8) & ~PARAMFLAG_FHASDEFAULT);
            }
        } else {
            // Info, type, flags, kind, then the value of a constant or the
            // offset of a record's field, and optional fields.
            VarData& v = type.vars.emplace_back();
            VARDESC& d = v.desc;
            d.memid = memid;
            v.name = name;
            d.elemdescVar.tdesc = Type(At(r + 4), 0);
            d.wVarFlags = WORD(At(r + 8));
            const INT kind = At(r + 12) & 0xFFFF;
            if (kind > VAR_DISPATCH) throw Damaged{};
            d.varkind = VARKIND(kind);
            if (d.varkind == VAR_CONST) Constant(At(r + 16), v.value);
            else d.oInst = ULONG(At(r + 16));
            if (recordSize >= 24) v.helpContext = DWORD(At(r + 20));
            if (recordSize >= 28) v.doc = String(At(r + 24));
        }
    }
}

// A class lists its interfaces in the reference table (reference, impl
// flags, custom data, next entry); an interface names its base directly.
void Reader::ReadImpls(TypeData& type, INT dataType1) {
    const int count = type.attr.cImplTypes;
    if (type.attr.typekind == TKIND_COCLASS) {
        INT at = dataType1;
        for (int i = 0; i < count; ++i) {
            if (at == -1) throw Damaged{};
            type.impls.push_back(ImplData{ImportRef(HREFTYPE(SegInt(kRefSeg, at))), SegInt(kRefSeg, at + 4)});
            at = SegInt(kRefSeg, at + 12);
        }
    } else if (count > 0 && (type.attr.typekind == TKIND_INTERFACE || type.attr.typekind == TKIND_DISPATCH)) {
        type.impls.push_back(ImplData{ImportRef(HREFTYPE(dataType1)), 0});
        type.attr.cImplTypes = 1;
    } else {
        type.attr.cImplTypes = 0;
    }
}

// IUnknown and IDispatch as the system's type library describes them: the
// dispatch view of every dual interface lists their members first, and
// references to them resolve here instead of to a library on disk.
void Reader::AddSystemInterfaces() {
    // Pointers to the records of the system library (GUID, DISPPARAMS...)
    // are described as pointers to nothing in particular.
    auto pointerTo = [this](VARTYPE vt) {
        TYPEDESC inner{};
        inner.vt = vt;
        if (vt == VT_PTR) {
            TYPEDESC target{};
            target.vt = VT_VOID;
            lib_.typeDescs.push_back(target);
            inner.lptdesc = &lib_.typeDescs.back();
        }
        lib_.typeDescs.push_back(inner);
        TYPEDESC desc{};
        desc.vt = VT_PTR;
        desc.lptdesc = &lib_.typeDescs.back();
        return desc;
    };
    auto base = [](VARTYPE vt) {
        TYPEDESC desc{};
        desc.vt = vt;
        return desc;
    };
    struct Param {
        const char16_t* name;
        TYPEDESC type;
        USHORT flags;
    };
    auto addFunc = [](TypeData& t, MEMBERID memid, SHORT oVft, const char16_t* name, VARTYPE ret,
                      std::initializer_list<Param> params) {
        FuncData& f = t.funcs.emplace_back();
        f.desc.memid = memid;
        f.desc.funckind = FUNC_PUREVIRTUAL;
        f.desc.invkind = INVOKE_FUNC;
        f.desc.callconv = CC_STDCALL;
        f.desc.oVft = oVft;
        f.desc.cParams = SHORT(params.size());
        f.desc.elemdescFunc.tdesc.vt = ret;
        f.desc.wFuncFlags = FUNCFLAG_FRESTRICTED;
        f.names.push_back(name);
        for (const Param& p : params) {
            ELEMDESC& e = f.params.emplace_back();
            e.tdesc = p.type;
            e.paramdesc.wParamFlags = p.flags;
            f.names.push_back(p.name);
        }
    };
    auto addType = [this](const char16_t* name, const GUID& guid, WORD vft) -> TypeData& {
        TypeData& t = lib_.types.emplace_back();
        t.name = name;
        t.attr.guid = guid;
        t.attr.typekind = TKIND_INTERFACE;
        t.attr.cbSizeInstance = sizeof(void*);
        t.attr.cbAlignment = sizeof(void*);
        t.attr.cbSizeVft = vft;
        t.attr.memidConstructor = MEMBERID_NIL;
        t.attr.memidDestructor = MEMBERID_NIL;
        t.attr.wTypeFlags = TYPEFLAG_FHIDDEN;
        return t;
    };
    constexpr SHORT ptr = sizeof(void*);

    lib_.unknownIndex = int(lib_.types.size());
    TypeData& unknown = addType(u"IUnknown", kIUnknown, 3 * ptr);
    addFunc(unknown, 0x60000000, 0, u"QueryInterface", VT_HRESULT,
            {{u"riid", pointerTo(VT_VOID), PARAMFLAG_FIN}, {u"ppvObj", pointerTo(VT_PTR), PARAMFLAG_FOUT}});
    addFunc(unknown, 0x60000001, ptr, u"AddRef", VT_UI4, {});
    addFunc(unknown, 0x60000002, 2 * ptr, u"Release", VT_UI4, {});

    lib_.dispatchIndex = int(lib_.types.size());
    TypeData& dispatch = addType(u"IDispatch", kIDispatch, 7 * ptr);
    addFunc(dispatch, 0x60010000, 3 * ptr, u"GetTypeInfoCount", VT_HRESULT,
            {{u"pctinfo", pointerTo(VT_UINT), PARAMFLAG_FOUT}});
    addFunc(dispatch, 0x60010001, 4 * ptr, u"GetTypeInfo", VT_HRESULT,
            {{u"itinfo", base(VT_UINT), PARAMFLAG_FIN},
             {u"lcid", base(VT_UI4), PARAMFLAG_FIN},
             {u"pptinfo", pointerTo(VT_PTR), PARAMFLAG_FOUT}});
    addFunc(dispatch, 0x60010002, 5 * ptr, u"GetIDsOfNames", VT_HRESULT,
            {{u"riid", pointerTo(VT_VOID), PARAMFLAG_FIN},
             {u"rgszNames", pointerTo(VT_PTR), PARAMFLAG_FIN},
             {u"cNames", base(VT_UINT), PARAMFLAG_FIN},
             {u"lcid", base(VT_UI4), PARAMFLAG_FIN},
             {u"rgdispid", pointerTo(VT_I4), PARAMFLAG_FOUT}});
    addFunc(dispatch, 0x60010003, 6 * ptr, u"Invoke", VT_HRESULT,
            {{u"dispidMember", base(VT_I4), PARAMFLAG_FIN},
             {u"riid", pointerTo(VT_VOID), PARAMFLAG_FIN},
             {u"lcid", base(VT_UI4), PARAMFLAG_FIN},
             {u"wFlags", base(VT_UI2), PARAMFLAG_FIN},
             {u"pdispparams", pointerTo(VT_VOID), PARAMFLAG_FIN},
             {u"pvarResult", pointerTo(VT_VARIANT), PARAMFLAG_FOUT},
             {u"pexcepinfo", pointerTo(VT_VOID), PARAMFLAG_FOUT},
             {u"puArgErr", pointerTo(VT_UINT), PARAMFLAG_FOUT}});
    // IDispatch derives from IUnknown: a reference of the import kind that
    // no file offset can produce.
    constexpr HREFTYPE unknownRef = 0x7FFFFFFD;
    lib_.imports.emplace_back(unknownRef, lib_.unknownIndex);
    dispatch.impls.push_back(ImplData{unknownRef, 0});
    dispatch.attr.cImplTypes = 1;
}

// The file holds a dual interface once, as its interface view with the
// dispatch kind. The platform shows two type infos: the dispatch view at the
// library's index (IUnknown's and IDispatch's members first, each member as
// a dispatch function whose [out, retval] parameter became its result), and
// the interface view behind GetRefTypeOfImplType(-1).
void Reader::SplitDual(size_t index) {
    const size_t partner = lib_.types.size();
    lib_.types.push_back(lib_.types[index]);
    TypeData& iface = lib_.types[partner];
    TypeData& disp = lib_.types[index];
    iface.attr.typekind = TKIND_INTERFACE;
    for (FuncData& f : iface.funcs) f.desc.funckind = FUNC_PUREVIRTUAL;
    iface.partner = int(index);
    disp.partner = int(partner);

    std::vector<FuncData> own = std::move(disp.funcs);
    disp.funcs.clear();
    for (int system : {lib_.unknownIndex, lib_.dispatchIndex}) {
        for (const FuncData& f : lib_.types[size_t(system)].funcs) disp.funcs.push_back(f);
    }
    for (FuncData& f : own) disp.funcs.push_back(std::move(f));
    for (FuncData& f : disp.funcs) {
        FUNCDESC& d = f.desc;
        d.funckind = FUNC_DISPATCH;
        if (d.cParams > 0 && (f.params.back().paramdesc.wParamFlags & PARAMFLAG_FRETVAL) &&
            f.params.back().tdesc.vt == VT_PTR) {
            d.elemdescFunc.tdesc = *f.params.back().tdesc.lptdesc;
            f.params.pop_back();
            f.names.pop_back();
            --d.cParams;
            if (d.cParamsOpt > d.cParams) d.cParamsOpt = d.cParams;
        } else if (d.elemdescFunc.tdesc.vt == VT_HRESULT) {
            d.elemdescFunc.tdesc.vt = VT_VOID;
        }
    }
    disp.attr.cFuncs = WORD(disp.funcs.size());
    disp.attr.cbSizeVft = 7 * sizeof(void*);
    disp.attr.wTypeFlags &= WORD(~TYPEFLAG_FOLEAUTOMATION);
}

// Descriptions point at their own parameter arrays and values; set once the
// vectors no longer move.
void Reader::LinkDescriptions() {
    for (TypeData& type : lib_.types) {
        for (FuncData& f : type.funcs) f.desc.lprgelemdescParam = f.params.empty() ? nullptr : f.params.data();
        for (VarData& v : type.vars) {
            if (v.desc.varkind == VAR_CONST) v.desc.lpvarValue = &v.value;
        }
    }
}

}  // namespace

LibData::~LibData() {
    for (TypeData& type : types) {
        for (VarData& v : type.vars) VariantClear(&v.value);
    }
}

int LibData::Resolve(HREFTYPE ref, int from) const {
    if (ref == kDualPartnerRef) {
        if (from < 0 || size_t(from) >= types.size()) return -1;
        const int partner = types[size_t(from)].partner;
        // The interface view's own -1 reference names itself, as the
        // platform answers.
        if (partner < 0) return -1;
        return types[size_t(from)].attr.typekind == TKIND_INTERFACE ? from : partner;
    }
    for (const auto& import : imports) {
        if (import.first == ref) return import.second;
    }
    if (ref % kTypeInfoSize != 0 || ref / kTypeInfoSize >= visibleCount) return -1;
    return int(ref / kTypeInfoSize);
}

HRESULT ReadTypeLib(const BYTE* data, size_t size, LibData& lib) noexcept {
    if (!data || size < 4 || std::memcmp(data, "MSFT", 4) != 0) return TYPE_E_CANTLOADLIBRARY;
    try {
        Reader(data, size, lib).Read();
        return S_OK;
    } catch (const Damaged&) {
        return TYPE_E_INVDATAREAD;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    }
}

bool SameName(const std::u16string& a, const OLECHAR* b) {
    size_t i = 0;
    for (; i < a.size(); ++i) {
        char16_t x = a[i], y = b[i];
        if (!y) return false;
        if (x >= u'a' && x <= u'z') x = char16_t(x - 32);
        if (y >= u'a' && y <= u'z') y = char16_t(y - 32);
        if (x != y) return false;
    }
    return b[i] == 0;
}

}  // namespace ostrel::platform::typelib

#endif
