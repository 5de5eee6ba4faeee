// A scheduler run over a small project given as data: tasks with their
// constraints, links and intervals on real availability profiles, and a host
// sink that hands out resource profiles and fails on anything else.
#pragma once
#include <cstring>
#include <functional>
#include <map>
#include <string>

#include "foundation/message_loader.h"
#include "scheduler/scheduler.h"
#include "scheduler_test_support.h"

namespace run_test {

using sched_test::Task;

// A real profile with the given points (date, units).
inline IVoAvailability* NewProfile(std::initializer_list<std::pair<DATE, double>> points) {
    IVoAvailability* profile = nullptr;
    EXPECT_HR(S_OK, CoCreateInstance(CLSID_VoAvailability, nullptr, CLSCTX_INPROC_SERVER, IID_IVoAvailability,
                                     reinterpret_cast<void**>(&profile)));
    for (auto [date, units] : points) EXPECT_HR(S_OK, profile->AddPoint(date, units));
    return profile;
}

// Work from day 100 on, one unit or more, in two segments; the sets start a
// day earlier, since a backward placement never uses the segment that holds
// the set's start.
inline IVoAvailability* AlwaysWorking() { return NewProfile({{0.0, 0.0}, {100.0, 1.0}, {100.5, 1.5}}); }

// The host: answers GetAvailabilityProfile from a table by resource name or
// key number (nothing for one it lacks), counts the calls, may run a hook,
// and fails the test on Progress unless told to expect it.
class HostSink final : public ostrel::ComObject<HostSink, IVoScheduleEvents> {
public:
    static std::span<const ostrel::InterfaceEntry<HostSink>> InterfaceTable() {
        static const ostrel::InterfaceEntry<HostSink> table[] = {
            ostrel::Entry<HostSink, IVoScheduleEvents>(IID_IVoScheduleEvents)};
        return table;
    }
    explicit HostSink(bool* destroyed = nullptr) : destroyed_(destroyed) {}
    ~HostSink() override {
        for (auto& [name, object] : answers) object->Release();
        if (destroyed_) *destroyed_ = true;
    }

    std::map<std::string, IUnknown*> answers;  // owned
    std::map<std::string, int> asked;
    std::function<void()> onAsk;
    HRESULT result = S_OK;  // what every event returns
    bool expectProgress = false;
    std::vector<LONG> progress;

    STDMETHODIMP GetAvailabilityProfile(ULONG flags, VARIANT gk, IUnknown** ppUnk) override {
        EXPECT_EQ(flags, ULONG(ifResourceDefaultAvailability));
        EXPECT_EQ(*ppUnk, nullptr);
        const std::string name = gk.vt == VT_BSTR ? test::Utf8(gk.bstrVal) : std::to_string(gk.lVal);
        ++asked[name];
        if (onAsk) onAsk();
        auto found = answers.find(name);
        if (found != answers.end()) {
            found->second->AddRef();
            *ppUnk = found->second;
        }
        return result;
    }
    STDMETHODIMP Progress(LONG done) override {
        if (!expectProgress) ADD_FAILURE() << "unexpected Progress";
        progress.push_back(done);
        return result;
    }

private:
    bool* destroyed_;
};

inline void SetConstraint(Task& task, LONG constraint, DATE date) {
    std::memcpy(&task.coConstraint, &constraint, sizeof constraint);
    task.dtConstraint = date;
}

struct Run : ::testing::Test {
    static constexpr DATE kStart = 99.0, kStop = 200.0;

    HostSink* host = nullptr;
    ostrel::TVoScheduler* engine = nullptr;
    DWORD cookie = 0;

    void SetUp() override {
        ASSERT_TRUE(SUCCEEDED(CoInitialize(nullptr)));
        host = HostSink::New();
        engine = new ostrel::TVoScheduler(host);
    }
    void TearDown() override {
        delete engine;
        host->Release();
        CoUninitialize();
    }

    // Adds the tasks as one set on the profile (the default calendar when
    // null) and runs; returns the run's flags.
    ULONG Schedule(std::vector<Task> tasks, IVoAvailability* profile, DATE start = kStart, DATE stop = kStop) {
        auto* records = sched_test::DataEnum::New(std::move(tasks));
        cookie = engine->AddScheduleData(records, profile, start, stop);
        records->Release();
        if (profile) profile->Release();
        engine->Run();
        return engine->ResultFlags();
    }
    tagScheduleData& Stored(LONG key) {
        for (tagScheduleData& task : engine->SetByCookie(cookie).Tasks())
            if (sched_test::KeyOf(task) == key) return task;
        throw std::runtime_error("no task " + std::to_string(key));
    }
    // The messages' texts, each with its task's key (0 without task).
    std::vector<std::pair<LONG, std::string>> Messages() {
        std::vector<std::pair<LONG, std::string>> out;
        const ostrel::MessageList& list = engine->Messages();
        for (ULONG i = 0; i < list.Count(); ++i)
            out.emplace_back(list[i].tk.Value.vt == VT_I4 ? list[i].tk.Value.lVal : 0,
                             test::Utf8(list[i].bstrMessage));
        return out;
    }
};

// A message text as the run formats it.
template <class... Inserts>
std::string Text(DWORD number, Inserts... inserts) {
    return test::Utf8(ostrel::FormatVoMessage(number, inserts...));
}

}  // namespace run_test
