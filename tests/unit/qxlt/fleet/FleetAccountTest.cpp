#include "FleetAccount.h"

#include <gmock/gmock.h>

namespace qxlt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using Arrival = RunNumbers::Arrival;
using Time = FleetAccount::Time;

Time At(int seconds) {
    return Time(std::chrono::seconds(seconds));
}

const std::string kBoot(32, 'b');

std::string RunOf(char name) {
    return std::string(16, name);
}

FleetEvent Event(const std::string& device, char run, std::uint64_t number) {
    FleetEvent event{};
    event.origin = {device, kBoot, RunOf(run)};
    event.number = number;
    return event;
}

FleetStatus Status(const std::string& device, char run, std::uint64_t taken, std::uint64_t waiting = 0,
                   DeviceState state = DeviceState::Running) {
    FleetStatus status{};
    status.origin = {device, kBoot, RunOf(run)};
    status.state = state;
    status.taken = taken;
    status.waiting = waiting;
    return status;
}

// News in few words.
std::string TextOf(const FleetNews& news) {
    if (const auto* const gap = std::get_if<GapNews>(&news)) {
        return gap->origin.device + (gap->kind == RunNumbers::Kind::Missing ? " missing " : " dropped ") +
               gap->origin.run.front() + " " + std::to_string(gap->range.first) + "-" + std::to_string(gap->range.last);
    }
    const FleetStatus& status = std::get<DeviceNews>(news).status;
    return status.origin.device + " " + qxlt::TextOf(status.state) + " " + status.origin.run.front();
}

std::vector<std::string> TextsOf(const std::vector<FleetNews>& news) {
    std::vector<std::string> texts;
    for (const FleetNews& one : news) texts.push_back(TextOf(one));
    return texts;
}

TEST(FleetAccount, RemovesDoublesOfEachDeviceAndRun) {
    FleetAccount account({});
    EXPECT_EQ(account.Take(Event("a", '1', 7), At(0)), Arrival::New);
    EXPECT_EQ(account.Take(Event("a", '1', 7), At(0)), Arrival::Double);
    EXPECT_EQ(account.Take(Event("b", '1', 7), At(0)), Arrival::New);
    EXPECT_EQ(account.Take(Event("a", '2', 7), At(0)), Arrival::New);
    const FleetTotals totals = account.Totals();
    EXPECT_EQ(totals.devices, 2u);
    EXPECT_EQ(totals.received, 3u);
    EXPECT_EQ(totals.doubled, 1u);
    EXPECT_EQ(totals.missing, 0u);
}

TEST(FleetAccount, TellsAGapWhenItsTimeIsOver) {
    FleetAccount account({});
    account.Take(Event("a", '1', 1), At(0));
    EXPECT_FALSE(account.NextDue());
    account.Take(Event("a", '1', 4), At(1));
    EXPECT_EQ(account.NextDue(), At(11));
    EXPECT_THAT(account.TakeDue(At(10)), IsEmpty());
    EXPECT_THAT(TextsOf(account.TakeDue(At(11))), ElementsAre("a missing 1 2-3"));
    EXPECT_FALSE(account.NextDue());
    EXPECT_EQ(account.Take(Event("a", '1', 2), At(12)), Arrival::Late);
    EXPECT_EQ(account.Totals().missing, 1u);
    EXPECT_EQ(account.Totals().late, 1u);
}

TEST(FleetAccount, TellsNothingOfAGapThatCloses) {
    FleetAccount account({});
    account.Take(Event("a", '1', 1), At(0));
    account.Take(Event("a", '1', 3), At(0));
    account.Take(Event("a", '1', 2), At(1));
    EXPECT_THAT(account.TakeDue(At(20)), IsEmpty());
    EXPECT_FALSE(account.NextDue());
}

TEST(FleetAccount, TellsAGapThatCameWhileAnotherWaited) {
    FleetAccount account({});
    account.Take(Event("a", '1', 1), At(0));
    account.Take(Event("a", '1', 3), At(0));
    account.Take(Event("a", '1', 5), At(8));
    EXPECT_THAT(TextsOf(account.TakeDue(At(10))), ElementsAre("a missing 1 2-2"));
    EXPECT_THAT(TextsOf(account.TakeDue(At(20))), ElementsAre("a missing 1 4-4"));
}

