// Brings what waits in an outbox to the broker, in order, and tells the broker how the device is. It has no thread and
// never waits: whoever owns it polls its descriptor, and gives it a turn when there is something to do.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <vector>

#include "Backoff.h"
#include "BrokerAccess.h"
#include "ConnectionNews.h"
#include "EventMessage.h"
#include "MqttSession.h"
#include "Outbox.h"

namespace qxlt {

struct SenderSettings {
    BrokerAccess access;
    Sending sending;
    double statusSeconds;
    std::string outboxFile;               // for messages
    std::function<std::string()> health;  // a JSON object, or nothing; may be empty. Called by whose turn it is
};

// One thread at a time.
class Sender final {
public:
    using Clock = std::chrono::steady_clock;

    // `outbox` must outlive the sender.
    Sender(Outbox& outbox, SenderSettings settings);

    // To be polled for reading, and for writing if it wants that; below 0: none.
    int Descriptor() const { return m_session ? m_session->Descriptor() : -1; }
    bool WantsToWrite() const { return m_session && m_session->WantsToWrite(); }

    // When the next turn is due, whether or not anything happens.
    Clock::time_point Due() const;

    // Does what there is to do.
    void Turn(bool canRead, bool canWrite);

    // From now on it publishes what waits until `limit`, says that the run has ended, and is done then. Without a
    // connection it tries once.
    void Finish(Clock::time_point limit);
    bool IsDone() const { return m_done; }

private:
    struct Flight {
        std::int64_t position;
        std::size_t bytes;
    };

    void Connect(Clock::time_point now);
    void Drop(Clock::time_point now);
    void Serve(bool canRead, bool canWrite, Clock::time_point now);
    void Begin(Clock::time_point now);
    void TakeAcknowledged();
    void RemoveSent(Clock::time_point now);
    void Fill();
    bool Send(const OutboxMessage& message);
    void TellStatus(Clock::time_point now);
    std::string Status(DeviceState state);
    void End(Clock::time_point now);
    std::string TopicOf(const std::string& belowPrefix) const;

    Outbox& m_outbox;
    const SenderSettings m_settings;
    const std::string m_statusTopic;
    const std::string m_client;
    Backoff m_backoff;
    ConnectionNews m_news;
    std::optional<MqttSession> m_session;
    bool m_isUp = false;                        // it was let in, and what follows is of this session
    Clock::time_point m_began{};                // when the session began
    Clock::time_point m_next{};                 // when the next one does
    std::unordered_map<int, Flight> m_flights;  // published, and not taken over yet; by number
    std::size_t m_flightBytes = 0;
    std::int64_t m_position = 0;    // of the last message that was published
    std::set<std::int64_t> m_sent;  // taken over, and not removed yet
    Clock::time_point m_removeAgain{};
    Clock::time_point m_statusDue{};
    Clock::time_point m_statusTold{};
    std::uint64_t m_droppedTold = 0;
    Clock::time_point m_expireDue{};
    std::optional<Clock::time_point> m_limit;  // of the end
    int m_lastWord = 0;                        // the number of the status that says so; 0: it was not published yet
    bool m_done = false;
};

}  // namespace qxlt
