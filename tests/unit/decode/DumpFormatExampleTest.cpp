// The dump that docs/dump-format.md shows byte by byte. Change both together.
#include <gtest/gtest.h>

#include "ExactBytes.h"
#include "QxData.h"
#include "QxParser.h"

namespace {

constexpr char kPersistent[] =
    "\x02\x2c\x04\x2a\x00\x0avolume.cpp\x03\x01\x01\x04\x03int\x04void\x00\x09SetVolume\x05"
    "audio";
constexpr char kThread[] = "\x01\x0f\x03\x00\x00\x0b\x02\x06\x69\x03\x55\x00\x00\x00\x03\x01\x02";

TEST(DumpFormatExample, DecodesToOneCall) {
    ExactBytes dump(std::string(kPersistent, sizeof kPersistent - 1) + std::string(kThread, sizeof kThread - 1));
    ASSERT_EQ(dump.Size(), 63u);
    const auto store = std::make_shared<QxData>();
    QxParser parser(nullptr, nullptr);
    EXPECT_EQ(parser.Parse(dump.Pair(), store), 1);
    EXPECT_EQ(parser.Extract(), 1);

    ASSERT_EQ(store->GetCallIMap()->size(), 1u);
    const IQxData::HSCall& call = store->GetCallIMap()->begin()->second;
    EXPECT_EQ(store->GetCallLocation(3).callerName, "SetVolume");
    EXPECT_EQ(store->GetCallLocation(3).packageName, "audio");
    EXPECT_EQ(call.tid, 3);
    EXPECT_EQ(call.time, 105u);
    EXPECT_EQ(call.exitTime, 2105u);
    const IQxData::HSICallArg level = {{"", "\x56\x01\x01\x01"}};
    EXPECT_EQ(call.args.in, std::vector<IQxData::HSICallArg>{level});
}

}  // namespace
