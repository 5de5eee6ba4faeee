// GUIDs as text and ProgIDs.
#include "system_test_support.h"

namespace {

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
        GUID g = kGuid;
        EXPECT_HR(CO_E_CLASSSTRING, CLSIDFromString(text, &g));
        EXPECT_EQ(GuidText(g), GuidText(GUID_NULL));
    }
    LPOLESTR progId = const_cast<LPOLESTR>(OLESTR("stale"));  // no registry: no ProgIDs
    EXPECT_HR(REGDB_E_CLASSNOTREG, ProgIDFromCLSID(kGuid, &progId));
    EXPECT_EQ(progId, nullptr);
    EXPECT_HR(E_INVALIDARG, ProgIDFromCLSID(kGuid, nullptr));
}

}  // namespace
