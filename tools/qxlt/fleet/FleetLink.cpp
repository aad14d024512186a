#include "FleetLink.h"

#include <mosquitto.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "ClientSetup.h"
#include "Failure.h"

namespace qxlt {

namespace {

constexpr int kKeepAliveSeconds = 60;
constexpr int kQos = 1;
constexpr int kFailed = 0x80;  // in place of what is granted

// The library's one set-up of the process.
void StartLibrary() {
    static const int code = mosquitto_lib_init();
    if (code != MOSQ_ERR_SUCCESS) throw Failure(kCannotStart, mosquitto_strerror(code));
}

FleetLink& Self(void* link) {
    return *static_cast<FleetLink*>(link);
}

// Answers of a broker that will be the same the next time.
bool IsRefusal(int code) {
    constexpr int kUnavailable = 3;
    return code != kUnavailable;
}

std::string TextOf(int code) {
    return code == MOSQ_ERR_ERRNO ? std::strerror(errno) : mosquitto_strerror(code);
}

}  // namespace

void FleetLink::Deleter::operator()(mosquitto* client) const {
    mosquitto_destroy(client);
}

FleetLink::FleetLink(const FleetSubscription& subscription, Take take)
    : m_topics(subscription.topics), m_take(std::move(take)) {
    StartLibrary();
    m_client.reset(mosquitto_new(subscription.client.c_str(), !subscription.isLasting, this));
    if (m_client == nullptr) throw Failure(kCannotStart, "no client can be made: " + TextOf(MOSQ_ERR_ERRNO));
    SetUp(subscription);
    Check(mosquitto_connect_async(m_client.get(), subscription.address.host.c_str(), subscription.address.port,
                                  kKeepAliveSeconds));
}

// A library that is told of threads writes nothing from within a read: answers to messages wait there for Write.
void FleetLink::SetUp(const FleetSubscription& subscription) {
    mosquitto* const client = m_client.get();
    mosquitto_threaded_set(client, true);
    SetUpClient(*client, subscription.address, subscription.options);
    mosquitto_connect_callback_set(client, [](mosquitto*, void* link, int code) { Self(link).OnConnected(code); });
    mosquitto_subscribe_callback_set(client, [](mosquitto*, void* link, int, int count, const int* granted) {
        Self(link).OnSubscribed({granted, granted + count});
    });
    mosquitto_message_callback_set(client, [](mosquitto*, void* link, const mosquitto_message* message) {
        const auto* const payload = static_cast<const char*>(message->payload);
        Self(link).OnMessage(message->topic,
                             {payload, payload == nullptr ? 0 : static_cast<std::size_t>(message->payloadlen)});
    });
}

// Here, so that the library's thread of control does not go on with a link that is gone.
FleetLink::~FleetLink() = default;

int FleetLink::Socket() const {
    return mosquitto_socket(m_client.get());
}

bool FleetLink::WantsWrite() const {
    return mosquitto_want_write(m_client.get());
}

void FleetLink::Lose(const std::string& fault, bool isRefused) {
    if (m_isLost) return;
    m_isLost = true;
    m_isRefused = isRefused;
    m_fault = fault;
}

void FleetLink::Check(int code) {
    if (code == MOSQ_ERR_SUCCESS) return;
    const bool isCertificate = code == MOSQ_ERR_TLS || code == MOSQ_ERR_TLS_HANDSHAKE;
    Lose(TextOf(code), isCertificate && !m_isSubscribed);
}

bool FleetLink::Read() {
    m_hasRead = false;
    if (!m_isLost) Check(mosquitto_loop_read(m_client.get(), 1));
    return m_hasRead;
}

void FleetLink::Write() {
    if (!m_isLost) Check(mosquitto_loop_write(m_client.get(), 1));
}

void FleetLink::Tick() {
    if (!m_isLost) Check(mosquitto_loop_misc(m_client.get()));
}

void FleetLink::OnConnected(int code) {
    m_hasRead = true;
    if (code != 0) return Lose(mosquitto_connack_string(code), IsRefusal(code));
    for (const std::string& topic : m_topics) Check(mosquitto_subscribe(m_client.get(), nullptr, topic.c_str(), kQos));
}

void FleetLink::OnSubscribed(const std::vector<int>& granted) {
    m_hasRead = true;
    m_isSubscribed = true;
    if (std::none_of(granted.begin(), granted.end(), [](int qos) { return qos >= kFailed; })) return;
    Lose("the broker lets this client not subscribe to " + m_topics.front(), true);
}

// Nothing is thrown through the library: what cannot be taken for want of memory comes again with the next link.
void FleetLink::OnMessage(std::string_view topic, std::string_view payload) {
    m_hasRead = true;
    try {
        if (!m_isLost) m_take(topic, payload);
    } catch (const std::exception& error) {
        Lose(error.what(), false);
    }
}

void FleetLink::Leave() {
    if (m_isLost) return;
    mosquitto_disconnect(m_client.get());
    Write();
}

}  // namespace qxlt