TEST(FleetAccount, MissesTheTailThatAStatusTells) {
    FleetAccount account({});
    account.Take(Status("a", '1', 0), At(0));
    account.Take(Event("a", '1', 1), At(0));
    account.Take(Status("a", '1', 5, 2), At(1));
    EXPECT_THAT(TextsOf(account.TakeDue(At(30))), ElementsAre("a missing 1 2-3"));
}

TEST(FleetAccount, MissesTheTailOfAnEarlierRunOnceTheOutboxIsEmpty) {
    FleetAccount account({});
    account.Take(Status("a", '1', 0), At(0));
    account.Take(Status("a", '1', 4, 4), At(0));
    account.Take(Status("a", '2', 0, 4), At(1));
    account.Take(Event("a", '1', 1), At(2));
    EXPECT_THAT(account.TakeDue(At(30)), IsEmpty());
    account.Take(Status("a", '2', 3, 3), At(31));
    EXPECT_THAT(TextsOf(account.TakeDue(At(60))), ElementsAre("a missing 1 2-4"));
}

TEST(FleetAccount, DoesNotMissWhatWasSentBeforeItReceived) {
    FleetAccount account({});
    account.Take(Status("a", '1', 500, 2), At(0));
    account.Take(Event("a", '1', 499), At(0));
    account.Take(Event("a", '1', 500), At(0));
    account.Take(Event("b", '1', 77), At(0));
    account.Take(Event("a", '0', 41), At(0));  // was left over from a run before that
    EXPECT_EQ(account.Totals().missing, 0u);
}

TEST(FleetAccount, MissesTheBeginningOfARunThatBeganSince) {
    FleetAccount account({});
    account.Take(Event("a", '1', 7), At(0));
    account.Take(Status("a", '2', 3), At(0));
    account.Take(Event("a", '2', 4), At(0));
    EXPECT_EQ(account.Totals().missing, 3u);
}

TEST(FleetAccount, TellsWhatTheDeviceDropped) {
    FleetAccount account({});
    account.Take(Status("a", '1', 1), At(0));
    account.Take(Event("a", '1', 1), At(0));
    FleetStatus status = Status("a", '1', 9, 2);
    status.dropped = 4;
    status.drops = {{kBoot, RunOf('1'), {2, 5}}};
    EXPECT_THAT(TextsOf(account.Take(status, At(1))), ElementsAre("a dropped 1 2-5"));
    EXPECT_THAT(account.Take(status, At(2)), IsEmpty());
    EXPECT_EQ(account.Totals().dropped, 4u);
    EXPECT_THAT(TextsOf(account.TakeDue(At(20))), ElementsAre("a missing 1 6-7"));
}

TEST(FleetAccount, LeavesOutWhatWasDroppedBeforeItReceived) {
    FleetAccount account({});
    FleetStatus status = Status("a", '2', 9);
    status.drops = {{kBoot, RunOf('1'), {2, 5}}, {kBoot, RunOf('2'), {1, 3}}};
    EXPECT_THAT(TextsOf(account.Take(status, At(1))), ElementsAre("a running 2"));
    EXPECT_EQ(account.Totals().dropped, 0u);
}

TEST(FleetAccount, TellsTheStateOfADeviceWhenItChanges) {
    FleetAccount account({});
    EXPECT_THAT(TextsOf(account.Take(Status("a", '1', 0), At(0))), ElementsAre("a running 1"));
    EXPECT_THAT(account.Take(Status("a", '1', 1, 1), At(0)), IsEmpty());
    EXPECT_THAT(TextsOf(account.Take(Status("a", '1', 0, 0, DeviceState::Gone), At(0))), ElementsAre("a gone 1"));
    EXPECT_THAT(TextsOf(account.Take(Status("a", '2', 0), At(0))), ElementsAre("a running 2"));
    // The broker tells of the connection that broke after the device has another one.
    EXPECT_THAT(account.Take(Status("a", '1', 0, 0, DeviceState::Gone), At(0)), IsEmpty());
    EXPECT_THAT(TextsOf(account.Take(Status("a", '2', 1, 1, DeviceState::Ended), At(0))), ElementsAre("a ended 2"));
}

