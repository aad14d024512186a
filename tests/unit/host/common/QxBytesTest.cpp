// Numbers and texts of the trace format, to the byte and to their limits.
#include "QxBytes.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "ExactBytes.h"

namespace {

using namespace qxhost;

std::string Varint(std::uint64_t value) {
    std::string out;
    AppendVarint(out, value);
    return out;
}

// Bytes to be read, with nothing behind them.
class Reading {
public:
    explicit Reading(const std::string& bytes) : m_bytes(bytes), reader(m_bytes.Data(), m_bytes.Size()) {}

private:
    ExactBytes m_bytes;

public:
    QxByteReader reader;
};

TEST(QxBytes, VarintsAreGroupsOfSevenBits) {
    EXPECT_EQ(Varint(0), std::string(1, '\0'));
    EXPECT_EQ(Varint(0x7F), "\x7F");
    EXPECT_EQ(Varint(0x80), "\x80\1");
    EXPECT_EQ(Varint(300), "\xAC\2");
    EXPECT_EQ(Varint(0x3FFF), "\xFF\x7F");
    EXPECT_EQ(Varint(~std::uint64_t{0}), "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\1");
}

TEST(QxBytes, VarintsOfAllSizesComeBack) {
    for (const std::uint32_t value : {0u, 1u, 0x7Fu, 0x80u, 0x3FFFu, 0x4000u, 0x1FFFFFu, 0x200000u, 0xFFFFFFFu,
                                      0x10000000u, 0xABCDEF12u, 0xFFFFFFFFu}) {
        Reading reading(Varint(value));
        EXPECT_EQ(reading.reader.ReadVarint(), value);
        EXPECT_EQ(reading.reader.Left(), 0u);
    }
}

TEST(QxBytes, AVarintOfMoreThan32BitsIsRefused) {
    for (const std::uint64_t value : {std::uint64_t{1} << 32, std::uint64_t{1} << 35, ~std::uint64_t{0}}) {
        Reading reading(Varint(value));
        EXPECT_THROW(reading.reader.ReadVarint(), QxDamage) << value;
    }
    Reading endless("\x80\x80\x80\x80\x80\x80");
    EXPECT_THROW(endless.reader.ReadVarint(), QxDamage);
}

TEST(QxBytes, IntegersHaveTheirLowestByteFirst) {
    std::string out;
    AppendInteger(out, 0x8182838485868788, 8);
    AppendInteger(out, 0x010203, 2);
    EXPECT_EQ(out, "\x88\x87\x86\x85\x84\x83\x82\x81\3\2");
    Reading reading(out);
    EXPECT_EQ(reading.reader.ReadInteger(8), 0x8182838485868788u);
    EXPECT_EQ(reading.reader.ReadInteger(2), 0x0203u);
    EXPECT_THROW(reading.reader.ReadInteger(1), QxDamage);
}

TEST(QxBytes, AReadThatDoesNotFitTakesNothing) {
    Reading reading("\3ab");
    EXPECT_THROW(reading.reader.Skip(4), QxDamage);
    EXPECT_EQ(reading.reader.Left(), 3u);
    EXPECT_THROW(reading.reader.ReadText(), QxDamage);
    EXPECT_EQ(reading.reader.Left(), 2u) << "its size was read";
    EXPECT_EQ(reading.reader.ReadByte(), static_cast<unsigned>('a'));
    reading.reader.Skip(1);
    EXPECT_EQ(reading.reader.Left(), 0u);
    EXPECT_THROW(reading.reader.ReadByte(), QxDamage);
}

}  // namespace
