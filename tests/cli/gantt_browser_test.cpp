// The Gantt page in a real browser: headless Chromium renders the built-in
// example's page with a measuring script added, and the test reads what it
// measured from the rendered DOM: every task's bars where its dates in the
// JSON of the same run put them on the drawn time axis, failed tasks marked
// with their messages, and the over-allocated resource marked. A screenshot
// of the page is kept in the build tree for CI (and for docs/gantt.png).
#include <gtest/gtest.h>

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "commands.h"
#include "dates.h"

namespace cli {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

std::string Slurp(const fs::path& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

fs::path FindChromium() {
    const char* path = std::getenv("PATH");
    std::istringstream dirs(path ? path : "");
    for (std::string dir; std::getline(dirs, dir, ':');)
        for (const char* name : {"chromium", "chromium-browser"})
            if (!dir.empty() && fs::exists(fs::path(dir) / name)) return fs::path(dir) / name;
    return {};
}

// Records, once the page is laid out, where the browser drew the axis's
// month lines, each task's shapes and each resource's over-allocation, as
// JSON in a script element that --dump-dom prints as it is.
constexpr const char* kMeasure = R"js(<script>
(function () {
  function box(e) { var r = e.getBoundingClientRect(); return [r.left, r.right, r.width, r.height]; }
  var out = {ticks: [], tasks: [], resources: []};
  document.querySelectorAll('#tasks line.tick').forEach(function (l) {
    out.ticks.push({date: l.getAttribute('data-date'), x: box(l)[0]});
  });
  document.querySelectorAll('#tasks g.task').forEach(function (g) {
    var t = {id: g.getAttribute('data-task'), bars: [], title: g.querySelector('title').textContent,
             marked: !!g.querySelector('text.why')};
    g.querySelectorAll('rect.bar').forEach(function (b) { t.bars.push(box(b)); });
    var s = g.querySelector('path.summary'); if (s) t.summary = box(s);
    var m = g.querySelector('path.milestone'); if (m) t.milestone = box(m);
    out.tasks.push(t);
  });
  document.querySelectorAll('#load g.resource').forEach(function (g) {
    var id = g.getAttribute('data-resource'), over = false;
    g.querySelectorAll('.over').forEach(function (p) { var b = box(p); over = over || (b[2] > 0 && b[3] > 0); });
    var name = document.querySelector('#load .resource-name[data-resource="' + CSS.escape(id) + '"]');
    out.resources.push({id: id, over: over, named: !!name && name.classList.contains('over')});
  });
  var s = document.createElement('script');
  s.type = 'application/json'; s.id = 'measured'; s.textContent = JSON.stringify(out);
  document.body.appendChild(s);
})();
</script>)js";

class GanttInBrowser : public testing::Test {
protected:
    void SetUp() override {
        chromium_ = FindChromium();
        if (chromium_.empty())
            GTEST_SKIP() << "chromium is not installed (Debian package \"chromium\"; tools/run-tests.sh installs it)";
        work_ = fs::absolute("gantt_browser");
        fs::remove_all(work_);
        fs::create_directories(work_);
    }

    // Chromium as a container allows it: no sandbox, no GPU, a throwaway
    // profile, a fixed window.
    int Chromium(const std::string& what, const fs::path& page, const fs::path& output) {
        const std::string command = "'" + chromium_.string() + "' --headless=new --no-sandbox --disable-gpu " +
                                    "--disable-dev-shm-usage --hide-scrollbars --no-first-run --user-data-dir='" +
                                    (work_ / "profile").string() + "' --window-size=1320,1560 " + what + " 'file://" +
                                    page.string() + "' > '" + output.string() + "' 2>> '" +
                                    (work_ / "chromium.log").string() + "'";
        return std::system(command.c_str());
    }

