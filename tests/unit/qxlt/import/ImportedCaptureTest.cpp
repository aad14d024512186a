// Imported calls as a capture, which the tool's own reader reads.
#include "ImportedCapture.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "CaptureReader.h"
#include "DumpHeader.h"
#include "Failure.h"
#include "ReadFile.h"
#include "Workplace.h"

namespace {

using qxlt::CaptureReader;
using qxlt::ImportedCall;
using qxlt::ImportedCapture;
using testing::ElementsAre;
using testing::Pair;
using testing::UnorderedElementsAre;

ImportedCall Call(std::uint64_t time, std::vector<qxlt::ImportedValue> in = {}) {
    return {"F", "p", time, std::move(in), ImportedCall::Exit{time + 1000, {}, std::nullopt}};
}

bool Take(ImportedCapture& capture, std::uint16_t thread, const ImportedCall& call) {
    const auto packed = capture.Pack(thread, call);
    if (packed) capture.Add(*packed);
    return packed.has_value();
}

TEST(ImportedCapture, TellsWhenItBeganAndHowTheWallClockStood) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    const std::uint16_t thread = capture.Thread(4711, "tuner", 4711, "main");
    Take(capture, thread, Call(900));
    Take(capture, thread, Call(500));
    EXPECT_TRUE(capture.Finish(-7));
    EXPECT_EQ(place.Read("c/capture.json"),
              "{\"version\":1,\"processes\":{\"tuner\":4711},\"start\":500,\"clock_offset\":-7}\n");
}

// What a replay primes with comes a cycle later than it happened.
TEST(ImportedCapture, TheFirstCycleIsEmpty) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    Take(capture, capture.Thread(7, "m", 1, ""), Call(1));
    capture.Finish(std::nullopt);
    CaptureReader reader(place.At("c"));
    ASSERT_TRUE(reader.Next());
    EXPECT_EQ(reader.DumpOf("m"), "");
    ASSERT_TRUE(reader.Next());
    EXPECT_NE(reader.DumpOf("m"), "");
    EXPECT_FALSE(reader.Next());
}

TEST(ImportedCapture, CutsCyclesByTheirCalls) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    const std::uint16_t thread = capture.Thread(7, "m", 1, "");
    for (std::size_t i = 0; i < ImportedCapture::kCycleCalls * 2 + 1; ++i) Take(capture, thread, Call(i));
    capture.Finish(std::nullopt);
    EXPECT_EQ(capture.Cycles(), 3u);
    EXPECT_EQ(capture.Calls(), ImportedCapture::kCycleCalls * 2 + 1);
}

TEST(ImportedCapture, CutsCyclesByTheirBytes) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    const std::uint16_t thread = capture.Thread(7, "m", 1, "");
    const qxlt::ImportedValue text = qxlt::TextValue(std::string(8000, 'x'));
    for (std::size_t i = 0; i <= ImportedCapture::kCycleBytes / 8000; ++i) Take(capture, thread, Call(i, {text}));
    capture.Finish(std::nullopt);
    EXPECT_EQ(capture.Cycles(), 1u);
    EXPECT_LE(std::filesystem::file_size(place.At("c/000002/m.qxdump")), ImportedCapture::kCycleBytes + 64000);
}

TEST(ImportedCapture, ARecordingWithoutCallsIsACapture) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    EXPECT_TRUE(capture.Finish(std::nullopt));
    EXPECT_TRUE(CaptureReader(place.At("c")).Next());
}

TEST(ImportedCapture, NamesHaveIdsOfTheirOwn) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    capture.Thread(70, "a", 1, "");
    capture.Thread(70 + 65536, "b", 1, "");
    capture.Thread(65536, "c", 1, "");
    capture.Thread(71, "a", 1, "");
    capture.Finish(std::nullopt);
    EXPECT_THAT(CaptureReader(place.At("c")).Processes().Pids(),
                UnorderedElementsAre(Pair("a", 70), Pair("b", 71), Pair("c", 1)));
}

TEST(ImportedCapture, ThreadsHaveNumbersOfTheirOwn) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    EXPECT_EQ(capture.Thread(7, "m", 100000, ""), 1);
    EXPECT_EQ(capture.Thread(8, "n", 100000, ""), 2);
    EXPECT_EQ(capture.Thread(7, "other", 100000, ""), 1);
    for (unsigned i = 3; i <= 65535; ++i) ASSERT_EQ(capture.Thread(7, "m", i, ""), i);
    EXPECT_EQ(capture.Thread(7, "m", 65536, ""), 0);
    EXPECT_FALSE(Take(capture, 0, Call(1)));
    EXPECT_EQ(capture.Dropped(), 1u);
}

