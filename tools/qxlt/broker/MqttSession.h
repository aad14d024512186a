// One connection to a broker, from its beginning to its end. It starts no thread and never waits, but for the name
// server: whoever owns it polls its descriptor, and calls it when there is something to do. What a broker sends is
// input.
#pragma once

#include <cstddef>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "BrokerAccess.h"

struct mosquitto;

namespace qxlt {

// A message that the broker sent; the views are valid for the call.
struct ReceivedMessage {
    std::string_view topic;
    std::string_view payload;
    bool isRetained;
};

class MqttSession final {
public:
    enum class Ending {
        Network,    // the broker cannot be reached, or has gone
        Refused,    // it does not let us in
        Untrusted,  // one of the two does not trust the other's certificate
    };

    struct Setup {
        std::string client;            // the name that no other connection to the broker has
        bool forgets = true;           // the broker keeps nothing for us once the connection is over
        bool holdsAnswers = false;     // what is to be written waits for Write, answers to messages among it
        std::string willTopic = {};    // what the broker publishes for us, retained, if the connection breaks off;
        std::string willPayload = {};  // without a topic nothing
        int keepAliveSeconds = 60;
        std::function<void(const ReceivedMessage&)> receive = {};  // called from within Read
    };

    // Begins the connection. `access` must outlive the session.
    MqttSession(const BrokerAccess& access, Setup setup);
    MqttSession(const MqttSession&) = delete;
    MqttSession& operator=(const MqttSession&) = delete;
    // Ends it without a word: the broker publishes the will.
    ~MqttSession();

    // To be polled for reading, and for writing if the session wants that; below 0: none.
    int Descriptor() const;
    bool WantsToWrite() const;

    // Read when the descriptor can be read, Write when it can be written, and Keep after each and every few seconds.
    // Throw what `receive` threw.
    void Read();
    void Write();
    void Keep();

    // The broker has let us in; it is over, for whatever reason.
    bool IsConnected() const { return m_connected && !m_over; }
    bool IsOver() const { return m_over; }

    // Why, and as a sentence for people. Requires: IsOver.
    Ending HowEnded() const { return m_ending; }
    std::string Problem() const;

    // Hands a message to the connection, with QoS 1. Returns a number for it, or 0: it could not be taken. Requires:
    // IsConnected.
    int Publish(const std::string& topic, std::string_view payload, bool isRetained);

    // The numbers of those that the broker has taken over since the last call.
    std::vector<int> TakeAcknowledged();

    // With QoS 1. Returns whether the broker was asked; one that does not grant it ends the connection. Requires:
    // IsConnected.
    bool Subscribe(const std::string& filter);

    // How many of these the broker has granted.
    std::size_t Granted() const { return m_granted; }

    // Takes the connection for lost.
    void GiveUp(const std::string& problem) { EndWith(Ending::Network, problem); }

    // Ends the connection orderly: the broker publishes no will. It is over once all was written.
    void Disconnect();

private:
    struct End {
        void operator()(mosquitto* session) const;
    };

    void Secure();
    void Begin();
    void Look(int result);
    void EndWith(Ending ending, const std::string& problem);
    void RethrowPending();

    void OnConnect(int code);
    void OnSubscribe(const std::vector<int>& granted);
    void OnDisconnect(int code);
    void OnMessage(const ReceivedMessage& message);
    void OnLog(int level, const char* text);

    const BrokerAccess& m_access;
    const Setup m_setup;
    bool m_connected = false;
    bool m_over = false;
    Ending m_ending = Ending::Network;
    std::string m_problem;
    std::string m_tlsProblem;  // what the library said of it last
    std::vector<int> m_acknowledged;
    std::size_t m_granted = 0;
    std::exception_ptr m_thrown;                // by `receive`: nothing is thrown through the library
    std::unique_ptr<mosquitto, End> m_session;  // the last: it ends first
};

}  // namespace qxlt
