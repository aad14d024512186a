// How much a value would have to change for a condition to hold.
#include "ConditionDistance.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using namespace qxlt;

TEST(ConditionDistance, IsThatToTheNearestValueThatFulfilsIt) {
    struct Row {
        const char* type;
        const char* condition;
        const char* operands;
        const char* combination;
        const char* value;
        std::uint64_t distance;
    };
    const Row rows[] = {{"INT", "==", "5", "", "5", 0},
                        {"INT", "==", "5", "", "-3", 8},
                        {"INT", "==", "-2147483648", "", "2147483647", 4294967295u},
                        {"INT", "!=", "5", "", "5", 1},
                        {"INT", "!=", "5", "", "6", 0},
                        {"INT", ">", "5", "", "6", 0},
                        {"INT", ">", "5", "", "5", 1},
                        {"INT", ">", "5", "", "3", 3},
                        {"INT", "<", "5", "", "4", 0},
                        {"INT", "<", "5", "", "5", 1},
                        {"INT", "<", "5", "", "7", 3},
                        {"INT", "==", "5&9", "OR", "8", 1},
                        {"INT", "!=", "5&9", "AND", "9", 1},
                        {"INT", "==", "5&9", "AND", "8", 3},
                        {"INT", "range", "2,8", "", "1", 1},
                        {"INT", "range", "2,8", "", "2", 0},
                        {"INT", "range", "2,8", "", "8", 0},
                        {"INT", "range", "2,8", "", "11", 3},
                        {"INT", "range", "5,5", "", "5", 0},
                        {"INT", "range", "8,2", "", "5", kOutOfReach},
                        {"INT", "range", "2", "", "5", kOutOfReach},
                        {"STRING", "range", "2,8", "", "5", kOutOfReach},
                        {"STRING", "==", "on", "", "on", 0},
                        {"STRING", "==", "on", "", "off", 2},
                        {"STRING", "!=", "on", "", "on", 1},
                        {"STRING", "!=", "on", "", "off", 0},
                        {"STRING", ">", "on", "", "off", kOutOfReach},
                        {"", "==", "on", "", "on", kOutOfReach},
                        {"INT", "~", "5", "", "5", kOutOfReach}};
    for (const Row& row : rows) {
        const std::string type = row.type, condition = row.condition, operands = row.operands,
                          combination = row.combination;
        QxEventWords event;
        event.Take("type", type);
        event.Take("condition", condition);
        event.Take("conditionValue", operands);
        if (!combination.empty()) event.Take("conditionType", combination);
        EXPECT_EQ(ConditionDistance(event, row.value), row.distance)
            << type << " " << row.value << " " << condition << " " << operands << " " << combination;
    }
}

// Only the beginnings of long texts are compared.
TEST(ConditionDistance, IsNotZeroForLongTextsThatBeginAlike) {
    const std::string type = "STRING", condition = "==", operand = std::string(100, 'a');
    QxEventWords event;
    event.Take("type", type);
    event.Take("condition", condition);
    event.Take("conditionValue", operand);
    EXPECT_EQ(ConditionDistance(event, operand + "b"), 1u);
}

}  // namespace
