// The shared copying enumerator, over a platform enumerator interface.
#include "component/copying_enum.h"

#include "test_support.h"

namespace {

using Enum = ostrel::CopyingEnum<IEnumConnections, &IID_IEnumConnections, CONNECTDATA>;

std::unique_ptr<CONNECTDATA[]> Items(ULONG n) {
    auto items = std::make_unique<CONNECTDATA[]>(n);
    for (ULONG i = 0; i < n; ++i) items[i] = CONNECTDATA{nullptr, 100 + i};
    return items;
}

struct Fixture : ::testing::Test {
    Enum* e = nullptr;
    void Make(std::unique_ptr<CONNECTDATA[]> items, ULONG n) {
        e = Enum::New();
        ASSERT_NE(e, nullptr);
        e->Init(std::move(items), n);
    }
    void TearDown() override {
        if (e) e->Release();
    }
};

TEST_F(Fixture, NextDeliversCopiesAndSaysWhenShort) {
    Make(Items(3), 3);
    CONNECTDATA out[4] = {};
    ULONG fetched = 99;
    EXPECT_HR(S_OK, e->Next(2, out, &fetched));
    EXPECT_EQ(fetched, 2u);
    EXPECT_EQ(out[1].dwCookie, 101u);
    EXPECT_HR(S_FALSE, e->Next(4, out, &fetched));
    EXPECT_EQ(fetched, 1u);
    EXPECT_EQ(out[0].dwCookie, 102u);
    EXPECT_HR(S_FALSE, e->Next(1, out, nullptr)) << "exhausted";
}

TEST_F(Fixture, ArgumentRules) {
    Make(Items(2), 2);
    CONNECTDATA out[2];
    ULONG fetched = 0;
    EXPECT_HR(E_POINTER, e->Next(1, nullptr, &fetched));
    EXPECT_HR(E_POINTER, e->Next(2, out, nullptr)) << "a count above one needs somewhere to say how many";
    EXPECT_HR(S_OK, e->Next(1, out, nullptr));
}

TEST_F(Fixture, WithoutAnArrayNextFails) {
    Make(nullptr, 0);
    CONNECTDATA out;
    ULONG fetched = 7;
    EXPECT_HR(E_FAIL, e->Next(1, &out, &fetched));
    EXPECT_EQ(fetched, 0u);
    // An empty array is not the same: it simply has nothing.
    Enum* empty = Enum::New();
    empty->Init(Items(0), 0);
    EXPECT_HR(S_FALSE, empty->Next(1, &out, &fetched));
    empty->Release();
}

TEST_F(Fixture, SkipClampsAndResetRewinds) {
    Make(Items(3), 3);
    EXPECT_HR(S_OK, e->Skip(2));
    EXPECT_HR(S_FALSE, e->Skip(5));
    CONNECTDATA out;
    ULONG fetched = 0;
    EXPECT_HR(S_FALSE, e->Next(1, &out, &fetched));
    EXPECT_HR(S_OK, e->Reset());
    EXPECT_HR(S_OK, e->Next(1, &out, &fetched));
    EXPECT_EQ(out.dwCookie, 100u);
}

TEST_F(Fixture, CloneSharesTheArrayAtTheSamePositionAndOutlivesItsSource) {
    Make(Items(3), 3);
    e->Skip(1);
    IEnumConnections* clone = nullptr;
    EXPECT_HR(E_POINTER, e->Clone(nullptr));
    ASSERT_EQ(e->Clone(&clone), S_OK);
    e->Release();
    e = nullptr;  // the clone keeps its source and the array alive
    CONNECTDATA out[3];
    ULONG fetched = 0;
    EXPECT_HR(S_FALSE, clone->Next(3, out, &fetched));
    EXPECT_EQ(fetched, 2u);
    EXPECT_EQ(out[0].dwCookie, 101u);
    clone->Release();
}

}  // namespace
