// Identifiers of the platform's interfaces, and the layouts hosts rely on.
#include <gtest/gtest.h>
#include <windows.h>

namespace {

static_assert(sizeof(GUID) == 16 && sizeof(VARIANT) == 24 && sizeof(LONG) == 4 && sizeof(OLECHAR) == 2);
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

}  // namespace
