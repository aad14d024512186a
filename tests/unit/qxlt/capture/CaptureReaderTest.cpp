// Which folders of a capture are its cycles.
#include "CaptureReader.h"

#include <gmock/gmock.h>

#include "Failure.h"
#include "QxData.h"
#include "Workplace.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;

TEST(CaptureReader, GoesThroughTheCyclesInOrder) {
    const Workplace place;
    place.Write("capture.json", R"({"version":1,"processes":{"m":1}})");
    for (const char* const folder : {"1000000", "000010", "000002", "999999", "100000000000000000"}) {
        place.Write(std::string(folder) + "/m.qxdump", folder);
    }
    // As nobody writes a number: too long, too short, none, or of no cycle.
    for (const char* const folder : {"1000000000000000000", "3", "0000004", "00005x", "-00006", "000000"}) {
        place.Write(std::string(folder) + "/m.qxdump", folder);
    }
    place.Write("000007", "a file");
    CaptureReader reader(place.Path());
    std::vector<std::uint64_t> cycles;
    while (reader.Next()) cycles.push_back(reader.Cycle());
    EXPECT_THAT(cycles, ElementsAre(2, 10, 999999, 1000000, 100000000000000000u));
    EXPECT_EQ(reader.DumpOf("m"), place.At("100000000000000000/m.qxdump"));
    EXPECT_EQ(reader.DumpOf("n"), "");
}

// Keys of calls have room for times up to there.
TEST(CaptureReader, TakesAStartThatTimesCanReach) {
    constexpr std::uint64_t kMost = UINT64_MAX / QxData::kKeysPerTime;
    const Workplace place;
    const auto write = [&place](std::uint64_t since) {
        place.Write("capture.json", R"({"version":1,"processes":{},"since":)" + std::to_string(since) + "}");
    };
    write(kMost - 1);
    EXPECT_EQ(CaptureReader(place.Path()).Start().since, kMost - 1);
    write(kMost);
    EXPECT_THROW(CaptureReader(place.Path()), Failure);
}

TEST(CaptureReader, KnowsWhenTheRunBegan) {
    const Workplace place;
    struct Row {
        const char* keys;
        std::optional<std::uint64_t> since, time;
        qxlt::ClockOffset clock;
    };
    const Row rows[] = {
        {"", {}, {}, {}},
        {R"(,"since":5)", 5, 5, {}},  // as older versions wrote it
        {R"(,"since":5,"start":4,"clock_offset":-3)", 5, 4, -3},
        {R"(,"start":4,"clock_offset":9223372036854775807)", {}, 4, INT64_MAX},
    };
    for (const Row& row : rows) {
        place.Write("capture.json", std::string(R"({"version":1,"processes":{})") + row.keys + "}");
        const CaptureReader reader(place.Path());
        EXPECT_EQ(reader.Start().since, row.since) << row.keys;
        EXPECT_EQ(reader.Start().time, row.time) << row.keys;
        EXPECT_EQ(reader.Start().clock, row.clock) << row.keys;
    }
}

TEST(CaptureReader, RefusesAStartThatIsNone) {
    const Workplace place;
    for (const char* const keys : {R"("start":-1)", R"("start":"noon")", R"("clock_offset":1.5)",
                                   R"("clock_offset":9223372036854775808)", R"("clock_offset":null)"}) {
        place.Write("capture.json", std::string(R"({"version":1,"processes":{},)") + keys + "}");
        EXPECT_THROW(CaptureReader(place.Path()), Failure) << keys;
    }
}

TEST(CaptureReader, RefusesLateProcessesThatAreNone) {
    const Workplace place;
    for (const char* const late : {"7", "{}", "[7]", "[{}]", R"([{"process":"n"}])", R"([{"process":7}])",
                                   R"([{"process":"m","since":-1}])", R"([{"process":"m","cycle":"x"}])"}) {
        place.Write("capture.json", R"({"version":1,"processes":{"m":1},"late":)" + std::string(late) + "}");
        EXPECT_THROW(CaptureReader(place.Path()), Failure) << late;
    }
}

}  // namespace
