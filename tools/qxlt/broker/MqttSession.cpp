#include "MqttSession.h"

#include <mosquitto.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <utility>

namespace qxlt {

namespace {

constexpr int kQos = 1;
constexpr int kPacketsAtOnce = 100;
constexpr int kVerifyPeer = 1;  // SSL_VERIFY_PEER
constexpr char kSystemAuthorities[] = "/etc/ssl/certs";

// The library is set up once, and for as long as the process lives: others may use it, too.
void SetUpLibrary() {
    static const int result = mosquitto_lib_init();
    static_cast<void>(result);
}

// Nobody is there to be asked for the password of a key.
int NoPassword(char* /*buffer*/, int /*size*/, int /*writes*/, void* /*context*/) {
    return 0;
}

MqttSession& SessionOf(void* context) {
    return *static_cast<MqttSession*>(context);
}

// The reasons of a broker of version 3.1.1 that another attempt does not help against.
bool IsRefusal(int code) {
    return code == 1 || code == 2 || code == 4 || code == 5;
}

// What is met when a broker gives up a secure connection that it does not like.
bool IsHangUp(int result, int error) {
    return result == MOSQ_ERR_PROTOCOL || result == MOSQ_ERR_CONN_LOST ||
           (result == MOSQ_ERR_ERRNO && (error == EPROTO || error == ECONNRESET));
}

std::string RefusalText(int code) {
    switch (code) {
        case 1:
            return "it does not speak version 3.1.1 of MQTT";
        case 2:
            return "it does not take the client's name";
        case 4:
            return "it does not know the user and the password; look at --credentials";
        case 5:
            return "it does not let this client in; look at --credentials, --cert and the broker's rules";
        default:
            return "it is not available (code: " + std::to_string(code) + ")";
    }
}

}  // namespace

void MqttSession::End::operator()(mosquitto* session) const {
    mosquitto_destroy(session);
}

MqttSession::MqttSession(const BrokerAccess& access, Setup setup) : m_access(access), m_setup(std::move(setup)) {
    SetUpLibrary();
    m_session.reset(mosquitto_new(m_setup.client.c_str(), m_setup.forgets, this));
    if (!m_session) {
        EndWith(Ending::Network, std::strerror(errno));
        return;
    }
    mosquitto* const session = m_session.get();
    mosquitto_connect_callback_set(session, [](mosquitto*, void* self, int code) { SessionOf(self).OnConnect(code); });
    mosquitto_disconnect_callback_set(session,
                                      [](mosquitto*, void* self, int code) { SessionOf(self).OnDisconnect(code); });
    mosquitto_publish_callback_set(
        session, [](mosquitto*, void* self, int number) { SessionOf(self).m_acknowledged.push_back(number); });
    mosquitto_subscribe_callback_set(session, [](mosquitto*, void* self, int, int count, const int* granted) {
        SessionOf(self).OnSubscribe({granted, granted + count});
    });
    mosquitto_log_callback_set(
        session, [](mosquitto*, void* self, int level, const char* text) { SessionOf(self).OnLog(level, text); });
    mosquitto_message_callback_set(session, [](mosquitto*, void* self, const mosquitto_message* message) {
        const std::string_view payload(static_cast<const char*>(message->payload),
                                       static_cast<std::size_t>(message->payloadlen));
        SessionOf(self).OnMessage({message->topic, payload, message->retain});
    });
    mosquitto_max_inflight_messages_set(session, 0);  // how many there are is up to who publishes
    if (m_setup.holdsAnswers) mosquitto_threaded_set(session, true);
    Begin();
}

MqttSession::~MqttSession() = default;

void MqttSession::Begin() {
    mosquitto* const session = m_session.get();
    if (m_access.address.isSecure) Secure();
    if (m_over) return;
    if (!m_access.user.empty()) {
        mosquitto_username_pw_set(session, m_access.user.c_str(),
                                  m_access.password.empty() ? nullptr : m_access.password.c_str());
    }
    if (!m_setup.willTopic.empty()) {
        mosquitto_will_set(session, m_setup.willTopic.c_str(), static_cast<int>(m_setup.willPayload.size()),
                           m_setup.willPayload.data(), kQos, true);
    }
    Look(mosquitto_connect_async(session, m_access.address.host.c_str(), m_access.address.port,
                                 m_setup.keepAliveSeconds));
}

// TLS 1.2 or newer, the broker's certificate and its name verified.
void MqttSession::Secure() {
    mosquitto* const session = m_session.get();
    const auto given = [](const std::string& file) { return file.empty() ? nullptr : file.c_str(); };
    const int set = mosquitto_tls_set(session, given(m_access.ca), m_access.ca.empty() ? kSystemAuthorities : nullptr,
                                      given(m_access.certificate), given(m_access.key), NoPassword);
    if (set != MOSQ_ERR_SUCCESS) {
        EndWith(Ending::Untrusted, "the files of --ca, --cert and --key cannot be read");
    } else {
        mosquitto_tls_opts_set(session, kVerifyPeer, "tlsv1.2", nullptr);
    }
}

int MqttSession::Descriptor() const {
    return m_over ? -1 : mosquitto_socket(m_session.get());
}

bool MqttSession::WantsToWrite() const {
    return !m_over && mosquitto_want_write(m_session.get());
}

void MqttSession::Read() {
    if (!m_over) Look(mosquitto_loop_read(m_session.get(), kPacketsAtOnce));
    RethrowPending();
}

void MqttSession::Write() {
    if (!m_over) Look(mosquitto_loop_write(m_session.get(), kPacketsAtOnce));
}

void MqttSession::Keep() {
    if (!m_over) Look(mosquitto_loop_misc(m_session.get()));
}

// What a call into the library gave: the socket may be gone without a word.
void MqttSession::Look(int result) {
    if (m_over) return;
    const int error = errno;
    if (result == MOSQ_ERR_SUCCESS || result == MOSQ_ERR_CONN_PENDING) {
        if (mosquitto_socket(m_session.get()) < 0) EndWith(Ending::Network, "the connection has ended");
        return;
    }
    if (result == MOSQ_ERR_TLS || result == MOSQ_ERR_TLS_HANDSHAKE || !m_tlsProblem.empty()) {
        EndWith(Ending::Untrusted, m_tlsProblem.empty() ? "TLS failed" : m_tlsProblem);
    } else if (m_access.address.isSecure && !m_connected && IsHangUp(result, error)) {
        EndWith(Ending::Network,
                "it ended the connection before it let this client in; it may ask for another certificate: look at "
                "--cert and --key");
    } else if (result == MOSQ_ERR_ERRNO) {
        EndWith(Ending::Network, std::strerror(error));
    } else {
        EndWith(Ending::Network, mosquitto_strerror(result));
    }
}

void MqttSession::EndWith(Ending ending, const std::string& problem) {
    if (m_over) return;
    m_over = true;
    m_ending = ending;
    m_problem = problem;
}

std::string MqttSession::Problem() const {
    if (m_ending != Ending::Untrusted) return m_problem;
    return m_problem + "; look at --ca, --cert, the host in the address, and the clocks of both";
}

int MqttSession::Publish(const std::string& topic, std::string_view payload, bool isRetained) {
    int number = 0;
    if (m_over || payload.size() > INT_MAX) return 0;
    const int result = mosquitto_publish(m_session.get(), &number, topic.c_str(), static_cast<int>(payload.size()),
                                         payload.data(), kQos, isRetained);
    Look(result);
    return result == MOSQ_ERR_SUCCESS ? number : 0;
}

std::vector<int> MqttSession::TakeAcknowledged() {
    return std::exchange(m_acknowledged, {});
}

bool MqttSession::Subscribe(const std::string& filter) {
    if (m_over) return false;
    const int result = mosquitto_subscribe(m_session.get(), nullptr, filter.c_str(), kQos);
    Look(result);
    return result == MOSQ_ERR_SUCCESS;
}

void MqttSession::Disconnect() {
    if (!m_over) Look(mosquitto_disconnect(m_session.get()));
}

void MqttSession::OnConnect(int code) {
    m_connected = code == 0;
    if (!m_connected) EndWith(IsRefusal(code) ? Ending::Refused : Ending::Network, RefusalText(code));
}

// In the place of what is granted, version 3.1.1 says that nothing is.
void MqttSession::OnSubscribe(const std::vector<int>& granted) {
    constexpr int kFailure = 0x80;
    m_granted += granted.size();
    if (std::none_of(granted.begin(), granted.end(), [](int qos) { return qos >= kFailure; })) return;
    EndWith(Ending::Refused, "it does not let this client subscribe; look at the broker's rules");
}

void MqttSession::OnDisconnect(int code) {
    if (code == 0) {
        EndWith(Ending::Network, "it was ended");
    } else {
        Look(code);
    }
}

// Only of TLS the library says more than a number.
void MqttSession::OnLog(int level, const char* text) {
    if (level != MOSQ_LOG_ERR || !m_access.address.isSecure) return;
    const char* const reason = std::strstr(text, "::");
    if (m_tlsProblem.empty()) m_tlsProblem = reason == nullptr ? text : reason + 2;
}

void MqttSession::OnMessage(const ReceivedMessage& message) {
    if (!m_setup.receive || m_thrown) return;
    try {
        m_setup.receive(message);
    } catch (...) {
        m_thrown = std::current_exception();
    }
}

void MqttSession::RethrowPending() {
    if (m_thrown) std::rethrow_exception(std::exchange(m_thrown, nullptr));
}

}  // namespace qxlt
