// Host objects for the scheduler's tests. Each one fails the test on any
// call it does not expect and counts the calls it does.
#pragma once
#include <Ostrel.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "component/com_object.h"
#include "scheduler/schedule_records.h"
#include "scheduler/scheduler.h"
#include "test_support.h"

namespace sched_test {

// A task record owning what it holds, built as a host builds one: arrays in
// task memory, keys as variants.
struct Task : tagScheduleData {
    explicit Task(LONG key, LONG parent = 0) {
        ostrel::copy_t<tagScheduleData>::init(this);
        tkKey.Level = 1;
        test::SetI4(tkKey.Value, key);
        if (parent) {
            tkParent.Level = 1;
            test::SetI4(tkParent.Value, parent);
        }
    }
    ~Task() { ostrel::copy_t<tagScheduleData>::destroy(this); }
    Task(const Task& other) : tagScheduleData() {
        ostrel::copy_t<tagScheduleData>::init(this);
        EXPECT_HR(S_OK, ostrel::copy_t<tagScheduleData>::copy(this, &other));
    }
    Task& operator=(const Task&) = delete;

    Task& Interval(DATE start, DATE stop, ULONG flags, double duration) {
        psi = Grow(psi, dwIntervals);
        psi[dwIntervals - 1] = tagScheduleInterval{start, stop, flags, 0xAAAA, duration};
        return *this;
    }
    Task& Resource(const OLECHAR* key, double assigned) {
        psr = Grow(psr, dwResources);
        test::SetBstr(psr[dwResources - 1].rkResource, key);
        psr[dwResources - 1].dblAssigned = assigned;
        return *this;
    }
    Task& Predecessor(LONG key, tagPRED_TYPE type, double lag) {
        psp = Grow(psp, dwPredecessors);
        tagSchedulePredecessor& p = psp[dwPredecessors - 1];
        p.tkPred.Level = 1;
        p.tkPred.dwReserved = 0xBBBB;
        test::SetI4(p.tkPred.Value, key);
        p.ptType = type;
        p.dblLag = lag;
        return *this;
    }

private:
    template <class Item>
    static Item* Grow(Item* items, ULONG& count) {
        auto* grown = static_cast<Item*>(CoTaskMemRealloc(items, (count + 1) * sizeof(Item)));
        std::memset(static_cast<void*>(&grown[count]), 0, sizeof(Item));
        ++count;
        return grown;
    }
};

inline LONG KeyOf(const tagScheduleData& task) { return task.tkKey.Value.lVal; }

// One answer of the enumerator: what Next returns and how many records it
// hands out with it (and claims in *pcFetched).
struct NextAnswer {
    HRESULT hr;
    ULONG delivered;
    ULONG claimed;
};

// IEnumScheduleData as a host writes one: hands out deep copies of its
// records, by a script of answers or, without one, as a plain enumerator
// does. Only Next is expected.
class DataEnum final : public ostrel::ComObject<DataEnum, IEnumScheduleData> {
public:
    static std::span<const ostrel::InterfaceEntry<DataEnum>> InterfaceTable() {
        static const ostrel::InterfaceEntry<DataEnum> table[] = {
            ostrel::Entry<DataEnum, IEnumScheduleData>(IID_IEnumScheduleData)};
        return table;
    }

    // n records with keys 1..n.
    explicit DataEnum(ULONG n, std::vector<NextAnswer> script = {}) : script_(std::move(script)) {
        for (ULONG i = 1; i <= n; ++i) records_.emplace_back(LONG(i));
    }
    explicit DataEnum(std::vector<Task> records) : records_(std::move(records)) {}

    int nextCalls = 0;
    std::vector<ULONG> asked;

    STDMETHODIMP Next(ULONG celt, tagScheduleData* rgcd, ULONG* pcFetched) override {
        ++nextCalls;
        asked.push_back(celt);
        EXPECT_NE(pcFetched, nullptr);
        NextAnswer answer{S_OK, 0, 0};
        if (!script_.empty()) {
            answer = script_.front();
            script_.erase(script_.begin());
        } else {
            ULONG left = ULONG(records_.size()) - position_;
            answer.delivered = answer.claimed = celt < left ? celt : left;
            answer.hr = answer.delivered == celt ? S_OK : S_FALSE;
        }
        for (ULONG i = 0; i < answer.delivered; ++i) {
            EXPECT_EQ(rgcd[i].psi, nullptr) << "the buffer is handed over zeroed";
            EXPECT_HR(S_OK, ostrel::copy_t<tagScheduleData>::copy(&rgcd[i], &records_[position_ + i]));
        }
        position_ += answer.delivered;
        if (pcFetched) *pcFetched = answer.claimed;
        return answer.hr;
    }
    STDMETHODIMP Skip(ULONG) override { return Unexpected("Skip"); }
    STDMETHODIMP Reset() override { return Unexpected("Reset"); }
    STDMETHODIMP Clone(IEnumScheduleData**) override { return Unexpected("Clone"); }

private:
    static HRESULT Unexpected(const char* what) {
        ADD_FAILURE() << "unexpected IEnumScheduleData::" << what;
        return E_NOTIMPL;
    }
    std::vector<Task> records_;
    std::vector<NextAnswer> script_;
    ULONG position_ = 0;
};

// IVoAvailability that expects only the calls a test names: Clear (logged
// under the profile's name, answered with clearResult) and SetRules (the
// rules kept). Its destruction is reported through destroyed.
class Profile final : public ostrel::ComObject<Profile, IVoAvailability> {
public:
    static std::span<const ostrel::InterfaceEntry<Profile>> InterfaceTable() {
        static const ostrel::InterfaceEntry<Profile> table[] = {
            ostrel::Entry<Profile, IVoAvailability>(IID_IVoAvailability)};
        return table;
    }
    Profile(std::string name, bool* destroyed, std::vector<std::string>* log)
        : name_(std::move(name)), destroyed_(destroyed), log_(log) {}
    ~Profile() override {
        if (rules) rules->Release();
        if (destroyed_) *destroyed_ = true;
    }