TEST(FleetAccount, ForgetsTheDevicesThatWereNotHeardOfForLongest) {
    FleetAccount::Bounds bounds;
    bounds.devices = 2;
    FleetAccount account(bounds);
    for (const char* const device : {"a", "b", "a", "c"}) {
        account.Take(Event(device, '1', 1), At(0));
        account.Saved();
    }
    std::vector<std::string> names;
    for (const FleetDevice* const device : account.Devices()) names.push_back(device->name);
    EXPECT_THAT(names, ElementsAre("a", "c"));
    EXPECT_EQ(account.Forgotten(), 1u);
    EXPECT_EQ(account.Totals().devices, 3u);
    EXPECT_EQ(account.Totals().received, 3u);
    EXPECT_EQ(account.Totals().doubled, 1u);
}

TEST(FleetAccount, ForgetsDevicesForTheGapsOfOthers) {
    FleetAccount::Bounds bounds;
    bounds.gaps = 3;
    FleetAccount account(bounds);
    for (const std::uint64_t number : {1u, 3u, 5u, 7u}) account.Take(Event("a", '1', number), At(0));
    account.Saved();
    EXPECT_EQ(account.Forgotten(), 0u);
    account.Take(Event("b", '1', 1), At(0));
    account.Take(Event("b", '1', 3), At(0));
    account.Saved();
    EXPECT_EQ(account.Forgotten(), 1u);
    EXPECT_EQ(account.Totals().missing, 4u);
    EXPECT_THAT(account.TakeDue(At(99)), SizeIs(1));
}

TEST(FleetAccount, ForgetsTheOldestRunsOfOneDevice) {
    FleetAccount account({});
    account.Take(Event("a", 'x', 1), At(0));
    account.Take(Event("a", 'x', 3), At(0));
    for (std::size_t i = 0; i < FleetAccount::kMostRuns; ++i) {
        account.Take(Event("a", static_cast<char>('a' + i), 1), At(0));
    }
    EXPECT_THAT(account.Devices().front()->runs, SizeIs(FleetAccount::kMostRuns));
    EXPECT_EQ(account.Totals().missing, 1u);
    EXPECT_EQ(account.Take(Event("a", 'x', 1), At(0)), Arrival::New);
}

TEST(FleetAccount, GoesOnFromWhatIsKept) {
    FleetAccount before({});
    before.Take(Status("a", '1', 0), At(0));
    before.Take(Event("a", '1', 2), At(0));
    const auto load = [&before](const std::string& name) -> std::optional<FleetDevice> {
        for (const FleetDevice* const device : before.Devices()) {
            if (device->name == name) return *device;
        }
        return std::nullopt;
    };
    FleetAccount account({}, load);
    EXPECT_EQ(account.Take(Event("a", '1', 2), At(0)), Arrival::Double);
    EXPECT_EQ(account.Take(Event("a", '1', 5), At(0)), Arrival::New);
    EXPECT_EQ(account.Totals().missing, 3u);
    EXPECT_EQ(account.Take(Event("b", '1', 5), At(0)), Arrival::New);
}

TEST(FleetAccount, TakesNothingWhenLoadingFails) {
    bool fails = true;
    FleetAccount account({}, [&fails](const std::string&) -> std::optional<FleetDevice> {
        if (fails) throw std::runtime_error("away");
        return std::nullopt;
    });
    EXPECT_THROW(account.Take(Event("a", '1', 1), At(0)), std::runtime_error);
    fails = false;
    EXPECT_EQ(account.Take(Event("a", '1', 1), At(0)), Arrival::New);
}

TEST(FleetAccount, TellsWhichDevicesChanged) {
    FleetAccount account({});
    account.Take(Event("a", '1', 1), At(0));
    account.Take(Event("b", '1', 1), At(0));
    EXPECT_THAT(account.Changed(), SizeIs(2));
    account.Saved();
    EXPECT_THAT(account.Changed(), IsEmpty());
    account.Take(Event("b", '2', 1), At(0));
    ASSERT_THAT(account.Changed(), SizeIs(1));
    const FleetDevice& device = *account.Changed().front();
    EXPECT_TRUE(device.runs.front().changed);
    EXPECT_FALSE(device.runs.back().changed);
}

}  // namespace
}  // namespace qxlt
