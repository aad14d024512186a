// Pins the writer's bytes to strings worked out by hand: everything else that is tested with dumps rests on them.
#include "DumpWriter.h"

#include <gtest/gtest.h>

namespace {

using namespace std::string_literals;

TEST(DumpWriter, WritesVarintsLeastSignificantGroupFirst) {
    EXPECT_EQ(dump::Varint(0), "\x00"s);
    EXPECT_EQ(dump::Varint(127), "\x7F"s);
    EXPECT_EQ(dump::Varint(133), "\x85\x01"s);
    EXPECT_EQ(dump::Varint(16383), "\xFF\x7F"s);
    EXPECT_EQ(dump::Varint(UINT32_MAX), "\xFF\xFF\xFF\xFF\x0F"s);
    EXPECT_EQ(dump::LongVarint(5, 3), "\x85\x80\x00"s);
}

TEST(DumpWriter, WritesTextsPlainAndShifted) {
    EXPECT_EQ(dump::Text("abc"),
              "\x03"s
              "abc");
    EXPECT_EQ(dump::ShiftedText("b"), "\x01\x61"s);
    EXPECT_EQ(dump::Stored("a\xFF"s), "b\x00"s);
}

TEST(DumpWriter, WritesValues) {
    EXPECT_EQ(dump::Int(85, 4), "\x55\x00\x00\x00"s);
    EXPECT_EQ(dump::Int(-2, 2), "\xFE\xFF"s);
    EXPECT_EQ(dump::Int(0x0102030405060708, 8), "\x08\x07\x06\x05\x04\x03\x02\x01"s);
    EXPECT_EQ(dump::Variable("xy"), "\x02xy"s);
    EXPECT_EQ(dump::Container(200, "xy"), "\xC8\x01xy"s);
}

TEST(DumpWriter, WritesAHeaderItem) {
    EXPECT_EQ(dump::Item(dump::kHeader, dump::Header(0x1234, "abc", "1", "", "")),
              "\x07\x1A\x34\x12\x03"s
              "abc"
              "\x01"s
              "1"
              "\x00\x00"s +
                  std::string(16, '\0'));
}

TEST(DumpWriter, WritesTheItemsThatCarryOneTextOrNumber) {
    EXPECT_EQ(dump::ThreadName("mx"), "\x02mx"s);
    EXPECT_EQ(dump::IpcCaller(133, 0x0201, "ab"), "\x85\x01\x01\x02\x02"s + "ab");
    EXPECT_EQ(dump::Proxy(133), "\x85\x01"s);
    EXPECT_EQ(dump::Item(dump::kTime, ""), "\x3F\x00"s);
    EXPECT_EQ(dump::Marker(), "\x3F\x00"s);
}

TEST(DumpWriter, WritesCallsAsDeltaLocationAndValues) {
    EXPECT_EQ(dump::Before(105, 3, dump::Int(85, 4)), "\x69\x03\x55\x00\x00\x00"s);
    EXPECT_EQ(dump::After(2, dump::Int(1, 1)), "\x02\x01"s);
    EXPECT_EQ(dump::LogRecord(300, 5, dump::Variable("x")), "\xAC\x02\x05\x01x"s);
}

TEST(DumpWriter, WritesALocationWithItsArgumentsByField) {
    const std::string location = dump::Location(300)
                                     .Source("", 0)
                                     .Name("f", "")
                                     .Arg("int", dump::kIn, 4)
                                     .Arg("T", dump::kInOut, dump::kCompositeSize)
                                     .Returns("s", dump::kVariableSize);
    EXPECT_EQ(location, "\x00\x00\xAC\x02\x02\x01\x03\x04\xFE\x7F\x03int\x01T\x01s\xFF\x7F\x01"s + "f" + "\x00"s);
}

TEST(DumpWriter, WritesALocation) {
    const std::string location =
        dump::Location(3).Source("v.c", 7).Name("Set", "p").Arg("int", dump::kIn, 4).Returns("bool", 1);
    EXPECT_EQ(location,
              "\x07\x03v.c\x03\x01\x01\x04\x03int\x04"s
              "bool"
              "\x01\x03Set\x01p"s);
}

TEST(DumpWriter, WritesADescriptorWithShiftedNames) {
    const std::string descriptor = dump::Descriptor("T", true).Member("b", 4, "i");
    EXPECT_EQ(descriptor,
              "\x01\x04\x01"s
              "h"
              "\x01"s
              "a"
              "\x01"s
              "S"
              "\x01");
}

TEST(DumpWriter, MovesTheFirstBytesOfALongStreamItemToItsEnd) {
    const std::string payload = "x" + std::string(127, 'y') + "z";
    EXPECT_EQ(dump::StreamItem(dump::kBefore, payload), "\x02\x81\x01"s + std::string(127, 'y') + "z" + "x");
    EXPECT_EQ(dump::StreamItem(dump::kBefore, "ab"),
              "\x02\x02"s
              "ab");
    EXPECT_EQ(dump::StreamItem(dump::kBefore, "abc", 3),
              "\x02\x83\x80\x00"s
              "cab");
}

TEST(DumpWriter, WritesPacketsAndFragments) {
    EXPECT_EQ(dump::PrefixedPacket(133, dump::kPersistent, "q"), "\xFF\x85\x01\x02\x01q"s);
    EXPECT_EQ(dump::Thread(0x0103, "ab"),
              "\x01\x06\x03\x01\x00\x02"s
              "ab");
    EXPECT_EQ(dump::Properties(9, "ab"),
              "\x04\x04\x09\x00"s
              "ab");
    EXPECT_EQ(dump::CompressedRun("abc", 2),
              "\x05\x04\x00\x02"s
              "ab"
              "\x05\x03\x01\x01"s
              "c");
    EXPECT_EQ(dump::Flush(), "\x02\x00"s);
    EXPECT_EQ(dump::Persistent({"ab", "c"}), "\x02\x03"s + "abc");
    EXPECT_EQ(dump::Fragment(0x0103, 133, 2,
                             "ab"
                             "pad"),
              "\x03\x01\x85\x01\x02"s + "abpad");
    EXPECT_EQ(dump::Thread(3, {dump::StreamItem(dump::kAfter, "a"), dump::Marker()}),
              "\x01\x09\x03\x00\x00\x05\x03\x01"s + "a" + "\x3F\x00"s);
}

TEST(DumpWriter, PacksAStreamThatBeginsAsBzip2Does) {
    const std::string packed = dump::Bzip2("abc");
    EXPECT_EQ(packed.substr(0, 3), "BZh");
    // The stream of nothing: its lead, the closing mark of 48 bits, a check sum of zero.
    EXPECT_EQ(dump::Bzip2(""), "BZh9\x17\x72\x45\x38\x50\x90\x00\x00\x00\x00"s);
    EXPECT_EQ(dump::Compressed(""), "\x05\x12\x00\x10\x09\x0E"s + dump::Bzip2(""));
}

TEST(DumpWriter, Damages) {
    EXPECT_EQ(dump::Cut("abc", 1), "a");
    EXPECT_EQ(dump::Change("abc", 1, 0x7A), "azc");
}

}  // namespace
