#include "QxShiftedText.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "ExactBytes.h"

namespace {

// `size` bytes, from `first` on, and what they stand for.
std::string Bytes(std::size_t size, unsigned first) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) bytes.push_back(static_cast<char>(first + i));
    return bytes;
}

}  // namespace

// Lengths on both sides of every width that is taken at once, and every byte at every place.
TEST(QxShiftedText, AddsOneToEachByteWhateverStandsBesideIt) {
    for (std::size_t size = 0; size < 40; ++size) {
        for (unsigned first = 0; first < 256; ++first) {
            ExactBytes bytes(Bytes(size, first));
            std::string read = "front ";
            EXPECT_EQ(ReadStringArg(bytes.Data(), static_cast<unsigned>(size), read), size);
            ASSERT_EQ(read, "front " + Bytes(size, first + 1)) << size << " bytes from " << first;
        }
    }
}

TEST(QxShiftedText, WritesOverWhatIsThere) {
    for (const std::size_t before : {0u, 3u, 8u, 17u, 60u}) {
        for (const std::size_t size : {0u, 3u, 4u, 8u, 9u, 17u, 33u}) {
            ExactBytes bytes(Bytes(size, 250));
            std::string text = Bytes(before, 'a');
            AssignShifted(bytes.Data(), size, text);
            ASSERT_EQ(text, Bytes(size, 251)) << size << " bytes over " << before;
        }
    }
}
