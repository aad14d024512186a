#include "ConditionDistance.h"

#include <algorithm>

#include "Nearest.h"

namespace qxlt {

namespace {

using qxscript::Combination;
using qxscript::Condition;
using qxscript::Type;

std::uint64_t Difference(std::int64_t left, std::int64_t right) {
    return static_cast<std::uint64_t>(left > right ? left - right : right - left);
}

// Long texts are compared by their beginnings only.
std::uint64_t TextDistance(const std::string& value, const std::string& operand) {
    return value == operand ? 0 : std::max<std::uint64_t>(1, EditDistance(value, operand));
}

// To the nearest number that equals the operand, differs from it, or is on the right side of it.
std::uint64_t NumberDistance(Condition condition, std::int64_t value, std::int64_t operand) {
    switch (condition) {
        case Condition::Equal:
            return Difference(value, operand);
        case Condition::NotEqual:
            return value == operand ? 1 : 0;
        case Condition::Greater:
            return value > operand ? 0 : Difference(value, operand) + 1;
        case Condition::Less:
            return value < operand ? 0 : Difference(value, operand) + 1;
        case Condition::Range:
        case Condition::Other:
            break;
    }
    return kOutOfReach;
}

std::uint64_t OperandDistance(const QxEventWords& event, const std::string& value, const std::string& operand) {
    const Condition condition = event.Condition();
    switch (event.Type()) {
        case Type::Int:
            return NumberDistance(condition, qxscript::ReadNumber(value), qxscript::ReadNumber(operand));
        case Type::String:
            if (condition == Condition::Equal) return TextDistance(value, operand);
            if (condition == Condition::NotEqual) return value == operand ? 1 : 0;
            break;
        case Type::Other:
            break;
    }
    return kOutOfReach;
}

std::uint64_t RangeDistance(const QxEventWords& event, const std::string& value) {
    const std::vector<std::string> bounds = event.Operands();
    if (bounds.size() != 2 || event.Type() != Type::Int) return kOutOfReach;
    const std::int64_t low = qxscript::ReadNumber(bounds[0]);
    const std::int64_t high = qxscript::ReadNumber(bounds[1]);
    const std::int64_t number = qxscript::ReadNumber(value);
    if (low > high) return kOutOfReach;
    if (number < low) return Difference(number, low);
    return number > high ? Difference(number, high) : 0;
}

}  // namespace

// An empty list holds for "all of them" only.
std::uint64_t ConditionDistance(const QxEventWords& event, const std::string& value) {
    const Condition condition = event.Condition();
    if (condition == Condition::Other) return kOutOfReach;
    if (condition == Condition::Range) return RangeDistance(event, value);
    const Combination combination = event.Combination();
    std::uint64_t result = combination == Combination::All ? 0 : kOutOfReach;
    for (const std::string& operand : event.Operands()) {
        const std::uint64_t distance = OperandDistance(event, value, operand);
        result = combination == Combination::All   ? std::max(result, distance)
                 : combination == Combination::Any ? std::min(result, distance)
                                                   : distance;
    }
    return result;
}

}  // namespace qxlt
