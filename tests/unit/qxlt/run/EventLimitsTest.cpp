// How many events are handed on, and what is told of the others.
#include "EventLimits.h"

#include <gmock/gmock.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "ILineSink.h"
#include "LimitOptions.h"

namespace {

using namespace qxlt;
using std::chrono::seconds;
using testing::ElementsAre;
using testing::IsEmpty;

struct KeptLines final : ILineSink {
    void Write(const std::string& line, const LineFields& /*fields*/) override { lines.push_back(line); }
    std::vector<std::string> lines;
};

class Limits : public testing::Test {
protected:
    std::uint64_t LetsOf(EventLimits& limits, const std::string& event, int times, seconds at) const {
        std::uint64_t passed = 0;
        for (int i = 0; i < times; ++i) passed += limits.Lets(event, 7, m_begin + at) ? 1U : 0U;
        return passed;
    }

    const RateWindow::Time m_begin = RateWindow::Time::clock::now();
    KeptLines m_lines;
    Output m_output{nullptr, &m_lines};
};

TEST_F(Limits, HandOnAllWithoutALimit) {
    EventLimits limits({{"OTHER*", {1, seconds(60)}}}, Format::Json, m_output);
    EXPECT_EQ(LetsOf(limits, "A", 1000, seconds(0)), 1000U);
}

TEST_F(Limits, CountEachEventByItself) {
    EventLimits limits({{"", {2, seconds(60)}}}, Format::Json, m_output);
    EXPECT_EQ(LetsOf(limits, "A", 5, seconds(0)), 2U);
    EXPECT_EQ(LetsOf(limits, "B", 5, seconds(1)), 2U);
    EXPECT_EQ(LetsOf(limits, "A", 5, seconds(59)), 0U);
    limits.EndCycle(8, m_begin + seconds(59));
    EXPECT_THAT(m_lines.lines, IsEmpty());
    limits.EndCycle(9, m_begin + seconds(60));
    EXPECT_THAT(m_lines.lines, ElementsAre(R"({"cycle":9,"held":{"event":"A","count":8}})"));
    limits.End(10);
    limits.End(11);
    EXPECT_EQ(m_lines.lines.size(), 2U);
    EXPECT_EQ(m_lines.lines.back(), R"({"cycle":10,"held":{"event":"B","count":3}})");
}

// Whether it was told already or not.
TEST_F(Limits, CountInTheHealthWhatTheyHeldBack) {
    EventLimits limits({{"A", {1, seconds(1)}}}, Format::Json, m_output);
    EXPECT_THAT(limits.Health(), IsEmpty());
    LetsOf(limits, "A", 3, seconds(0));
    LetsOf(limits, "B", 3, seconds(0));
    LetsOf(limits, "A", 3, seconds(1));
    ASSERT_EQ(limits.Health().size(), 1U);
    EXPECT_EQ(limits.Health()[0].event, "A");
    EXPECT_EQ(std::get<std::uint64_t>(limits.Health()[0].value), 4U);
}

TEST_F(Limits, TellBeforeTheNextOneThatPasses) {
    EventLimits limits({{"", {1, seconds(1)}}}, Format::Json, m_output);
    EXPECT_EQ(LetsOf(limits, "A", 3, seconds(0)), 1U);
    EXPECT_EQ(LetsOf(limits, "A", 1, seconds(2)), 1U);
    EXPECT_THAT(m_lines.lines, ElementsAre(R"({"cycle":7,"held":{"event":"A","count":2}})"));
}

// The limit of a name holds, wherever it stands.
TEST_F(Limits, PreferTheOneWithTheName) {
    EventLimits limits({{"", {1, seconds(1)}}, {"A*", {3, seconds(1)}}, {"AB", {9, seconds(1)}}}, Format::Json,
                       m_output);
    EXPECT_EQ(LetsOf(limits, "AB", 5, seconds(0)), 3U);
    EXPECT_EQ(LetsOf(limits, "B", 5, seconds(0)), 1U);
}

TEST_F(Limits, AreNotesInText) {
    EventLimits limits({{"", {1, seconds(1)}}}, Format::Text, m_output);
    LetsOf(limits, "A", 2, seconds(0));
    testing::internal::CaptureStderr();
    limits.End(3);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "cycle 3, A: 1 event held back by --at-most\n");
    EXPECT_THAT(m_lines.lines, IsEmpty());
}

TEST(LimitOptions, ReadRates) {
    const struct {
        const char* text;
        const char* event;
        std::uint64_t most;
        int seconds;
    } rows[] = {
        {"10/min", "", 10, 60}, {"1/s", "", 1, 1}, {"VOLUME_*=3/h", "VOLUME_*", 3, 3600}, {"A=B=2/s", "A=B", 2, 1}};
    for (const auto& row : rows) {
        const std::optional<EventLimit> limit = ReadLimit(row.text);
        ASSERT_TRUE(limit) << row.text;
        EXPECT_EQ(limit->event, row.event) << row.text;
        EXPECT_EQ(limit->rate.most, row.most) << row.text;
        EXPECT_EQ(limit->rate.interval, seconds(row.seconds)) << row.text;
    }
    for (const char* const text :
         {"", "10", "0/s", "-1/s", "10/day", "/min", "=1/s", "A=", "1/min ", "1.5/s", "99999999999999999999/s"}) {
        EXPECT_FALSE(ReadLimit(text)) << text;
    }
}

}  // namespace
