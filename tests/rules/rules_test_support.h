// Dates and caught errors for the rules tests. Dates are computed here, apart
// from the platform's conversions that the engine uses.
#pragma once
#include <chrono>
#include <string>

#include "foundation/vo_error.h"
#include "test_support.h"

namespace rules_test {

// An automation date: days since 30 December 1899 plus the time of day.
inline DATE At(int y, unsigned m, unsigned d, int hour = 0, int minute = 0, int second = 0) {
    using namespace std::chrono;
    return DATE(sys_days{year{y} / month{m} / day{d}}.time_since_epoch().count() + 25569) +
           (hour * 3600 + minute * 60 + second) / 86400.0;
}

inline constexpr double kTolerance = 1e-9;  // days; far below the whole second the calendar keeps

// The code and text of the EVoError the operation threw.
struct Failure {
    DWORD code = 0;
    std::string text = "(no error)";
};
template <class Operation>
Failure Caught(Operation operation) {
    try {
        operation();
    } catch (const ostrel::EVoError& e) {
        return {e.Code, test::Utf8(e.Message)};
    }
    return {};
}

}  // namespace rules_test
