// GUIDs, their comparison, and the uuid-of-an-interface trait.
//
// Interface identifiers are attached to interface types the way the MinGW-w64
// headers do it (__CRT_UUID_DECL specialises a trait, __uuidof reads it), so
// code that writes __uuidof(IVoRules) compiles unchanged on both platforms.
#pragma once
#include <cstring>
#include <type_traits>

#include "wtypes.h"

#ifndef GUID_DEFINED
#define GUID_DEFINED
typedef struct _GUID {
    ULONG Data1;
    USHORT Data2;
    USHORT Data3;
    BYTE Data4[8];
} GUID;
#endif

typedef GUID IID;
typedef GUID CLSID;
typedef GUID* LPGUID;
typedef IID* LPIID;
typedef CLSID* LPCLSID;
typedef const GUID& REFGUID;
typedef const IID& REFIID;
typedef const CLSID& REFCLSID;

inline bool IsEqualGUID(REFGUID a, REFGUID b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
#define IsEqualIID(a, b) IsEqualGUID(a, b)
#define IsEqualCLSID(a, b) IsEqualGUID(a, b)
inline bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }
inline bool operator!=(REFGUID a, REFGUID b) { return !IsEqualGUID(a, b); }

// With INITGUID defined, DEFINE_GUID defines the identifier; otherwise it only
// declares it. The definitions are weak so several translation units may
// define the same identifier, as the platform's selectany does, and visible,
// so the library that defines them exports them to its hosts.
#ifdef DEFINE_GUID
#undef DEFINE_GUID
#endif
#ifdef INITGUID
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) \
    EXTERN_C DECLSPEC_SELECTANY __attribute__((visibility("default"))) const GUID name = \
        {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}}
#else
#define DEFINE_GUID(name, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8) EXTERN_C const GUID name
#endif

template <typename T>
struct OstrelUuidOf;

// Generated headers declare interfaces inside extern "C" blocks, hence the
// explicit C++ linkage.
#define __CRT_UUID_DECL(type, l, w1, w2, b1, b2, b3, b4, b5, b6, b7, b8)                 \
    extern "C++" {                                                                       \
    template <>                                                                          \
    struct OstrelUuidOf<type> {                                                          \
        static const GUID& get() {                                                       \
            static const GUID id = {l, w1, w2, {b1, b2, b3, b4, b5, b6, b7, b8}};        \
            return id;                                                                   \
        }                                                                                \
    };                                                                                   \
    }
#define __uuidof(type) OstrelUuidOf<std::remove_cv_t<std::remove_pointer_t<std::remove_reference_t<__typeof__(type)>>>>::get()

// A declared identifier of the platform itself (the value is defined once in
// the platform library).
#define OSTREL_PLATFORM_GUID(name) OSTREL_PLATFORM_FN const GUID name

OSTREL_PLATFORM_GUID(GUID_NULL);
#define IID_NULL GUID_NULL
#define CLSID_NULL GUID_NULL
