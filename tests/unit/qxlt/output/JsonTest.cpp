// Reading of JSON.
#include "Json.h"

#include <gmock/gmock.h>

#include "Failure.h"

namespace {

using namespace qxlt;

TEST(Json, TakesTextToTheDeepestNesting) {
    EXPECT_EQ(ParseJson("a", std::string(64, '[') + "1" + std::string(64, ']')).size(), 1u);
    EXPECT_THROW(ParseJson("a", std::string(65, '[') + "1" + std::string(65, ']')), Failure);
}

}  // namespace
