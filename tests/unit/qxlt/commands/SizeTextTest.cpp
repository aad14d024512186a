// Sizes on the command line.
#include "SizeText.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;

TEST(SizeText, ReadsNumbersWithTheirUnits) {
    const std::pair<const char*, std::uint64_t> rows[] = {
        {"1", 1},           {"10B", 10},          {"500kB", 500000},
        {"64MB", 64000000}, {"2G", 2000000000},   {"18446744073709551615", 18446744073709551615u},
        {"3K", 3000},       {"4GB", 4000000000u}, {"18446744073GB", 18446744073000000000u}};
    for (const auto& [text, bytes] : rows) {
        EXPECT_EQ(ReadSize(text), bytes) << text;
        EXPECT_EQ(RequireSize(text), "") << text;
    }
    for (const char* const text :
         {"", "MB", "0", "0MB", "-1", "1.5MB", "1 MB", "1mb", "1TB", "18446744073709551616", "18446744074GB"}) {
        EXPECT_EQ(ReadSize(text), std::nullopt) << text;
        EXPECT_NE(RequireSize(text), "") << text;
    }
}

}  // namespace
