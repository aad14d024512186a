// From messages to what is stored and shown.
#include "FleetInbox.h"

#include <gmock/gmock.h>

#include "ExactBytes.h"

namespace qxlt {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;

const std::string kBoot(32, 'b');
const std::string kRun(16, 'c');

class ShownLines final : public IFleetDisplay {
public:
    void Show(const FleetEvent& event) override {
        lines.push_back(event.origin.device + " " + event.event + " " + std::to_string(event.number));
    }
    void Show(const FleetNews& news) override {
        const auto* const gap = std::get_if<GapNews>(&news);
        lines.push_back(gap != nullptr ? "gap " + std::to_string(gap->range.first)
                                       : std::string("is ") + TextOf(std::get<DeviceNews>(news).status.state));
    }
    void Finish(const FleetAccount&, const RefusedMessages&) override {}

    std::vector<std::string> lines;
};

class StoreThatMayBeAway final : public IFleetStore {
public:
    std::optional<FleetDevice> Load(const std::string&) override {
        if (cannotLoad) throw StoreAway("away");
        return std::nullopt;
    }
    std::size_t Write(const FleetBatch& batch) override {
        if (isAway) throw StoreAway("away");
        for (const FleetEvent* const event : batch.events) kept.push_back(event->number);
        return refuses;
    }

    bool cannotLoad = false;
    bool isAway = false;
    std::size_t refuses = 0;
    std::vector<std::uint64_t> kept;
};

class Inbox : public testing::Test {
protected:
    void Event(const std::string& device, int number, const std::string& event = "E") {
        Message(device + "/events/" + event,
                R"({"id":")" + device + ":" + kBoot + ":" + kRun + ":" + std::to_string(number) + R"(","device":")" +
                    device + R"(","time":null,"cycle":1,"event":")" + event + R"(","value":"","call":{}})");
    }
    void Status(const std::string& device, int taken) {
        Message(device + "/status", R"({"device":")" + device + R"(","boot":")" + kBoot + R"(","run":")" + kRun +
                                        R"(","state":"running","time":null,"taken":)" + std::to_string(taken) +
                                        R"(,"waiting":0,"dropped":0})");
    }
    // In a block of exactly its size.
    void Message(const std::string& topic, const std::string& payload) {
        ExactBytes bytes(payload);
        m_inbox->Take("fleet/" + topic, {bytes.Data(), bytes.Size()});
    }

    void Make(FleetInbox::Choice choice, IFleetStore* store = nullptr) {
        m_account = std::make_unique<FleetAccount>(
            FleetAccount::Bounds(), store == nullptr ? FleetAccount::Load() : [store](const std::string& device) {
                return store->Load(device);
            });
        m_inbox = std::make_unique<FleetInbox>("fleet", std::move(choice), *m_account, store, m_display);
    }

    void Settle(int seconds = 0) { m_inbox->Settle(FleetAccount::Time(std::chrono::seconds(seconds)), 0); }

    ShownLines m_display;
    StoreThatMayBeAway m_store;
    std::unique_ptr<FleetAccount> m_account;
    std::unique_ptr<FleetInbox> m_inbox;
};

TEST_F(Inbox, ShowsWhatCameOnceInOrder) {
    Make({});
    Status("a", 0);
    Event("a", 1);
    Event("a", 1);
    Event("a", 3);
    EXPECT_THAT(m_display.lines, IsEmpty());
    Settle();
    EXPECT_THAT(m_display.lines, ElementsAre("is running", "a E 1", "a E 3"));
    Settle(60);
    EXPECT_THAT(m_display.lines, ElementsAre("is running", "a E 1", "a E 3", "gap 2"));
}

TEST_F(Inbox, CountsEventsThatItDoesNotShow) {
    Make({{"a*"}, {"W*"}}, &m_store);
    Event("a", 1, "V");
    Event("a", 2, "W");
    Event("b", 1, "W");
    Settle();
    EXPECT_THAT(m_display.lines, ElementsAre("a W 2"));
    EXPECT_THAT(m_store.kept, ElementsAre(2u));
    EXPECT_EQ(m_account->Totals().received, 2u);
    EXPECT_EQ(m_account->Totals().devices, 1u);
}

TEST_F(Inbox, ShowsNothingThatIsNotKept) {
    Make({}, &m_store);
    m_store.isAway = true;
    Event("a", 1);
    EXPECT_THROW(Settle(), StoreAway);
    // The broker sends again what was not answered.
    Event("a", 1);
    Event("a", 2);
    EXPECT_THROW(Settle(), StoreAway);
    EXPECT_THAT(m_display.lines, IsEmpty());
    m_store.isAway = false;
    Settle();
    EXPECT_THAT(m_display.lines, ElementsAre("a E 1", "a E 2"));
    EXPECT_THAT(m_store.kept, ElementsAre(1u, 2u));
}

TEST_F(Inbox, WaitsForADeviceThatCannotBeLookedUp) {
    Make({}, &m_store);
    m_store.cannotLoad = true;
    Event("a", 1);
    Event("a", 2);
    EXPECT_THROW(Settle(), StoreAway);
    m_store.cannotLoad = false;
    Settle();
    EXPECT_THAT(m_store.kept, ElementsAre(1u, 2u));
    EXPECT_EQ(m_account->Totals().doubled, 0u);
}

TEST_F(Inbox, CountsWhatItDoesNotTake) {
    Make({}, &m_store);
    m_store.refuses = 1;
    Message("a/events/E", "{}");
    Message("a/events/E", "{");
    Message("a/what", "{}");
    Message("a/status", "");
    Message("a/events/E", std::string((1u << 20) + 1, ' '));
    Event("a", 1);
    Settle();
    EXPECT_THAT(m_inbox->Refused().counts,
                UnorderedElementsAre(Pair("odd content", 1u), Pair("no JSON", 1u), Pair("odd topics", 1u),
                                     Pair("too long", 1u), Pair("refused by the database", 1u)));
    EXPECT_EQ(m_inbox->Refused().All(), 5u);
}

TEST_F(Inbox, IsFullOfAThousandMessages) {
    Make({});
    for (int i = 1; i < 1000; ++i) Event("a", i);
    EXPECT_FALSE(m_inbox->IsFull());
    Event("a", 1000);
    EXPECT_TRUE(m_inbox->IsFull());
    Settle();
    EXPECT_FALSE(m_inbox->IsFull());
}

}  // namespace
}  // namespace qxlt
