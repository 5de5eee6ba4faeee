// VoCalculator as a host meets it: numbers and texts in a variant, failures
// as error information that ends with the formula, and nothing shared
// between calls or threads.
#include <Ostrel.h>

#include <string>
#include <thread>
#include <vector>

#include "foundation/message_numbers.h"
#include "test_support.h"

namespace {

class VoCalculatorTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED)));
        ASSERT_HR(S_OK, CoCreateInstance(CLSID_VoCalculator, nullptr, CLSCTX_INPROC_SERVER, IID_IVoCalculator,
                                         reinterpret_cast<void**>(&calculator)));
    }
    void TearDown() override {
        if (calculator) calculator->Release();
        CoUninitialize();
    }
    HRESULT Evaluate(const OLECHAR* text, VARIANT* result) {
        BSTR formula = SysAllocString(text);
        HRESULT hr = calculator->Evaluate(formula, result);
        SysFreeString(formula);
        return hr;
    }
    IVoCalculator* calculator = nullptr;
};

TEST_F(VoCalculatorTest, NumbersAndTexts) {
    test::Var v;
    ASSERT_HR(S_OK, Evaluate(OLESTR("1+2"), &v));
    EXPECT_EQ(v.vt, VT_R8);
    EXPECT_EQ(v.dblVal, 3.0);

    test::Var t;
    ASSERT_HR(S_OK, Evaluate(OLESTR("\"abc\""), &t));
    ASSERT_EQ(t.vt, VT_BSTR);
    EXPECT_EQ(test::Utf8(t.bstrVal), "abc");

    // The largest double is how a text is marked, so it comes back as one.
    test::Var marker;
    ASSERT_HR(S_OK, Evaluate(OLESTR("1.7976931348623157E308"), &marker));
    EXPECT_EQ(marker.vt, VT_BSTR);
}

TEST_F(VoCalculatorTest, NullArgumentsAreRefusedWithoutErrorInformation) {
    SetErrorInfo(0, nullptr);
    test::Var v;
    EXPECT_HR(E_INVALIDARG, calculator->Evaluate(nullptr, &v));
    BSTR formula = SysAllocString(OLESTR("1"));
    EXPECT_HR(E_INVALIDARG, calculator->Evaluate(formula, nullptr));
    SysFreeString(formula);
    EXPECT_FALSE(test::TakeErrorInfo().present);
}

TEST_F(VoCalculatorTest, FailuresEndWithTheFormulaAndLeaveTheVariantAlone) {
    const struct {
        const OLECHAR* formula;
        DWORD number;
        const char* shown;
    } cases[] = {
        {OLESTR("1/0"), VOMSG_FORMULA_DIVISION_BY_ZERO, "1/0"},
        {OLESTR("2*(3"), 0, "2*(3"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.shown);
        test::Var v;
        v.vt = VT_I4;
        v.lVal = 42;
        SetErrorInfo(0, nullptr);
        EXPECT_HR(DISP_E_EXCEPTION, Evaluate(c.formula, &v));
        EXPECT_EQ(v.vt, VT_I4);
        EXPECT_EQ(v.lVal, 42);
        const auto info = test::TakeErrorInfo();
        const std::string tail = std::string("\nFormula: ") + c.shown;
        ASSERT_GE(info.description.size(), tail.size());
        EXPECT_EQ(info.description.substr(info.description.size() - tail.size()), tail);
        if (c.number) {
            // The message's own text comes first.
            EXPECT_GT(info.description.size(), tail.size());
        }
    }
}

TEST_F(VoCalculatorTest, NestingBeyondTheBoundFailsCleanly) {
    OleString deep(5000, OLESTR('('));
    deep += OLESTR("1");
    deep += OleString(5000, OLESTR(')'));
    test::Var v;
    SetErrorInfo(0, nullptr);
    EXPECT_HR(DISP_E_EXCEPTION, Evaluate(deep.c_str(), &v));
    EXPECT_EQ(v.vt, VT_EMPTY);
    EXPECT_TRUE(test::TakeErrorInfo().present);
}

TEST_F(VoCalculatorTest, OneObjectServesManyThreads) {
    std::vector<std::thread> threads;
    std::vector<int> wrong(4, 0);
    for (int t = 0; t < 4; ++t) {
        threads.emplace_back([&, t] {
            CoInitializeEx(nullptr, COINIT_MULTITHREADED);
            for (int i = 0; i < 500; ++i) {
                const OleString formula = OLESTR("(") + OleString(1, OLECHAR(OLESTR('0') + t)) + OLESTR("+1)*2");
                BSTR text = SysAllocString(formula.c_str());
                VARIANT v;
                VariantInit(&v);
                if (calculator->Evaluate(text, &v) != S_OK || v.vt != VT_R8 || v.dblVal != (t + 1) * 2.0) ++wrong[t];
                SysFreeString(text);
            }
            CoUninitialize();
        });
    }
    for (auto& th : threads) th.join();
    for (int t = 0; t < 4; ++t) EXPECT_EQ(wrong[t], 0) << "thread " << t;
}

}  // namespace
