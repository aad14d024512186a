// Times on the command line.
#include "TimeText.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;

TEST(TimeText, ReadsNumbersWithTheirUnits) {
    const std::pair<const char*, double> rows[] = {
        {"10", 10},    {"10s", 10},      {"500ms", 0.5},          {"2m", 120},      {"1h", 3600}, {"0.5m", 30},
        {"1e3", 1000}, {"1e300", 1e300}, {"20us", 20 * 0.000001}, {"7d", 7 * 86400}};
    for (const auto& [text, seconds] : rows) EXPECT_EQ(ReadSeconds(text), seconds) << text;
    for (const char* const text : {"", "s", "0", "0s", "-1", "nan", "10 s", "10sec", "10S", "1w", "1s2"}) {
        EXPECT_EQ(ReadSeconds(text), std::nullopt) << text;
    }
}

}  // namespace
