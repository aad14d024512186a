#include "Sender.h"

#include <algorithm>
#include <random>
#include <utility>

#include "Topics.h"

namespace qxlt {

namespace {

using std::chrono::seconds;

constexpr std::size_t kMostFlights = 64;
constexpr std::size_t kMostFlightBytes = std::size_t{512} * 1024;
constexpr seconds kToConnect(20);  // until the broker has let us in
constexpr seconds kKeep(5);        // how often the connection is looked after
constexpr seconds kLasting(10);    // a session that lasts so long was no failure
constexpr seconds kRemoveAgain(1);
constexpr seconds kDroppedAgain(1);  // how often the status is published at most when more was dropped
constexpr seconds kExpire(60);
constexpr seconds kLastWord(1);  // for the last status, besides what the end may take

Sender::Clock::duration Ticks(std::chrono::duration<double> time) {
    return std::chrono::duration_cast<Sender::Clock::duration>(time);
}

std::uint64_t WallNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

}  // namespace

// The client's name belongs to the outbox: a broker that has not noticed that the run before has gone ends its
// connection then, and publishes its will before this run's first word.
Sender::Sender(Outbox& outbox, SenderSettings settings)
    : m_outbox(outbox),
      m_settings(std::move(settings)),
      m_statusTopic(TopicOf(StatusTopic(m_settings.sending.device))),
      m_client("qxlt-" + TopicLevel(m_settings.sending.device) + "-" + outbox.Identity()),
      m_backoff(std::random_device()()),
      m_news(BrokerText(m_settings.access.address), m_settings.outboxFile) {}

std::string Sender::TopicOf(const std::string& belowPrefix) const {
    return m_settings.access.address.prefix + "/" + belowPrefix;
}

Sender::Clock::time_point Sender::Due() const {
    Clock::time_point due = m_session ? Clock::now() + kKeep : std::max(m_next, Clock::time_point());
    if (m_session && !m_isUp) due = std::min(due, m_began + kToConnect);
    if (m_isUp && m_lastWord == 0) due = std::min(due, m_statusDue);
    if (!m_sent.empty()) due = std::min(due, m_removeAgain);
    if (m_limit) due = std::min(due, Clock::now() < *m_limit ? *m_limit : *m_limit + kLastWord);
    return due;
}

void Sender::Turn(bool canRead, bool canWrite) {
    const Clock::time_point now = Clock::now();
    if (now >= m_expireDue) {
        m_outbox.Expire();
        m_expireDue = now + kExpire;
    }
    if (!m_session && now >= m_next) Connect(now);
    if (m_session) Serve(canRead, canWrite, now);
    RemoveSent(now);
    if (m_session && m_session->IsOver()) Drop(now);
    if (m_limit && now >= *m_limit + kLastWord) m_done = true;
}

void Sender::Connect(Clock::time_point now) {
    MqttSession::Setup setup;
    setup.client = m_client;
    setup.willTopic = m_statusTopic;
    setup.willPayload = Status(DeviceState::Gone);
    m_isUp = false;
    m_began = now;
    m_session.emplace(m_settings.access, std::move(setup));
}

// The session is over. What was on its way is published anew by the next one.
void Sender::Drop(Clock::time_point now) {
    const bool lasted = m_isUp && now - m_began >= kLasting;
    const bool helpsToTry = m_session->HowEnded() == MqttSession::Ending::Network;
    if (lasted) m_backoff.Reset();
    if (m_lastWord != 0 || m_limit) m_done = true;
    if (!m_done) m_news.Failed(m_session->Problem(), now);
    m_next = now + Ticks(helpsToTry ? m_backoff.Next() : m_backoff.NextLong());
    m_session.reset();
    m_isUp = false;
    m_flights.clear();
    m_flightBytes = 0;
    m_position = 0;
}

void Sender::Serve(bool canRead, bool canWrite, Clock::time_point now) {
    if (canRead) m_session->Read();
    if (canWrite) m_session->Write();
    m_session->Keep();
    if (m_session->IsConnected() && !m_isUp) Begin(now);
    if (!m_isUp) {
        if (now - m_began >= kToConnect) m_session->GiveUp("it does not answer");
        return;
    }
    TakeAcknowledged();
    TellStatus(now);
    if (m_lastWord == 0) Fill();
    if (m_limit) End(now);
}

void Sender::Begin(Clock::time_point now) {
    m_isUp = true;
    m_statusDue = now;
}

void Sender::TakeAcknowledged() {
    for (const int number : m_session->TakeAcknowledged()) {
        const auto flight = m_flights.find(number);
        if (flight == m_flights.end()) {
            if (number == m_lastWord) m_session->Disconnect();
            continue;
        }
        m_sent.insert(flight->second.position);
        m_flightBytes -= flight->second.bytes;
        m_flights.erase(flight);
    }
}

// A full disk may keep it from being done.
void Sender::RemoveSent(Clock::time_point now) {
    if (m_sent.empty() || now < m_removeAgain) return;
    if (m_outbox.Remove({m_sent.begin(), m_sent.end()})) {
        m_sent.clear();
        m_removeAgain = {};
    } else {
        m_removeAgain = now + kRemoveAgain;
    }
}

void Sender::Fill() {
    while (m_flights.size() < kMostFlights && m_flightBytes < kMostFlightBytes) {
        const std::vector<OutboxMessage> messages =
            m_outbox.ReadAfter(m_position, kMostFlights - m_flights.size(), kMostFlightBytes - m_flightBytes);
        if (messages.empty()) return;
        for (const OutboxMessage& message : messages) {
            if (!Send(message)) return;
        }
    }
}

bool Sender::Send(const OutboxMessage& message) {
    if (m_sent.count(message.position) == 0) {
        const int number = m_session->Publish(TopicOf(message.topic), message.payload, false);
        if (number == 0) return false;
        m_flights[number] = {message.position, message.payload.size()};
        m_flightBytes += message.payload.size();
    }
    m_position = message.position;
    return true;
}

// Every so often, and soon when more was dropped. With it people are told that the connection stands; when they have
// been told too much lately, a later status does it.
void Sender::TellStatus(Clock::time_point now) {
    if (m_lastWord != 0) return;
    const bool dropsMore = now - m_statusTold >= kDroppedAgain && m_outbox.Count().dropped != m_droppedTold;
    if (now < m_statusDue && !dropsMore) return;
    m_session->Publish(m_statusTopic, Status(DeviceState::Running), true);
    m_news.Connected(now);
    m_statusTold = now;
    m_statusDue = now + Ticks(std::chrono::duration<double>(m_settings.statusSeconds));
}

std::string Sender::Status(DeviceState state) {
    const OutboxCounts counts = m_outbox.Count();
    m_droppedTold = counts.dropped;
    return StatusMessage(m_settings.sending, state, WallNow(), counts,
                         m_settings.health ? m_settings.health() : std::string());
}

void Sender::Finish(Clock::time_point limit) {
    m_limit = limit;
    m_next = {};
}

// What waits is published, or the time is over: the last word is said, and the broker's answer to that ends it all.
void Sender::End(Clock::time_point now) {
    RemoveSent(now);
    if (m_lastWord != 0 || (now < *m_limit && m_outbox.Count().waiting != 0)) return;
    m_lastWord = m_session->Publish(m_statusTopic, Status(DeviceState::Ended), true);
}

}  // namespace qxlt
