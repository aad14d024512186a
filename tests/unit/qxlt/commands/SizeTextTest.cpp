// Sizes as they are written on the command line.
#include "SizeText.h"

#include <gtest/gtest.h>

namespace {

using qxlt::ReadSize;

TEST(SizeText, ReadsSizes) {
    const struct {
        const char* text;
        std::uint64_t bytes;
    } rows[] = {{"1", 1},
                {"512KB", 512 * 1024},
                {"10MB", 10 * 1024 * 1024},
                {"3GB", 3221225472},
                {"18446744073709551615", UINT64_MAX},
                {"17179869183GB", 17179869183ULL << 30U}};
    for (const auto& row : rows) {
        EXPECT_EQ(ReadSize(row.text), row.bytes) << row.text;
        EXPECT_EQ(qxlt::RequireSize(row.text), "") << row.text;
    }
}

TEST(SizeText, RefusesOtherTexts) {
    for (const char* const text : {"", "0", "0MB", "-1", "+1", " 1", "1 MB", "1mb", "1TB", "1.5MB", "MB", "1e6",
                                   "18446744073709551616", "17179869184GB"}) {
        EXPECT_FALSE(ReadSize(text)) << text;
        EXPECT_NE(qxlt::RequireSize(text), "") << text;
    }
}

}  // namespace
