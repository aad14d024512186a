#include "QxLocation.h"

#include <algorithm>
#include <utility>

#include "QxFormat.h"

namespace {

void AddToPlan(QxArgPlan& plan, std::size_t argument, std::uint32_t size) {
    if (size == 0) {
        ++plan.emptiesAfter;
        return;
    }
    plan.steps.push_back({static_cast<std::uint32_t>(argument), size, plan.emptiesAfter});
    plan.emptiesAfter = 0;
}

}  // namespace

QxLocation::QxLocation(IQxData::_HSCallLocation location) : site(std::move(location)) {
    const auto& args = site.args;
    const std::size_t count = std::min({args.argType.size(), args.argFlags.size(), args.argSize.size()});
    for (std::size_t i = 0; i < count; ++i) {
        if ((args.argFlags[i] & qxformat::kRecordedAtEntry) != 0) AddToPlan(atEntry, i, args.argSize[i]);
        if ((args.argFlags[i] & qxformat::kRecordedAtExit) != 0) AddToPlan(atExit, i, args.argSize[i]);
        AddToPlan(always, i, args.argSize[i]);
    }
}
