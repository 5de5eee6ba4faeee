// The availability profile engine behind the profile component: a step
// function of time (units per moment), filled directly or prepared lazily
// from a source profile and a rule set, summed over ranges, and used to place
// work forward or backward.
//
// Dates are automation dates in days; units are 1.0 for one full unit of a
// resource. Dates and units are compared exactly; the only tolerance is
// dblSecond, where placement and preparation name it.
#pragma once
#include <memory>
#include <vector>

#include <Ostrel.h>

#include "availability/point_store.h"

namespace ostrel {

// No end: a stop at or beyond it is an open-ended range.
inline constexpr DATE dtOpenEnd = 1.7e308;
// One second in days.
inline constexpr double dblSecond = 1.0 / 86400.0;
// Flag of a point whose units an allocation brought to zero or below.
inline constexpr ULONG POINT_EXHAUSTED = 0x2;
// Caller flag of SumUnits asking for exhausted points to be marked.
inline constexpr ULONG SUM_MARK_EXHAUSTED = 0x1;

// The points PackData hands out; the caller owns them. Never a null array,
// so an enumerator built on it is merely empty when there are no points.
struct PointArray {
    std::unique_ptr<tagAVAILABILITYPOINT[]> points;
    ULONG count = 0;
};

// A placement: spans in ascending order, touching ones joined.
using SpanList = std::vector<tagTIMESPAN>;

// One source profile: a counted reference released with the record.
class SourceRecord {
public:
    explicit SourceRecord(IUnknown* source);  // takes over one reference
    SourceRecord(SourceRecord&& other) noexcept;
    SourceRecord& operator=(SourceRecord&&) = delete;
    SourceRecord(const SourceRecord&) = delete;
    ~SourceRecord();
    IUnknown* Interface() const { return itf_; }

private:
    GUID iid_;
    VARIANT key_;
    IUnknown* itf_;
    bool owned_;
};

class TVoAvailability {
public:
    explicit TVoAvailability(double defaultUnits);
    virtual ~TVoAvailability();
    TVoAvailability(const TVoAvailability&) = delete;
    TVoAvailability& operator=(const TVoAvailability&) = delete;

    // --- Preparation (preparation.cpp) ---
    // Computes the part of [start, stop) not yet prepared from the source and
    // the rule set; whole days, grown around what is already prepared.
    virtual void Prepare(DATE start, DATE stop);
    bool RequiresPrepare() const;
    // Extends the prepared range towards d by dwPrepareStep days when d lies
    // at or beyond one of its ends; true when it asked for preparation.
    bool EnsurePrepared(DATE d);
    void GetPreparedRange(DATE* start, DATE* stop) const;
    void SetRules(IUnknown* rules);
    void GetRules(IUnknown** rules) const;
    void ApplySource(IUnknown* source, DATE start, DATE stop, bool first);
    void ApplyRules(DATE start, DATE stop);
    void ApplyDayRules(DATE day, ULONG count, tagRULE* rules);

    // --- Points and queries (profile_queries.cpp) ---
    void Clear();
    ULONG Count(DATE start, DATE stop);
    double GetUnits(DATE pos) const;
    ULONG Date2Index(DATE pos) const;
    DATE Index2Date(ULONG index) const;
    double GetUnitsAt(ULONG index) const;
    void SetTimeSpan(DATE start, DATE stop, double units);
    void AddPoint(DATE date, double units);
    // The integral of units over [start, stop) in unit-days.
    double CalcWorkingHours(DATE start, DATE stop);
    PointArray PackData(DATE start, DATE stop);

    // --- Sources and sums (unit_sums.cpp) ---
    void AddSource(IUnknown* source);
    void GetSource(ULONG index, IUnknown** source) const;
    // Operators and directions are the raw 32-bit values callers send, since
    // any number may arrive; the enumerations hold only the named ones.
    void GetOperator(tagOPERATOR* op, tagOPERATORBOUND* bound) const;
    void SetOperator(ULONG op, ULONG bound);
    // Adds units to [start, stop); returns the lowest units reached there,
    // never above 0.0.
    double SumUnits(DATE start, DATE stop, double units, ULONG flags, bool allowNegative);
    void SumRange(IUnknown* points, DATE stop, ULONG op, double* result);

    // --- Placement (placement.cpp) ---
    void ScheduleTask(DATE dtStart, DATE dtEnd, double dblDuration, double UnitsRequired,
                      ULONG Direction, IUnknown** ppUnk, tagSCHEDULERESULT* psrResult);
    bool PlaceForward(DATE dtStart, DATE dtEnd, double duration, double units, SpanList& spans);
    bool PlaceBackward(DATE dtStart, DATE dtEnd, double duration, double units, SpanList& spans);
    static DATE RestartDateForward(const SpanList& spans, IEnumTimespans* earlier);
    static DATE RestartDateBackward(const SpanList& spans, IEnumTimespans* earlier);

    // The points as they stand, for reading.
    const PointStore& Points() const { return points; }

private:
    PointStore points;
    std::vector<SourceRecord> sources;
    ULONG opOperator = opNone;
    ULONG obBound = obNone;
    DATE dtPreparedStart = 0.0;
    DATE dtPreparedStop = dtOpenEnd;
    double dblDefaultUnits;
    IVoRules* ruleSet = nullptr;
    ULONG dwPrepareStep = 50;
};

}  // namespace ostrel
