// Keeping dumps when the disk does not take them.
#include "CaptureWriter.h"
#include "Failure.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <optional>

#include "CaptureLayout.h"
#include "CaptureReader.h"
#include "FileSizeLimit.h"
#include "Workplace.h"

namespace {

namespace fs = std::filesystem;

using qxlt::CaptureWriter;

void WriteCycle(CaptureWriter& writer, std::uint64_t number, std::size_t size) {
    writer.BeginCycle(number);
    writer.AddDump("small", {'x'}, std::nullopt);
    writer.AddDump("none", {}, std::nullopt);
    writer.AddDump("large", std::vector<char>(size, 'y'), std::nullopt);
    writer.EndCycle();
}

TEST(CaptureWriter, WritesTheLayoutThatReplayReads) {
    const Workplace place;
    CaptureWriter writer(place.At("a/b"));
    qxlt::ProcessNames processes;
    processes.Add("tuner", 70);
    processes.Add("../a", 412);
    writer.Begin(processes, {123456789, 123456780, -5});
    WriteCycle(writer, 1, 3);
    EXPECT_EQ(place.Read("a/b/capture.json"),
              "{\"version\":1,\"processes\":{\"../"
              "a\":412,\"tuner\":70},\"since\":123456789,\"start\":123456780,\"clock_offset\":-5}\n");
    EXPECT_EQ(place.Read("a/b/000001/small.qxdump"), "x");
    EXPECT_EQ(place.Read("a/b/000001/large.qxdump"), "yyy");
    EXPECT_FALSE(fs::exists(place.At("a/b/000001/none.qxdump")));
    EXPECT_FALSE(writer.Failed());
}

TEST(CaptureWriter, EndsTheCaptureBeforeTheCycleThatDoesNotFit) {
    const Workplace place;
    CaptureWriter writer(place.At("capture"));
    WriteCycle(writer, 1, 10);
    testing::internal::CaptureStderr();
    {
        const FileSizeLimit limit(1000);
        WriteCycle(writer, 2, 2000);
        WriteCycle(writer, 3, 2000);
    }
    WriteCycle(writer, 4, 10);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "error: " + place.At("capture/.000002/large.qxdump") +
                  ": File too large; the capture ends before cycle 2, tracking goes on\n");
    EXPECT_TRUE(writer.Failed());
    std::vector<std::string> left;
    for (const auto& entry : fs::directory_iterator(place.At("capture"))) left.push_back(entry.path().filename());
    EXPECT_THAT(left, testing::ElementsAre("000001"));
}

TEST(CaptureWriter, KeepsTheCountsBesideTheDump) {
    const Workplace place;
    CaptureWriter writer(place.At("capture"));
    qxlt::LossCounts refused;
    refused.recorded = refused.refused = 5;
    writer.BeginCycle(3);
    writer.AddDump("a b", {'x'}, qxlt::LossCounts{7, 1, 1, 2, 3, 0, 4});
    writer.AddDump("silent", {}, qxlt::LossCounts{});
    writer.AddDump("refusing", {}, refused);
    writer.EndCycle();
    EXPECT_EQ(place.Read("capture/000003/a%20b.qxloss"),
              R"({"recorded":7,"delivered":1,"open":1,"overwritten":2,"refused":3,"dropped":0,"exitsDropped":4})"
              "\n");
    // That there is an account is known once, whatever it holds.
    EXPECT_TRUE(fs::exists(place.At("capture/000003/silent.qxloss")));
    writer.BeginCycle(4);
    writer.AddDump("silent", {}, qxlt::LossCounts{});
    writer.EndCycle();
    EXPECT_FALSE(fs::exists(place.At("capture/000004/silent.qxloss")));
    EXPECT_THAT(place.Read("capture/000003/refusing.qxloss"), testing::HasSubstr("\"refused\":5"));
}

TEST(CaptureWriter, WritesDownProcessesThatComeLater) {
    const Workplace place;
    CaptureWriter writer(place.At("capture"));
    qxlt::ProcessNames processes;
    processes.Add("tuner", 70);
    writer.Begin(processes, {5, 4, 3});
    WriteCycle(writer, 1, 1);
    writer.BeginCycle(2);
    writer.AddProcess({2, "late", 71, 17});
    writer.AddProcess({2, "later", 72, std::nullopt});
    writer.AddDump("late", {'x'}, std::nullopt);
    writer.EndCycle();
    EXPECT_EQ(place.Read("capture/capture.json"),
              R"({"version":1,"processes":{"tuner":70,"late":71,"later":72},"since":5,"start":4,"clock_offset":3,)"
              R"("late":[{"cycle":2,"process":"late","since":17},{"cycle":2,"process":"later"}]})"
              "\n");
    EXPECT_FALSE(fs::exists(place.At("capture/000002/capture.json")));
    const qxlt::CaptureReader reader(place.At("capture"));
    ASSERT_EQ(reader.Late().size(), 2U);
    EXPECT_EQ(reader.Late()[0].pid, 71);
    EXPECT_EQ(reader.Late()[0].since, 17U);
    EXPECT_EQ(reader.Late()[1].name, "later");
    EXPECT_EQ(reader.Late()[1].cycle, 2U);
    EXPECT_FALSE(reader.Late()[1].since);
}

TEST(CaptureWriter, RefusesAProcessNameThatJsonCannotHold) {
    const Workplace place;
    CaptureWriter writer(place.At("capture"));
    qxlt::ProcessNames processes;
    processes.Add("\xE9", 1);
    EXPECT_THROW(writer.Begin(processes, {}), qxlt::Failure);
}

TEST(CaptureLayout, NamesCyclesWithSixDigitsOrMore) {
    EXPECT_EQ(qxlt::CycleName(1), "000001");
    EXPECT_EQ(qxlt::CycleName(999999), "999999");
    EXPECT_EQ(qxlt::CycleName(1000000), "1000000");
}

TEST(CaptureLayout, EscapesWhatAFileNameCannotHold) {
    EXPECT_EQ(qxlt::DumpName("Media-server_1.2"), "Media-server_1.2.qxdump");
    EXPECT_EQ(qxlt::DumpName("..a"), "%2E.a.qxdump");
    EXPECT_EQ(qxlt::DumpName("a/b c%\xE9"), "a%2Fb%20c%25%E9.qxdump");
    EXPECT_EQ(qxlt::DumpName(std::string("a\0b", 3)), "a%00b.qxdump");
}

}  // namespace