    fs::path chromium_, work_;
};

// What the JSON says: each resource's intervals of use, by task.
bool OverAllocatedInJson(const json& doc, const json& resource) {
    std::map<std::string, const json*> tasks;
    for (const json& t : doc["tasks"]) tasks[t["id"]] = &t;
    std::vector<std::pair<DATE, double>> changes;
    for (const json& use : resource["uses"])
        for (const json& span : (*tasks[use["task"]])["intervals"]) {
            changes.emplace_back(*ParseDate(span[0].get<std::string>()), use["units"].get<double>());
            changes.emplace_back(*ParseDate(span[1].get<std::string>()), -use["units"].get<double>());
        }
    std::sort(changes.begin(), changes.end());
    double taken = 0;
    for (const auto& [at, units] : changes)
        if ((taken += units) > resource["units"].get<double>() + 1e-9) return true;
    return false;
}

TEST_F(GanttInBrowser, BarsSitWhereTheirDatesAreAndOverAllocationIsMarked) {
    ScheduleArgs args;
    args.json = (work_ / "example.json").string();
    args.html = (work_ / "example.html").string();
    args.quiet = true;
    std::ostringstream out, err;
    ASSERT_LE(RunSchedule(args, out, err), kExitTasksFailed) << err.str();
    const json doc = json::parse(Slurp(args.json));

    std::string page = Slurp(args.html);
    const size_t end = page.rfind("</body>");
    ASSERT_NE(end, std::string::npos);
    page.insert(end, kMeasure);
    std::ofstream(work_ / "measure.html", std::ios::binary) << page;
    ASSERT_EQ(Chromium("--dump-dom", work_ / "measure.html", work_ / "dom.html"), 0) << Slurp(work_ / "chromium.log");
    const std::string dom = Slurp(work_ / "dom.html");
    const size_t from = dom.find("id=\"measured\">");
    ASSERT_NE(from, std::string::npos) << "the measuring script left nothing; chromium said:\n" << Slurp(work_ / "chromium.log");
    const size_t open = dom.find('>', from) + 1;
    const json measured = json::parse(dom.substr(open, dom.find("</script>", open) - open));

    // The axis as drawn: month lines a constant number of pixels a day apart.
    const json& ticks = measured["ticks"];
    ASSERT_GE(ticks.size(), 2u);
    const DATE d0 = *ParseDate(ticks.front()["date"].get<std::string>());
    const DATE d1 = *ParseDate(ticks.back()["date"].get<std::string>());
    const double x0 = ticks.front()["x"], perDay = (ticks.back()["x"].get<double>() - x0) / (d1 - d0);
    ASSERT_GT(perDay, 0);
    auto X = [&](const json& date) { return x0 + (*ParseDate(date.get<std::string>()) - d0) * perDay; };
    for (const json& tick : ticks) EXPECT_NEAR(tick["x"].get<double>(), X(tick["date"]), 0.6) << tick.dump();

    std::map<std::string, const json*> drawn;
    for (const json& t : measured["tasks"]) drawn[t["id"]] = &t;
    ASSERT_EQ(drawn.size(), doc["tasks"].size());
    size_t bars = 0;
    for (const json& task : doc["tasks"]) {
        const std::string id = task["id"];
        ASSERT_TRUE(drawn.count(id)) << id;
        const json& shown = *drawn[id];
        if (!task.contains("start")) {
            EXPECT_TRUE(shown["marked"].get<bool>()) << id << " has no dates but is not marked";
        } else if (task["summary"].get<bool>()) {
            ASSERT_TRUE(shown.contains("summary")) << id;
            EXPECT_NEAR(shown["summary"][0].get<double>(), X(task["start"]), 1) << id;
            EXPECT_NEAR(shown["summary"][1].get<double>(), std::max(X(task["finish"]), X(task["start"]) + 2), 1) << id;
        } else if (task["start"] == task["finish"]) {
            ASSERT_TRUE(shown.contains("milestone")) << id;
            const double middle = (shown["milestone"][0].get<double>() + shown["milestone"][1].get<double>()) / 2;
            EXPECT_NEAR(middle, X(task["start"]), 1) << id;
        } else {
            ASSERT_EQ(shown["bars"].size(), task["intervals"].size()) << id;
            for (size_t i = 0; i < task["intervals"].size(); ++i) {
                const json& bar = shown["bars"][i];
                const double left = X(task["intervals"][i][0]), right = std::max(X(task["intervals"][i][1]), left + 1);
                EXPECT_NEAR(bar[0].get<double>(), left, 1) << id << " interval " << i;
                EXPECT_NEAR(bar[1].get<double>(), right, 1) << id << " interval " << i;
                ++bars;
            }
        }
    }
    EXPECT_GT(bars, 10u);
    for (const json& m : doc["messages"]) {
        if (!m.contains("task")) continue;
        const std::string title = (*drawn[m["task"]["id"]])["title"];
        std::string text = m["text"];
        while (!text.empty() && std::isspace(static_cast<unsigned char>(text.back()))) text.pop_back();
        EXPECT_NE(title.find(text), std::string::npos) << m.dump();
    }

    size_t over = 0;
    ASSERT_EQ(measured["resources"].size(), doc["resources"].size());
    for (size_t r = 0; r < doc["resources"].size(); ++r) {
        const json& shown = measured["resources"][r];
        const bool expected = OverAllocatedInJson(doc, doc["resources"][r]);
        EXPECT_EQ(shown["id"], doc["resources"][r]["id"]);
        EXPECT_EQ(shown["over"].get<bool>(), expected) << shown.dump();
        EXPECT_EQ(shown["named"].get<bool>(), expected) << shown.dump();
        over += expected;
    }
    EXPECT_EQ(over, 1u) << "the example has one over-allocated resource";

    // The picture, for CI and for the README.
    fs::create_directories(OSTREL_ARTEFACTS);
    const fs::path shot = fs::path(OSTREL_ARTEFACTS) / "gantt.png";
    fs::remove(shot);
    const std::string what = "--screenshot='" + shot.string() + "'";
    EXPECT_EQ(Chromium(what, args.html, work_ / "screenshot.log"), 0) << Slurp(work_ / "chromium.log");
    EXPECT_TRUE(fs::exists(shot) && fs::file_size(shot) > 10000) << shot;
}

}  // namespace
}  // namespace cli
