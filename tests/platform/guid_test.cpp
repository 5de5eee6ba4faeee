#include <gtest/gtest.h>
#include <windows.h>

namespace {

TEST(Guid, PlatformIdentifiersMatchTheirInterfaces) {
    EXPECT_TRUE(IsEqualGUID(__uuidof(IUnknown), IID_IUnknown));
    EXPECT_TRUE(IsEqualGUID(__uuidof(IDispatch), IID_IDispatch));
    EXPECT_TRUE(IsEqualGUID(__uuidof(IErrorInfo), IID_IErrorInfo));
    EXPECT_TRUE(IsEqualGUID(__uuidof(ICreateErrorInfo), IID_ICreateErrorInfo));
    EXPECT_TRUE(IsEqualGUID(__uuidof(ISupportErrorInfo), IID_ISupportErrorInfo));
    EXPECT_TRUE(IsEqualGUID(__uuidof(IConnectionPointContainer), IID_IConnectionPointContainer));
    EXPECT_TRUE(IsEqualGUID(__uuidof(IConnectionPoint), IID_IConnectionPoint));
    EXPECT_TRUE(IsEqualGUID(__uuidof(IEnumConnections), IID_IEnumConnections));
    EXPECT_TRUE(IsEqualGUID(__uuidof(IEnumConnectionPoints), IID_IEnumConnectionPoints));
    EXPECT_TRUE(IsEqualGUID(__uuidof(IClassFactory), IID_IClassFactory));
    EXPECT_FALSE(IsEqualGUID(IID_IUnknown, GUID_NULL));
}

TEST(Guid, UuidOfAcceptsTypesAndPointers) {
    IDispatch* dispatch = nullptr;
    EXPECT_TRUE(IsEqualGUID(__uuidof(dispatch), IID_IDispatch));
    EXPECT_TRUE(IsEqualGUID(__uuidof(*dispatch), IID_IDispatch));
}

TEST(Guid, LayoutMatchesThePlatform) {
    EXPECT_EQ(sizeof(GUID), 16u);
    EXPECT_EQ(sizeof(VARIANT), 24u);
    EXPECT_EQ(sizeof(LONG), 4u);
    EXPECT_EQ(sizeof(OLECHAR), 2u);
    EXPECT_EQ(sizeof(DECIMAL), 16u);
    EXPECT_EQ(sizeof(SYSTEMTIME), 16u);
    EXPECT_EQ(offsetof(VARIANT, lVal), 8u);
}

}  // namespace
