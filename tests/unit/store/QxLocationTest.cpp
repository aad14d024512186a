#include "QxLocation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace {

using Steps = std::vector<std::pair<unsigned, unsigned>>;  // argument, arguments of size 0 before it

struct Argument {
    unsigned flags;
    unsigned size;
};

IQxData::_HSCallLocation Site(const std::vector<Argument>& arguments) {
    IQxData::_HSCallLocation site;
    site.locId = 3;
    site.callerName = "SetVolume";
    for (const Argument& argument : arguments) {
        site.args.argType.emplace_back("int");
        site.args.argFlags.push_back(argument.flags);
        site.args.argSize.push_back(argument.size);
    }
    return site;
}

Steps StepsOf(const QxArgPlan& plan) {
    Steps steps;
    for (const QxArgPlan::Step& step : plan.steps) steps.emplace_back(step.argument, step.emptiesBefore);
    return steps;
}

}  // namespace

TEST(QxLocation, StartsWithoutArguments) {
    const QxLocation location;
    EXPECT_EQ(location.site.locId, 0u);
    for (const QxArgPlan* plan : {&location.atEntry, &location.atExit, &location.always}) {
        EXPECT_TRUE(plan->steps.empty());
        EXPECT_EQ(plan->emptiesAfter, 0u);
    }
}

TEST(QxLocation, KeepsTheRecord) {
    const QxLocation location(Site({{1, 4}}));
    EXPECT_EQ(location.site.locId, 3u);
    EXPECT_EQ(location.site.callerName, "SetVolume");
    EXPECT_EQ(location.site.args.argSize, std::vector<unsigned>{4});
}

TEST(QxLocation, PlansEachMomentByTheArgumentsFlags) {
    const QxLocation location(Site({{1, 4}, {2, 4}, {0, 4}, {3, 16383}, {4, 16382}, {0xFFFFFFFD, 1}}));
    EXPECT_EQ(StepsOf(location.atEntry), (Steps{{0, 0}, {3, 0}, {5, 0}}));
    EXPECT_EQ(StepsOf(location.atExit), (Steps{{1, 0}, {3, 0}}));
    EXPECT_EQ(StepsOf(location.always), (Steps{{0, 0}, {1, 0}, {2, 0}, {3, 0}, {4, 0}, {5, 0}}));
}

TEST(QxLocation, CountsArgumentsOfNoSizeWhereTheyStand) {
    const QxLocation location(Site({{1, 0}, {1, 0}, {1, 4}, {2, 0}, {2, 4}, {3, 0}}));
    EXPECT_EQ(StepsOf(location.atEntry), (Steps{{2, 2}}));
    EXPECT_EQ(location.atEntry.emptiesAfter, 1u);
    EXPECT_EQ(StepsOf(location.atExit), (Steps{{4, 1}}));
    EXPECT_EQ(location.atExit.emptiesAfter, 1u);
    EXPECT_EQ(StepsOf(location.always), (Steps{{2, 2}, {4, 1}}));
    EXPECT_EQ(location.always.emptiesAfter, 1u);
}

TEST(QxLocation, CountsArgumentsOfNoSizeWithoutAnyOther) {
    const QxLocation location(Site({{1, 0}, {1, 0}}));
    EXPECT_TRUE(location.atEntry.steps.empty());
    EXPECT_EQ(location.atEntry.emptiesAfter, 2u);
    EXPECT_EQ(location.atExit.emptiesAfter, 0u);
}

// A record that did not come from a dump may hold lists of any lengths.
TEST(QxLocation, PlansOnlyArgumentsThatAreDescribedWhole) {
    IQxData::_HSCallLocation site = Site({{3, 4}, {3, 4}, {3, 4}});
    site.args.argType.resize(2);
    EXPECT_EQ(StepsOf(QxLocation(site).always), (Steps{{0, 0}, {1, 0}}));
    site.args.argFlags.resize(1);
    EXPECT_EQ(StepsOf(QxLocation(site).atEntry), (Steps{{0, 0}}));
    site.args.argSize.clear();
    EXPECT_TRUE(QxLocation(site).atExit.steps.empty());
}
