// The table of the checks.
#include "CheckTable.h"

#include <gmock/gmock.h>

using qxlt::AllChecks;
using qxlt::Check;

TEST(CheckTable, CodesAreStableAndInOrder) {
    for (std::size_t i = 0; i < AllChecks().size(); ++i) {
        const Check& check = AllChecks()[i];
        EXPECT_TRUE(testing::Value(std::string(check.code), testing::MatchesRegex("QX[0-9][0-9][0-9]"))) << check.code;
        EXPECT_EQ(static_cast<std::size_t>(check.id), i) << check.code;
        EXPECT_LT(i == 0 ? std::string() : std::string(AllChecks()[i - 1].code), check.code);
    }
}
