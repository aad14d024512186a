// What has come and is not kept yet: from messages as they were read to what is stored and shown, batch by batch.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "FleetAccount.h"
#include "FleetMessage.h"
#include "IFleetDisplay.h"
#include "IFleetStore.h"

namespace qxlt {

// Patterns are those of a shell, and any of several will do; without a pattern everything matches.
bool MatchesAny(const std::vector<std::string>& patterns, const std::string& name);

class FleetInbox final {
public:
    using Time = FleetAccount::Time;

    struct Choice {
        std::vector<std::string> devices;
        std::vector<std::string> events;
    };

    // `store` may be null. All must outlive the inbox.
    FleetInbox(const std::string& prefix, Choice choice, FleetAccount& account, IFleetStore* store,
               IFleetDisplay& display)
        : m_reader(prefix), m_choice(std::move(choice)), m_account(account), m_store(store), m_display(display) {}

    // Takes a message as it comes; one that is none is counted.
    void Take(std::string_view topic, std::string_view payload);

    // Whether so much is waiting that it is to be kept before more is taken.
    bool IsFull() const { return m_waiting.size() >= kMostMessages || m_waitingBytes >= kMostBytes; }

    // Keeps all that waits, and shows it: afterwards it may be answered. Throws StoreAway; all waits on then. `wall` is
    // the time of day, in nanoseconds since 1970.
    void Settle(Time now, std::uint64_t wall);

    const RefusedMessages& Refused() const { return m_refused; }

private:
    static constexpr std::size_t kMostMessages = 1000;
    static constexpr std::size_t kMostBytes = std::size_t{4} << 20;

    using Line = std::variant<FleetEvent, FleetNews>;

    void Decide(Time now);
    void Keep(std::uint64_t wall);
    void Add(std::vector<FleetNews> news);

    const FleetReader m_reader;
    const Choice m_choice;
    FleetAccount& m_account;
    IFleetStore* const m_store;
    IFleetDisplay& m_display;
    RefusedMessages m_refused;
    std::deque<FleetMessage> m_waiting;
    std::size_t m_waitingBytes = 0;
    std::vector<Line> m_lines;  // what was decided, and is to be kept and shown
};

}  // namespace qxlt
