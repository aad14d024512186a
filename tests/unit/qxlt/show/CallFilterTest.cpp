// Which calls are shown, and how their times are.
#include "CallFilter.h"

#include <gmock/gmock.h>

#include "TimeFormat.h"

namespace {

using namespace qxlt;

constexpr std::uint64_t kSecond = 1000000000;
constexpr std::int64_t kMarch = 1772368200000000000;  // 2026-03-01T12:30:00Z

class ShownCall : public testing::Test {
protected:
    ShownCall() {
        m_location.callerName = "SetVolume";
        m_location.packageName = "audio";
        m_call.tid = 3;
    }

    CallView View() const {
        CallView view{m_call, m_location, m_process, std::nullopt};
        view.thread = "mixer";
        view.start = m_start;
        view.clock = m_clock;
        return view;
    }
    bool IsShown(const FilterPatterns& patterns) const { return CallFilter(patterns).ShowsCall(View()); }
    bool IsShown(const std::string& since, const std::string& until) const {
        FilterPatterns patterns;
        if (!since.empty()) patterns.since = ReadTimeBound(since).value();
        if (!until.empty()) patterns.until = ReadTimeBound(until).value();
        return IsShown(patterns);
    }

    IQxData::HSCall m_call;
    IQxData::_HSCallLocation m_location;
    std::string m_process = "media-server";
    std::optional<std::uint64_t> m_start;
    ClockOffset m_clock;
};

TEST_F(ShownCall, MatchesPatterns) {
    struct Row {
        FilterPatterns patterns;
        bool shown;
    };
    const Row rows[] = {{{}, true},
                        {{{}, {"Set*"}, {}, {}, {}, {}}, true},
                        {{{}, {"audio.*"}, {}, {}, {}, {}}, true},
                        {{{}, {"Get*", "Set*"}, {}, {}, {}, {}}, true},
                        {{{}, {"Set"}, {}, {}, {}, {}}, false},
                        {{{}, {"video.*"}, {}, {}, {}, {}}, false},
                        {{{}, {}, {"media-*"}, {}, {}, {}}, true},
                        {{{}, {}, {"tuner"}, {}, {}, {}}, false},
                        {{{}, {}, {}, {"mix?r"}, {}, {}}, true},
                        {{{}, {}, {}, {"main"}, {}, {}}, false},
                        {{{}, {}, {}, {"3"}, {}, {}}, true},
                        {{{}, {}, {}, {"03", "4"}, {}, {}}, false},
                        {{{}, {"Set*"}, {"tuner"}, {}, {}, {}}, false}};
    for (const Row& row : rows) EXPECT_EQ(IsShown(row.patterns), row.shown) << &row - rows;
    const CallFilter events({{"VOLUME_*"}, {}, {}, {}, {}, {}});
    EXPECT_TRUE(events.ShowsEvent("VOLUME_HIGH"));
    EXPECT_FALSE(events.ShowsEvent("SOURCE"));
    EXPECT_TRUE(events.ShowsCall(View()));
}

TEST_F(ShownCall, LiesBetweenTheBounds) {
    m_start = 100 * kSecond;
    m_call.time = 110 * kSecond;
    EXPECT_TRUE(IsShown("10s", ""));
    EXPECT_FALSE(IsShown("10.5s", ""));
    EXPECT_FALSE(IsShown("", "10s"));
    EXPECT_TRUE(IsShown("", "10.5"));
    EXPECT_TRUE(IsShown("500ms", "2m"));
    m_call.time = 90 * kSecond;  // before the start
    EXPECT_FALSE(IsShown("1s", ""));
    EXPECT_TRUE(IsShown("", "1s"));
}

TEST_F(ShownCall, LiesBetweenTimesOfDay) {
    m_clock = kMarch;
    m_call.time = kSecond;
    EXPECT_TRUE(IsShown("2026-03-01T12:30:01Z", ""));
    EXPECT_FALSE(IsShown("2026-03-01T12:30:01.000000001Z", ""));
    EXPECT_FALSE(IsShown("", "2026-03-01T12:30:01Z"));
    EXPECT_TRUE(IsShown("2026-03-01T12:30:00.5Z", "2026-03-01T12:30:01.5Z"));
}

// Of a device, say, whose clock is not known.
TEST_F(ShownCall, IsNotHeldBackByBoundsThatCannotBeTold) {
    m_call.time = kSecond;
    EXPECT_TRUE(IsShown("10s", ""));
    EXPECT_TRUE(IsShown("", "10ms"));
    EXPECT_TRUE(IsShown("2026-03-01T12:30:01Z", "2026-03-01T12:30:01Z"));
}

TEST_F(ShownCall, SaysWhichBoundsCannotBeTold) {
    FilterPatterns patterns;
    EXPECT_FALSE(CallFilter(patterns).LacksTime(TimeOf(View())));
    patterns.since = ReadTimeBound("10s").value();
    EXPECT_TRUE(CallFilter(patterns).LacksTime(TimeOf(View())));
    m_start = kSecond;
    EXPECT_FALSE(CallFilter(patterns).LacksTime(TimeOf(View())));
    patterns.until = ReadTimeBound("2026-03-01T12:30:01Z").value();
    EXPECT_TRUE(CallFilter(patterns).LacksTime(TimeOf(View())));
    m_clock = kMarch;
    EXPECT_FALSE(CallFilter(patterns).LacksTime(TimeOf(View())));
}

TEST(TimeBound, IsReadOrRefused) {
    for (const char* const text :
         {"", "-1s", "0", "noon", "10x", "nan", "inf", "1e30h", "2026-03-01", "2026-03-01T12:30:00",
          "1969-12-31T23:59:59Z", "2026-03-01T12:30:00.Z", "2026-03-01T12:30:00.0000000001Z", "2026-03-01T12:30:00x5Z",
          "2026-13-01T12:30:00Z", "Z"}) {
        EXPECT_FALSE(ReadTimeBound(text)) << text;
    }
    EXPECT_EQ(ReadTimeBound("2026-03-01T12:30:00.25Z")->ns, kMarch + kSecond / 4);
    EXPECT_EQ(ReadTimeBound("90m")->ns, 5400 * kSecond);
}

TEST_F(ShownCall, HasItsTimeAsItWasAskedFor) {
    m_call.time = 12 * kSecond + 345678901;
    EXPECT_EQ(TimeText(TimeFormat::Raw, View()), "12345678901");
    EXPECT_EQ(TimeText(TimeFormat::Wall, View()), "12345678901");
    EXPECT_EQ(TimeText(TimeFormat::Relative, View()), "12345678901");
    m_clock = kMarch;
    m_start = 2 * kSecond;
    EXPECT_EQ(TimeText(TimeFormat::Raw, View()), "12345678901");
    EXPECT_EQ(TimeText(TimeFormat::Wall, View()), "2026-03-01T12:30:12.345678901Z");
    EXPECT_EQ(TimeText(TimeFormat::Relative, View()), "10.345678");
    m_start = 13 * kSecond;
    EXPECT_EQ(TimeText(TimeFormat::Relative, View()), "-0.654321");
}

TEST(SpanText, HasTheUnitThatReadsBest) {
    EXPECT_EQ(SpanText(0), "0 ns");
    EXPECT_EQ(SpanText(999), "999 ns");
    EXPECT_EQ(SpanText(1000), "1.0 us");
    EXPECT_EQ(SpanText(999999), "999.9 us");
    EXPECT_EQ(SpanText(17350000), "17.3 ms");
    EXPECT_EQ(SpanText(61 * kSecond), "61.0 s");
}

}  // namespace
