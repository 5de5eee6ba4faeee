// The shared copying enumerator, over a platform enumerator interface.
#include "component/copying_enum.h"

#include "test_support.h"

namespace {

using Enum = ostrel::CopyingEnum<IEnumConnections, &IID_IEnumConnections, CONNECTDATA>;

// An enumerator over n records with cookies 100, 101, ...; no array at all
// when n is negative.
Enum* Make(int n) {
    Enum* e = Enum::New();
    std::unique_ptr<CONNECTDATA[]> items;
    if (n >= 0) items = std::make_unique<CONNECTDATA[]>(size_t(n));
    for (int i = 0; i < n; ++i) items[size_t(i)] = CONNECTDATA{nullptr, DWORD(100 + i)};
    e->Init(std::move(items), ULONG(n < 0 ? 0 : n));
    return e;
}

TEST(CopyingEnum, NextSkipResetAndTheirArguments) {
    Enum* e = Make(3);
    CONNECTDATA out[4] = {};
    ULONG fetched = 99;
    EXPECT_HR(S_OK, e->Next(2, out, &fetched));
    EXPECT_EQ(fetched, 2u);
    EXPECT_EQ(out[1].dwCookie, 101u);
    EXPECT_HR(S_FALSE, e->Next(4, out, &fetched));  // short
    EXPECT_EQ(fetched, 1u);
    EXPECT_EQ(out[0].dwCookie, 102u);
    EXPECT_HR(S_FALSE, e->Next(1, out, nullptr));  // exhausted
    EXPECT_HR(S_OK, e->Reset());
    EXPECT_HR(E_POINTER, e->Next(1, nullptr, &fetched));
    EXPECT_HR(E_POINTER, e->Next(2, out, nullptr)) << "a count above one needs somewhere to say how many";
    EXPECT_HR(S_OK, e->Skip(2));
    EXPECT_HR(S_FALSE, e->Skip(5));
    EXPECT_HR(S_OK, e->Reset());
    EXPECT_HR(S_OK, e->Next(1, out, nullptr));
    EXPECT_EQ(out[0].dwCookie, 100u);
    e->Release();
}

// No array and an array of no records are different answers.
TEST(CopyingEnum, WithoutAnArrayNextFailsWithAnEmptyOneItIsMerelyDone) {
    CONNECTDATA out;
    ULONG fetched = 7;
    for (auto [n, expected] : {std::pair{-1, E_FAIL}, {0, S_FALSE}}) {
        Enum* e = Make(n);
        EXPECT_HR(expected, e->Next(1, &out, &fetched));
        EXPECT_EQ(fetched, 0u);
        e->Release();
    }
}

TEST(CopyingEnum, CloneSharesTheArrayAtTheSamePositionAndOutlivesItsSource) {
    Enum* e = Make(3);
    e->Skip(1);
    IEnumConnections* clone = nullptr;
    EXPECT_HR(E_POINTER, e->Clone(nullptr));
    ASSERT_HR(S_OK, e->Clone(&clone));
    e->Release();  // the clone keeps its source and the array alive
    CONNECTDATA out[3];
    ULONG fetched = 0;
    EXPECT_HR(S_FALSE, clone->Next(3, out, &fetched));
    EXPECT_EQ(fetched, 2u);
    EXPECT_EQ(out[0].dwCookie, 101u);
    clone->Release();
}

}  // namespace
