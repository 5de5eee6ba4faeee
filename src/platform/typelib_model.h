#pragma once
#ifndef _WIN32
// A type library held in memory, as the reader builds it from the platform's
// binary form and as the ITypeLib / ITypeInfo objects serve it.
//
// The descriptions (TYPEATTR, FUNCDESC, VARDESC and the TYPEDESC trees behind
// them) are built once when the library is read and handed out as they are:
// they stay valid while the type information lives, which is the lifetime
// the platform promises until the matching Release...Desc call, so those
// calls have nothing to free.
#include <deque>
#include <string>
#include <vector>

#include <windows.h>

namespace ostrel::platform::typelib {

// The reference GetRefTypeOfImplType(-1) answers for a dual interface: its
// other view.
constexpr HREFTYPE kDualPartnerRef = 0xFFFFFFFE;

struct FuncData {
    FUNCDESC desc{};
    std::vector<ELEMDESC> params;
    std::vector<std::u16string> names;  // the function's name, then its parameters'
    std::u16string doc;
    DWORD helpContext = 0;
};

struct VarData {
    VARDESC desc{};
    VARIANT value{};  // VAR_CONST only
    std::u16string name;
    std::u16string doc;
    DWORD helpContext = 0;
};

struct ImplData {
    HREFTYPE ref = 0;
    INT flags = 0;
};

struct TypeData {
    TYPEATTR attr{};
    std::u16string name;
    std::u16string doc;
    DWORD helpContext = 0;
    std::vector<FuncData> funcs;
    std::vector<VarData> vars;
    std::vector<ImplData> impls;
    // For a dual interface: the other view (dispatch <-> interface), as an
    // index into LibData::types; -1 otherwise.
    int partner = -1;
};

struct LibData {
    TLIBATTR attr{};
    std::u16string name;
    std::u16string doc;
    std::u16string helpFile;
    DWORD helpContext = 0;
    // The library's type infos in their index order come first
    // (visibleCount of them); the interface views of dual interfaces and
    // the system interfaces IUnknown and IDispatch follow, reachable only
    // through references.
    std::vector<TypeData> types;
    size_t visibleCount = 0;
    int unknownIndex = -1;
    int dispatchIndex = -1;
    // Owns every TYPEDESC that a description points to (stable addresses).
    std::deque<TYPEDESC> typeDescs;
    std::deque<std::vector<unsigned char>> arrayDescs;  // ARRAYDESC blocks, variable length
    // Import references (the file's offset | 1) resolved to a type index,
    // or -1 for a type of another library that is not modelled here.
    std::vector<std::pair<HREFTYPE, int>> imports;

    LibData() = default;
    LibData(const LibData&) = delete;
    LibData& operator=(const LibData&) = delete;
    ~LibData();

    // The type a reference names, seen from the type `from`, or -1.
    int Resolve(HREFTYPE ref, int from) const;
};

// Reads the platform's binary type library format ("MSFT"). Returns S_OK and
// the library, TYPE_E_CANTLOADLIBRARY for bytes that are not a type library
// at all (as the platform answers), or TYPE_E_INVDATAREAD for a damaged or
// truncated one. Never reads outside the bytes given.
HRESULT ReadTypeLib(const BYTE* data, size_t size, LibData& lib) noexcept;

// Case-insensitive name comparison, as the platform matches member names.
bool SameName(const std::u16string& a, const OLECHAR* b);

}  // namespace ostrel::platform::typelib

#endif
