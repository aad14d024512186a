// The streams of a CTF trace as they lie in its files.
#include "CtfStreams.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "Failure.h"
#include "Workplace.h"

namespace {

using namespace qxlt;

std::uint64_t NumberAt(const std::string& bytes, std::size_t at, std::size_t size) {
    std::uint64_t number = 0;
    for (std::size_t i = size; i-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes.at(at + i));
    return number;
}

TEST(CtfStreams, WritesNumbersAndTexts) {
    CtfBytes bytes;
    bytes.Add(std::uint16_t{0x1234}).Add(std::int64_t{-2}).Text("ab").Text(std::string("c\0d", 3)).Raw("e");
    EXPECT_EQ(bytes.Bytes(), std::string("\x34\x12\xFE\xFF\xFF\xFF\xFF\xFF\xFF\xFF"
                                         "ab\0c\0e",
                                         16));
}

TEST(CtfStreams, BeginsEachPacketWithItsTimesAndSize) {
    const Workplace place;
    CtfStreams streams(place.Path());
    streams.Add(7, 100, "body");
    streams.Add(8, 100, "");
    streams.Add(9, 250, "x");
    streams.Finish();
    const std::string bytes = place.Read("stream_0");
    ASSERT_EQ(bytes.size(), 40u + 3 * 10 + 5);
    EXPECT_EQ(NumberAt(bytes, 0, 4), 0xC1FC1FC1u);
    EXPECT_EQ(NumberAt(bytes, 8, 8), 100u);
    EXPECT_EQ(NumberAt(bytes, 16, 8), 250u);
    EXPECT_EQ(NumberAt(bytes, 24, 8), bytes.size() * 8);
    EXPECT_EQ(NumberAt(bytes, 32, 8), bytes.size() * 8);
    EXPECT_EQ(NumberAt(bytes, 40, 2), 7u);
    EXPECT_EQ(NumberAt(bytes, 42, 8), 100u);
    EXPECT_EQ(bytes.substr(50, 4), "body");
}

TEST(CtfStreams, PutsWhatComesLateIntoAnotherStream) {
    const Workplace place;
    CtfStreams streams(place.Path());
    for (const std::uint64_t time : {100u, 200u, 50u, 150u, 300u, 10u}) streams.Add(1, time, "");
    streams.Finish();
    EXPECT_EQ(NumberAt(place.Read("stream_0"), 16, 8), 300u);
    EXPECT_EQ(NumberAt(place.Read("stream_1"), 8, 8), 50u);
    EXPECT_EQ(NumberAt(place.Read("stream_1"), 16, 8), 150u);
    EXPECT_EQ(NumberAt(place.Read("stream_2"), 8, 8), 10u);
    EXPECT_FALSE(std::filesystem::exists(place.At("stream_3")));
}

// Only a packet of each stream is kept.
TEST(CtfStreams, WritesPacketsWhileEventsCome) {
    const Workplace place;
    CtfStreams streams(place.Path());
    const std::string body(1000, 'x');
    for (std::uint64_t time = 0; time < 100; ++time) streams.Add(1, time, body);
    const std::uint64_t written = std::filesystem::file_size(place.At("stream_0"));
    EXPECT_GT(written, 60000u);
    EXPECT_LT(written, 101000u);
    streams.Finish();
    const std::string bytes = place.Read("stream_0");
    EXPECT_EQ(bytes.size(), 100 * 1010u + 2 * 40);
    const auto first = static_cast<std::size_t>(NumberAt(bytes, 32, 8) / 8);
    EXPECT_EQ(first, written);
    EXPECT_EQ(NumberAt(bytes, first, 4), 0xC1FC1FC1u);
}

TEST(CtfStreams, SaysWhichFileCouldNotBeWritten) {
    const Workplace place;
    CtfStreams streams(place.At("missing"));
    streams.Add(1, 1, "");
    try {
        streams.Finish();
        FAIL();
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Status(), kInputWrong);
        EXPECT_THAT(failure.what(), testing::StartsWith(place.At("missing/stream_0") + ": not all could be written"));
    }
}

}  // namespace
