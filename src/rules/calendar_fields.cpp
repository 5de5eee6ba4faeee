#include "rules/calendar_fields.h"

#include "foundation/message_numbers.h"
#include "foundation/vo_error.h"

namespace ostrel {
namespace {

// A numbered error rather than a bare HRESULT: a rejected date is one of the
// rule set's own failures, so the caller gets a description with it.
[[noreturn]] void ThrowConversionFailure() { throw EVoError(VOMSG_FAIL); }

}  // namespace

SYSTEMTIME ToCalendar(DATE date) {
    SYSTEMTIME fields{};
    if (!VariantTimeToSystemTime(date, &fields)) ThrowConversionFailure();
    return fields;
}

DATE FromCalendar(const SYSTEMTIME& fields) {
    SYSTEMTIME copy = fields;
    DATE date = 0.0;
    if (!SystemTimeToVariantTime(&copy, &date)) ThrowConversionFailure();
    return date;
}

SYSTEMTIME CalendarDate(WORD year, WORD month, WORD day, WORD hour, WORD minute, WORD second) {
    SYSTEMTIME fields{};
    fields.wYear = year;
    fields.wMonth = month;
    fields.wDay = day;
    fields.wHour = hour;
    fields.wMinute = minute;
    fields.wSecond = second;
    return fields;
}

}  // namespace ostrel
