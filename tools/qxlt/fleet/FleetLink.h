// One connection of a receiver to its broker. Messages that were read are answered by Write only: whoever keeps them
// first loses none of them, since the broker sends again what was not answered.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "BrokerAddress.h"
#include "BrokerOptions.h"

struct mosquitto;

namespace qxlt {

struct FleetSubscription {
    BrokerAddress address;
    BrokerOptions options;
    std::string client;
    bool isLasting;                   // the broker keeps what comes while this client is away
    std::vector<std::string> topics;  // with wildcards
};

// One thread; nothing waits but for the host's address.
class FleetLink final {
public:
    using Take = std::function<void(std::string_view topic, std::string_view payload)>;

    // Begins to connect. `take` gets the messages, from within Read. Throws a Failure (cannot start) for options that
    // cannot be used.
    FleetLink(const FleetSubscription& subscription, Take take);
    FleetLink(const FleetLink&) = delete;
    FleetLink& operator=(const FleetLink&) = delete;
    // Breaks the connection: what was not answered is not answered.
    ~FleetLink();

    // Below 0: there is none.
    int Socket() const;
    bool WantsWrite() const;

    // Reads what has come; whether there was something. Write sends answers and all else that is to be sent. Tick is to
    // be called each second or so. After each of them the link may be lost.
    bool Read();
    void Write();
    void Tick();

    bool IsLost() const { return m_isLost; }
    bool IsSubscribed() const { return m_isSubscribed; }

    // Why it is lost, and whether to try again would be no use.
    const std::string& Fault() const { return m_fault; }
    bool IsRefused() const { return m_isRefused; }

    // Says goodbye, after Write has sent all answers.
    void Leave();

private:
    struct Deleter {
        void operator()(mosquitto* client) const;
    };

    void SetUp(const FleetSubscription& subscription);
    void Check(int code);
    void Lose(const std::string& fault, bool isRefused);
    void OnConnected(int code);
    void OnSubscribed(const std::vector<int>& granted);
    void OnMessage(std::string_view topic, std::string_view payload);

    const std::vector<std::string> m_topics;
    const Take m_take;
    std::unique_ptr<mosquitto, Deleter> m_client;
    std::string m_fault;
    bool m_isLost = false;
    bool m_isRefused = false;
    bool m_isSubscribed = false;
    bool m_hasRead = false;  // something, in this call of Read
};

}  // namespace qxlt