    bool expectClear = false;
    HRESULT clearResult = S_OK;
    bool expectSetRules = false;
    IUnknown* rules = nullptr;

    STDMETHODIMP Clear() override {
        if (!expectClear) return Unexpected("Clear");
        if (log_) log_->push_back(name_);
        return clearResult;
    }
    STDMETHODIMP SetRules(IUnknown* pRules) override {
        if (!expectSetRules) return Unexpected("SetRules");
        if (pRules) pRules->AddRef();
        if (rules) rules->Release();
        rules = pRules;
        return S_OK;
    }

    STDMETHODIMP GetTypeInfoCount(UINT*) override { return Unexpected("GetTypeInfoCount"); }
    STDMETHODIMP GetTypeInfo(UINT, LCID, ITypeInfo**) override { return Unexpected("GetTypeInfo"); }
    STDMETHODIMP GetIDsOfNames(REFIID, LPOLESTR*, UINT, LCID, DISPID*) override {
        return Unexpected("GetIDsOfNames");
    }
    STDMETHODIMP Invoke(DISPID, REFIID, LCID, WORD, DISPPARAMS*, VARIANT*, EXCEPINFO*, UINT*) override {
        return Unexpected("Invoke");
    }
    STDMETHODIMP get_Count(ULONG*) override { return Unexpected("Count"); }
    STDMETHODIMP CalcWorkingHours(DATE, DATE, double*) override { return Unexpected("CalcWorkingHours"); }
    STDMETHODIMP Date2Index(DATE, ULONG*) override { return Unexpected("Date2Index"); }
    STDMETHODIMP Index2Date(ULONG, DATE*) override { return Unexpected("Index2Date"); }
    STDMETHODIMP GetUnitsAt(ULONG, double*) override { return Unexpected("GetUnitsAt"); }
    STDMETHODIMP GetUnits(DATE, double*) override { return Unexpected("GetUnits"); }
    STDMETHODIMP SetTimeSpan(DATE, DATE, double) override { return Unexpected("SetTimeSpan"); }
    STDMETHODIMP AddPoint(DATE, double) override { return Unexpected("AddPoint"); }
    STDMETHODIMP PrepareDateRange(DATE, DATE) override { return Unexpected("PrepareDateRange"); }
    STDMETHODIMP GetPreparedRange(DATE*, DATE*) override { return Unexpected("GetPreparedRange"); }
    STDMETHODIMP GetOperator(tagOPERATOR*, tagOPERATORBOUND*) override { return Unexpected("GetOperator"); }
    STDMETHODIMP SetOperator(tagOPERATOR, tagOPERATORBOUND) override { return Unexpected("SetOperator"); }
    STDMETHODIMP AddSource(IUnknown*) override { return Unexpected("AddSource"); }
    STDMETHODIMP GetSource(ULONG, IUnknown**) override { return Unexpected("GetSource"); }
    STDMETHODIMP SumUnits(DATE, DATE, double, ULONG, BOOL) override { return Unexpected("SumUnits"); }
    STDMETHODIMP SumRange(IUnknown*, DATE, tagOPERATOR, double*) override { return Unexpected("SumRange"); }
    STDMETHODIMP ScheduleTask(DATE, DATE, double, double, tagSCHEDULEDIRECTION, IUnknown**,
                              tagSCHEDULERESULT*) override {
        return Unexpected("ScheduleTask");
    }
    STDMETHODIMP EnumPoints(DATE, DATE, IUnknown**) override { return Unexpected("EnumPoints"); }
    STDMETHODIMP GetRules(IUnknown**) override { return Unexpected("GetRules"); }
    STDMETHODIMP get_RequiresPrepare(BOOL*) override { return Unexpected("RequiresPrepare"); }

private:
    HRESULT Unexpected(const char* what) {
        ADD_FAILURE() << "unexpected IVoAvailability::" << what << " on profile " << name_;
        return E_NOTIMPL;
    }
    std::string name_;
    bool* destroyed_;
    std::vector<std::string>* log_;
};

// A default calendar made as a plain test profile (destroyed reports its end).
inline ostrel::TVoScheduler::CalendarFactory Calendar(bool* destroyed = nullptr) {
    return [destroyed] { return ostrel::InterfaceRef<IVoAvailability>(Profile::New("calendar", destroyed, nullptr)); };
}

// Adds n records (keys 1..n) as a set on the default calendar; its cookie.
inline DWORD AddRecords(ostrel::TVoScheduler& engine, ULONG n) {
    DataEnum* records = DataEnum::New(n);
    DWORD cookie = engine.AddScheduleData(records, nullptr, 45000.0, 45100.0);
    records->Release();
    return cookie;
}

// The HRESULT a call threw, S_OK when it threw none.
template <class Call>
HRESULT Thrown(Call call) {
    try {
        call();
    } catch (HRESULT hr) {
        return hr;
    }
    return S_OK;
}

}  // namespace sched_test
