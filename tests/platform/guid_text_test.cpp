// Interface identifiers, the layouts hosts rely on, GUIDs as text and ProgIDs.
#include "system_test_support.h"

namespace {

// VARIANT's size is checked where it is declared.
static_assert(sizeof(GUID) == 16 && sizeof(LONG) == 4 && sizeof(OLECHAR) == 2);
static_assert(sizeof(DECIMAL) == 16 && sizeof(SYSTEMTIME) == 16 && offsetof(VARIANT, lVal) == 8);

TEST(Guid, UuidOfMatchesTheInterfacesIdentifiersForTypesAndPointers) {
    const std::pair<GUID, GUID> cases[] = {
        {__uuidof(IUnknown), IID_IUnknown}, {__uuidof(IDispatch), IID_IDispatch},
        {__uuidof(IErrorInfo), IID_IErrorInfo}, {__uuidof(ICreateErrorInfo), IID_ICreateErrorInfo},
        {__uuidof(ISupportErrorInfo), IID_ISupportErrorInfo},
        {__uuidof(IConnectionPointContainer), IID_IConnectionPointContainer},
        {__uuidof(IConnectionPoint), IID_IConnectionPoint}, {__uuidof(IEnumConnections), IID_IEnumConnections},
        {__uuidof(IEnumConnectionPoints), IID_IEnumConnectionPoints}, {__uuidof(IClassFactory), IID_IClassFactory},
    };
    for (const auto& [got, want] : cases) EXPECT_TRUE(IsEqualGUID(got, want));
    EXPECT_FALSE(IsEqualGUID(IID_IUnknown, GUID_NULL));
    IDispatch* dispatch = nullptr;
    EXPECT_TRUE(IsEqualGUID(__uuidof(dispatch), IID_IDispatch));
    EXPECT_TRUE(IsEqualGUID(__uuidof(*dispatch), IID_IDispatch));
}

const GUID kGuid = {0x0123ABCD, 0x4567, 0x89AB, {0xCD, 0xEF, 0x01, 0x23, 0x45, 0x67, 0x89, 0xAB}};

std::string GuidText(const GUID& g) {
    OLECHAR text[40];
    return StringFromGUID2(g, text, 40) ? test::Utf8(text) : "<none>";
}

TEST(GuidText, FormatsUpperCaseAndParsesEitherCase) {
    OLECHAR text[40];
    EXPECT_EQ(StringFromGUID2(kGuid, text, 39), 39);
    EXPECT_EQ(test::Utf8(text), "{0123ABCD-4567-89AB-CDEF-0123456789AB}");
    EXPECT_EQ(StringFromGUID2(kGuid, text, 38), 0);  // no room for the terminator
    GUID g{};
    EXPECT_HR(S_OK, CLSIDFromString(OLESTR("{0123abcd-4567-89ab-CDEF-0123456789ab}"), &g));
    EXPECT_EQ(GuidText(g), GuidText(kGuid));
    EXPECT_HR(S_OK, CLSIDFromString(nullptr, &g));  // null is the null class
    EXPECT_EQ(GuidText(g), GuidText(GUID_NULL));
    EXPECT_HR(E_INVALIDARG, CLSIDFromString(OLESTR("{0123abcd-4567-89ab-cdef-0123456789ab}"), nullptr));
}

TEST(GuidText, AnythingElseIsNoClassString) {
    for (LPCOLESTR text : {OLESTR(""), OLESTR("0123abcd-4567-89ab-cdef-0123456789ab"),
                           OLESTR("{0123abcd-4567-89ab-cdef-0123456789ab"), OLESTR("{0123abcd-4567-89ab-cdef-0123456789ab}x"),
                           OLESTR("{0123abcg-4567-89ab-cdef-0123456789ab}"), OLESTR("{0123abcd-4567-89ab-cdef0-123456789ab}"),
                           OLESTR("{ 123abcd-4567-89ab-cdef-0123456789ab}"), OLESTR("Ostrel.Scheduler")}) {
        SCOPED_TRACE(test::Utf8(text));
        // What a failed parse leaves in the GUID is not documented; the
        // platform leaves whatever it had parsed so far, so only the code counts.
        GUID g = kGuid;
        EXPECT_HR(CO_E_CLASSSTRING, CLSIDFromString(text, &g));
    }
    LPOLESTR progId = const_cast<LPOLESTR>(OLESTR("stale"));  // no registry: no ProgIDs
    EXPECT_HR(REGDB_E_CLASSNOTREG, ProgIDFromCLSID(kGuid, &progId));
    EXPECT_EQ(progId, nullptr);
    EXPECT_HR(E_INVALIDARG, ProgIDFromCLSID(kGuid, nullptr));
}

}  // namespace
