#include "QxCallCost.h"

namespace qxcost {

namespace {

constexpr std::uint64_t kEvent = 96;

std::uint64_t OfArguments(const std::vector<IQxData::HSICallArg>& arguments) {
    std::uint64_t cost = 0;
    for (const IQxData::HSICallArg& argument : arguments) {
        cost += kArgument;
        for (const auto& pair : argument) cost += OfPair(pair.first.size(), pair.second.size());
    }
    return cost;
}

}  // namespace

std::uint64_t Of(const IQxData::HSCall& call) {
    return kCall + OfArguments(call.args.in) + OfArguments(call.args.out) + OfArguments(call.args.ret);
}

std::uint64_t OfEvent(const std::string& name, const std::string& value, const IQxData::HSCall& call) {
    return kEvent + OfText(name.size()) + OfText(value.size()) + Of(call);
}

}  // namespace qxcost
