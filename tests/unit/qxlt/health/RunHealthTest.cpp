#include "RunHealth.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qxlt {
namespace {

using testing::HasSubstr;
using testing::Not;

constexpr std::uint64_t kNoon = 1772366400000000000;  // 2026-03-01T12:00:00Z

RunHealth Sample() {
    RunHealth health;
    health.state = RunState::Running;
    health.started = kNoon;
    health.now = kNoon + 5000000000;
    health.pid = 77;
    health.residentBytes = 4096;
    health.storeBytes = 12;
    health.cycles = 3;
    health.clock = static_cast<std::int64_t>(kNoon);
    health.cycle.Add(std::chrono::milliseconds(20));
    health.cycle.Add(std::chrono::milliseconds(10));
    ProcessHealth& radio = health.processes["radio"];
    radio.ids = {4711, 4712};
    radio.since = kNoon + 1;
    radio.calls = 9;
    radio.counts.emplace();
    radio.counts->recorded = 12;
    radio.counts->delivered = 9;
    radio.counts->overwritten = 2;
    radio.counts->dropped = 1;
    radio.bytesNotDecoded = 5;
    radio.eventsInError = 6;
    QxEventTally::Row& high = health.events["HIGH"];
    high = {8, 4, 2, 1, "91", 250000000};
    health.events["NEVER"];
    return health;
}

TEST(RunHealth, IsOneJsonObject) {
    EXPECT_EQ(
        HealthJson(Sample()),
        R"({"state":"running","time":"2026-03-01T12:00:05.000000000Z","started":"2026-03-01T12:00:00.000000000Z",)"
        R"("pid":77,"cycles":3,"waitingFor":[],)"
        R"("processes":[{"process":"radio","process_ids":[4711,4712],"alive":true,)"
        R"("since":"2026-03-01T12:00:00.000000001Z","calls":9,"lost":3,"recorded":12,"delivered":9,"open":0,)"
        R"("overwritten":2,"refused":0,"dropped":1,"exitsDropped":0,"bytesNotDecoded":5,"eventsInError":6}],)"
        R"("events":[{"event":"HIGH","seen":8,"matched":4,"fired":2,"errors":1,"lastValue":"91",)"
        R"("lastTime":"2026-03-01T12:00:00.250000000Z"},)"
        R"({"event":"NEVER","seen":0,"matched":0,"fired":0,"errors":0,"lastValue":null,"lastTime":null}],)"
        R"("cycleUs":{"count":2,"last":10000,"mean":15000,"longest":20000},)"
        R"("workUs":{"count":0,"last":0,"mean":0,"longest":0},)"
        R"("callbackUs":{"count":0,"last":0,"mean":0,"longest":0},)"
        R"("memory":{"residentBytes":4096,"storeBytes":12}})");
}

TEST(RunHealth, TellsWhatCannotBeRead) {
    RunHealth health = Sample();
    health.processes["radio"].problem = "it runs as user x";
    EXPECT_THAT(HealthJson(health), HasSubstr(R"("problem":"it runs as user x","calls":9)"));
    EXPECT_THAT(HealthSummary(health), HasSubstr("radio[4711,4712] cannot be read, "));
}

// The counts of calls come from the control, which may have none; times of events need the wall clock.
TEST(RunHealth, LeavesOutWhatIsNotKnown) {
    RunHealth health = Sample();
    health.processes["radio"].counts.reset();
    health.clock.reset();
    EXPECT_THAT(HealthJson(health), HasSubstr(R"("calls":9,"lost":0,"bytesNotDecoded":5)"));
    EXPECT_THAT(HealthJson(health), HasSubstr(R"("lastValue":"91","lastTime":null)"));
}

TEST(RunHealth, HasTheFiguresOfItsParts) {
    RunHealth health = Sample();
    health.figures = {{"rules", "qxlt_rules", "The rules.", std::string("ab12"), ""},
                      {"heldBack", "qxlt_events_held_back_total", "Held back.", std::uint64_t{7}, "HIGH"},
                      {"kept", "qxlt_captures_total", "Captures.", std::uint64_t{1}, ""},
                      {"heldBack", "qxlt_events_held_back_total", "Held back.", std::uint64_t{0}, "NEVER"}};
    const std::string json = HealthJson(health);
    EXPECT_THAT(json, HasSubstr(R"("waitingFor":[],"rules":"ab12","kept":1,"processes")"));
    EXPECT_THAT(json, HasSubstr(R"("lastTime":"2026-03-01T12:00:00.250000000Z","heldBack":7},)"));
    EXPECT_THAT(json, HasSubstr(R"("lastTime":null,"heldBack":0}])"));
    const std::string metrics = HealthMetrics(health, "car");
    EXPECT_THAT(metrics, HasSubstr("# HELP qxlt_rules The rules.\n# TYPE qxlt_rules gauge\n"
                                   "qxlt_rules{run=\"car\",rules=\"ab12\"} 1\n"
                                   "# HELP qxlt_events_held_back_total Held back.\n"
                                   "# TYPE qxlt_events_held_back_total counter\n"
                                   "qxlt_events_held_back_total{run=\"car\",event=\"HIGH\"} 7\n"
                                   "qxlt_events_held_back_total{run=\"car\",event=\"NEVER\"} 0\n"
                                   "# HELP qxlt_captures_total "));
}

TEST(RunHealth, CutsValuesBetweenCharacters) {
    RunHealth health = Sample();
    std::string& value = health.events["HIGH"].lastValue;
    value.assign(QxEventTally::kMaxValue - 1, 'x');
    const std::string whole = value;
    value += '\xC3';  // the first half of a character
    EXPECT_THAT(HealthJson(health), HasSubstr("\"lastValue\":\"" + whole + "\",\"lastTime\""));
    value.assign(QxEventTally::kMaxValue, '\xFF');
    EXPECT_THAT(HealthJson(health), HasSubstr("\"lastValueHex\":\"ff"));
}

TEST(RunHealth, IsMetricsOfThatRun) {
    const std::string text = HealthMetrics(Sample(), "car");
    for (const char* const line :
         {"# TYPE qxlt_running gauge\nqxlt_running{run=\"car\"} 1\n",
          "qxlt_start_time_seconds{run=\"car\"} 1772366400.000000000\n",
          "# TYPE qxlt_cycles_total counter\nqxlt_cycles_total{run=\"car\"} 3\n",
          "# TYPE qxlt_cycle_seconds summary\nqxlt_cycle_seconds_sum{run=\"car\"} 0.030000000\n"
          "qxlt_cycle_seconds_count{run=\"car\"} 2\n",
          "qxlt_cycle_last_seconds{run=\"car\"} 0.010000000\n", "qxlt_process_up{run=\"car\",process=\"radio\"} 1\n",
          "qxlt_process_instances{run=\"car\",process=\"radio\"} 2\n",
          "qxlt_process_calls_lost_total{run=\"car\",process=\"radio\"} 3\n",
          "# TYPE qxlt_event_fired_total counter\nqxlt_event_fired_total{run=\"car\",event=\"HIGH\"} 2\n"
          "qxlt_event_fired_total{run=\"car\",event=\"NEVER\"} 0\n",
          "qxlt_event_last_time_seconds{run=\"car\",event=\"HIGH\"} 1772366400.250000000\n"
          "qxlt_event_last_time_seconds{run=\"car\",event=\"NEVER\"} 0.000000000\n"}) {
        EXPECT_THAT(text, HasSubstr(line));
    }
    EXPECT_EQ(text.back(), '\n');
}

TEST(RunHealth, HasNoFamilyWithoutSamples) {
    EXPECT_THAT(HealthMetrics({}, "car"), Not(HasSubstr("qxlt_event_")));
    EXPECT_THAT(HealthMetrics({}, "car"), Not(HasSubstr("qxlt_process_up")));
}

TEST(RunHealth, EscapesLabels) {
    RunHealth health;
    health.events["a\"b\\c\nd\xFF"];
    EXPECT_THAT(HealthMetrics(health, "x\"y"),
                HasSubstr("qxlt_event_seen_total{run=\"x\\\"y\",event=\"a\\\"b\\\\c\\nd\xEF\xBF\xBD\"} 0\n"));
}

TEST(RunHealth, IsAFewWordsForAPerson) {
    RunHealth health = Sample();
    EXPECT_EQ(HealthSummary(health), "radio[4711,4712], 3 cycles, 2 events, 3 calls lost");
    health.processes["radio"].ids.clear();
    EXPECT_EQ(HealthSummary(health), "radio has ended, 3 cycles, 2 events, 3 calls lost");
    health.state = RunState::Waiting;
    health.waitingFor = {"radio", "a\nb"};
    EXPECT_EQ(HealthSummary(health), "waiting for radio, a\\nb");
}

}  // namespace
}  // namespace qxlt