TEST(ImportedCapture, ProcessesWithoutANameAreCalledByTheirIds) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    capture.Thread(4711, "", 1, "");
    capture.Thread(4712, "\xFF", 1, "");
    capture.Finish(std::nullopt);
    EXPECT_THAT(CaptureReader(place.At("c")).Processes().Pids(),
                UnorderedElementsAre(Pair("process-4711", 4711), Pair("\xEF\xBF\xBD", 4712)));
}

TEST(ImportedCapture, DropsAndCountsWhatHasNoPlace) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    const std::uint16_t thread = capture.Thread(7, "m", 1, "");
    EXPECT_FALSE(Take(capture, thread, Call(UINT64_MAX / 1000)));
    EXPECT_TRUE(Take(capture, thread, Call(UINT64_MAX / 1000 - 1001)));
    const qxlt::ImportedValue text = qxlt::TextValue(std::string(8000, 'x'));
    EXPECT_TRUE(Take(capture, thread, Call(1, std::vector<qxlt::ImportedValue>(7, text))));
    EXPECT_TRUE(Take(capture, thread, Call(1, std::vector<qxlt::ImportedValue>(8, text))));
    EXPECT_EQ(capture.Dropped(), 2u);
    EXPECT_EQ(capture.Calls(), 2u);
    capture.Finish(std::nullopt);
    EXPECT_THAT(
        place.Read("c/000002/m.qxloss"),
        testing::HasSubstr("\"recorded\":4,\"delivered\":2,\"open\":0,\"overwritten\":0,\"refused\":0,\"dropped\":2"));
}

TEST(ImportedCapture, DropsCallSitesPastTheFormatsLimit) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    const std::uint16_t thread = capture.Thread(7, "m", 1, "");
    for (unsigned i = 0; i < 9999; ++i) {
        ImportedCall call = Call(i);
        call.method = "F" + std::to_string(i);
        ASSERT_TRUE(Take(capture, thread, call));
    }
    EXPECT_FALSE(Take(capture, thread, Call(1)));
    ImportedCall known = Call(1);
    known.method = "F17";
    EXPECT_TRUE(Take(capture, thread, known));
}

// A call that did not return is one of those that did, if it is described alike.
TEST(ImportedCapture, TellsCallsApartByWhatTheirValuesAre) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    const std::uint16_t thread = capture.Thread(7, "m", 1, "");
    const qxlt::ImportedValue number = qxlt::IntegerValue(1, 32, true);
    const qxlt::ImportedValue one = qxlt::StructValue("struct", {{"x", number}});
    const qxlt::ImportedValue other = qxlt::StructValue("struct", {{"x", number}, {"y", number}});
    ImportedCall returned = Call(1, {one});
    returned.exit->result = number;
    const std::uint32_t site = capture.Pack(thread, returned)->record.site;
    const auto siteOfOpen = [&](const qxlt::ImportedValue& value) {
        return capture.Pack(thread, {"F", "p", 1, {value}, std::nullopt})->record.site;
    };
    EXPECT_EQ(siteOfOpen(one), site);
    EXPECT_NE(siteOfOpen(other), site);
}

// Also when it is the last that is heard of.
TEST(ImportedCapture, KeepsCountOfWhatIsMissing) {
    const Workplace place;
    ImportedCapture capture(place.At("c"));
    const std::uint16_t thread = capture.Thread(7, "m", 1, "");
    for (std::size_t i = 0; i < ImportedCapture::kCycleCalls; ++i) Take(capture, thread, Call(i));
    capture.DropExit(thread);
    EXPECT_FALSE(Take(capture, thread, Call(UINT64_MAX)));
    capture.DropExit(0);
    capture.Finish(std::nullopt);
    EXPECT_EQ(capture.ExitsDropped(), 2u);
    EXPECT_EQ(place.Read("c/000003/m.qxloss"),
              "{\"recorded\":1,\"delivered\":0,\"open\":0,\"overwritten\":0,\"refused\":0,\"dropped\":1,"
              "\"exitsDropped\":1}\n");
}

TEST(ImportedCapture, NeedsAnEmptyDirectory) {
    const Workplace place;
    place.Write("c/x", "");
    EXPECT_THROW(ImportedCapture(place.At("c")), qxlt::Failure);
}

}  // namespace
