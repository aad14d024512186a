// What clients are told of a tracker's health.
#include "QxTrackerHealth.h"

#include <cstring>
#include <map>

#include "QxLogTrackerFixture.h"
#include "QxLogTrackerHealth.h"

namespace {

QxHealth HealthOf(const IQxLogTracker& tracker) {
    QxHealth health;
    EXPECT_EQ(QxHealthOf(tracker, health), 1);
    return health;
}

// The events by name: what became of them, and the last value.
std::map<std::string, std::string> EventsOf(const IQxLogTracker& tracker) {
    std::map<std::string, std::string> events;
    const auto take = [](const QxEventHealth* event, void* context) {
        std::string text;
        for (const std::uint64_t count : {event->seen, event->matched, event->fired, event->errors}) {
            text += std::to_string(count) + " ";
        }
        (*static_cast<std::map<std::string, std::string>*>(context))[std::string(event->name, event->nameSize)] =
            text + std::string(event->lastValue, event->lastValueSize) + "@" + std::to_string(event->lastTime);
    };
    EXPECT_EQ(QxEventHealthOf(tracker, take, &events), 1);
    return events;
}

// A tracker that is none of the library's.
class OtherTracker final : public IQxLogTracker {
public:
    int SetQxProcess(std::string&) override { return 0; }
    int ParseScript(std::pair<int, char*>&) override { return 0; }
    int Run(Callback, void*, int) override { return 0; }
    int Stop() override { return 0; }
    std::shared_ptr<IQxData> Get() override { return nullptr; }
    void Clear() override {}
};

}  // namespace

TEST_F(QxLogTrackerTest, HealthIsZeroBeforeTheFirstCycle) {
    const QxHealth none{};
    const QxHealth health = HealthOf(*m_tracker);
    EXPECT_EQ(std::memcmp(&health, &none, sizeof none), 0);
}

TEST_F(QxLogTrackerTest, HealthCountsWhatCyclesBring) {
    const Bytes first = Calls({1});
    const Bytes second = Calls({2, 3});
    Track({first, second, Calls({4}) + Bytes("\x7F\x01\x00", 3)});
    m_tracker->Stop();
    const QxHealth health = HealthOf(*m_tracker);
    EXPECT_GE(health.cycles, 4u);
    EXPECT_EQ(health.dumps, 3u);
    EXPECT_EQ(health.dumpBytes, first.size() + second.size() + Calls({4}).size() + 3);
    EXPECT_EQ(health.dumpsDamaged, 1u);
    EXPECT_EQ(health.bytesNotDecoded, 3u);
    EXPECT_EQ(health.calls, 4u);
    EXPECT_EQ(health.eventsFired, 4u);
    EXPECT_EQ(health.eventsInError, 0u);
    EXPECT_GT(health.storeBytes, 0u);
}

TEST_F(QxLogTrackerTest, HealthTellsHowLongCyclesTake) {
    Track({Calls({1}), Calls({2})});
    m_tracker->Stop();
    const QxHealth health = HealthOf(*m_tracker);
    EXPECT_GT(health.lastCycleNs, 0u);
    EXPECT_GE(health.longestCycleNs, health.lastCycleNs);
    EXPECT_GE(health.cyclesNs, health.longestCycleNs);
    EXPECT_GE(health.longestWorkNs, health.lastWorkNs);
    EXPECT_GE(health.cyclesNs, health.worksNs);
    EXPECT_EQ(health.longestCallbackNs, 0u) << "nobody asked for it";
}

TEST_F(QxLogTrackerTest, HealthCountsEventsInError) {
    const NamedProcess& process = Watch();
    ASSERT_EQ(Load(*m_tracker, Scenario("<action name='a'><method name='SetVolume'/>"
                                        "<event name='BAD' tag='IN' value='x' type='INT'/></action>")),
              1);
    AddDumps(process, {Calls({1}), Calls({2})});
    Run();
    ASSERT_TRUE(WaitForTheLastDump());
    m_tracker->Stop();
    EXPECT_EQ(HealthOf(*m_tracker).eventsInError, 2u);
    EXPECT_EQ(HealthOf(*m_tracker).eventsFired, 0u);
}

TEST_F(QxLogTrackerTest, EventsAreCountedOneByOneOnceThatIsAskedFor) {
    EXPECT_EQ(QxEventHealthOf(
                  *m_tracker, [](const QxEventHealth*, void*) { FAIL(); }, nullptr),
              0);
    EXPECT_EQ(QxCountEvents(*m_tracker), 1);
    const NamedProcess& process = Watch();
    ASSERT_EQ(Load(*m_tracker, Scenario(Action("VOLUME") +
                                        "<action name='b'><method name='SetVolume'/>"
                                        "<event name='BAD' tag='IN' value='x' type='INT'/>"
                                        "<event name='HIGH_h' tag='IN' value='0' type='INT' watch='D-CONDITIONAL' "
                                        "condition='&gt;' conditionValue='80'/></action>")),
              1);
    AddDumps(process, {Calls({1}), Calls({90}), Calls({91}), Calls({7})});
    m_client.act = [](const std::string&) { throw std::runtime_error("client"); };
    Run();
    ASSERT_TRUE(WaitForTheLastDump());
    m_tracker->Stop();
    const std::map<std::string, std::string> expected = {
        {"BAD", "4 0 0 4 @0"}, {"HIGH_h", "4 2 1 0 90@105"}, {"VOLUME", "4 4 4 0 7@105"}};
    EXPECT_EQ(EventsOf(*m_tracker), expected);
    EXPECT_EQ(m_client.Events().size(), 5u) << "the client is called as before";
    EXPECT_GT(HealthOf(*m_tracker).longestCallbackNs, 0u);
    EXPECT_GE(HealthOf(*m_tracker).callbacksNs, HealthOf(*m_tracker).longestCallbackNs);
}

TEST_F(QxLogTrackerTest, HealthMayBeAskedForFromTheCallback) {
    m_client.act = [this](const std::string&) { HealthOf(*m_tracker); };
    Track({Calls({1}), Calls({2})});
    m_tracker->Stop();
    EXPECT_EQ(m_client.Events().size(), 2u);
}

// A client that was built when there were fewer numbers, and one that knows more.
TEST_F(QxLogTrackerTest, HealthFillsWhatTheClientKnows) {
    Track({Calls({1})});
    m_tracker->Stop();
    struct {
        QxHealth known;
        std::uint64_t later;
    } newer;
    newer.later = 1;
    ASSERT_EQ(QxHealthOf(*m_tracker, newer.known, sizeof newer), 1);
    EXPECT_EQ(newer.later, 0u);
    EXPECT_EQ(newer.known.calls, 1u);
    ExactBytes older(std::string(16, 'x'));
    ASSERT_EQ(QxHealthOf(*m_tracker, *reinterpret_cast<QxHealth*>(older.Pair().second), 16), 1);
    std::uint64_t numbers[2];
    std::memcpy(numbers, older.Pair().second, sizeof numbers);
    EXPECT_EQ(numbers[0], newer.known.cycles);
    EXPECT_EQ(numbers[1], 1u);
}

TEST(QxTrackerHealthTest, KnowsOnlyTrackersOfTheLibrary) {
    OtherTracker other;
    QxHealth health;
    std::memset(&health, 1, sizeof health);
    EXPECT_EQ(QxHealthOf(other, health), 0);
    EXPECT_EQ(health.cycles, 0u);
    EXPECT_EQ(health.storeBytes, 0u);
    EXPECT_EQ(QxCountEvents(other), 0);
    EXPECT_EQ(QxEventHealthOf(
                  other, [](const QxEventHealth*, void*) { FAIL(); }, nullptr),
              0);
}
