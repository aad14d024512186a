#include "FleetReceiver.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <system_error>

#include "BrokerAddress.h"
#include "Descriptor.h"
#include "FleetAccount.h"
#include "FleetInbox.h"
#include "FleetLink.h"
#include "FleetPrinter.h"
#include "FleetTop.h"
#include "IFleetStore.h"
#include "Interruption.h"
#include "Messages.h"
#include "Output.h"
#include "Topics.h"

namespace qxlt {

namespace {

using Clock = Interruption::Clock;

constexpr std::chrono::seconds kTick{1};
constexpr std::chrono::seconds kLongestPause{30};  // between two tries to reach the broker
constexpr std::chrono::seconds kPatience{5};       // for a store that is away when all is over

// FNV-1a, in hex: the same for the same text on each machine.
std::string HashText(const std::string& text) {
    std::uint64_t hash = 0xCBF29CE484222325u;
    for (const char byte : text) hash = (hash ^ static_cast<unsigned char>(byte)) * 0x100000001B3u;
    constexpr char kDigits[] = "0123456789abcdef";
    std::string digits;
    for (int shift = 60; shift >= 0; shift -= 4) digits += kDigits[hash >> shift & 15];
    return digits;
}

std::string HostName() {
    std::array<char, 256> name{};
    gethostname(name.data(), name.size() - 1);
    return name.data();
}

bool IsPattern(const std::string& text) {
    return text.find_first_of("*?[\\") != std::string::npos;
}

// One device by its name is all that the broker is to send; patterns are not what a broker knows.
std::vector<std::string> TopicsOf(const std::string& prefix, const std::vector<std::string>& devices) {
    const bool isOne = devices.size() == 1 && !IsPattern(devices.front());
    const std::string device = prefix + "/" + (isOne ? TopicLevel(devices.front()) : "+");
    return {device + "/events/+", device + "/status"};
}

// What a broker keeps for a client goes by its name, and by what it once subscribed to: hence the topics.
std::string ClientOf(const FleetOptions& options, const std::vector<std::string>& topics) {
    if (!options.client.empty()) return options.client;
    if (options.IsLasting()) return "qxlt-fleet-" + HashText(HostName() + " " + topics.front());
    std::random_device random;
    return "qxlt-fleet-" + HashText(std::to_string(random()) + " " + std::to_string(random()));
}

FleetSubscription SubscriptionOf(const FleetOptions& options) {
    FleetSubscription subscription;
    subscription.address = ReadBrokerAddress(options.broker.address);
    subscription.options = options.broker;
    subscription.topics = TopicsOf(subscription.address.prefix, options.devices);
    subscription.client = ClientOf(options, subscription.topics);
    subscription.isLasting = options.IsLasting();
    return subscription;
}

FleetAccount::Bounds BoundsOf(const FleetOptions& options) {
    FleetAccount::Bounds bounds;
    bounds.grace = std::chrono::milliseconds(static_cast<std::int64_t>(options.graceSeconds * 1000));
    return bounds;
}

FleetAccount::Load LoadOf(IFleetStore* store) {
    if (store == nullptr) return nullptr;
    return [store](const std::string& device) { return store->Load(device); };
}

std::uint64_t WallNow() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::nanoseconds>(now).count());
}

std::unique_ptr<IFleetDisplay> DisplayOf(const FleetOptions& options, Format format, Output& output) {
    if (!options.top) return std::make_unique<FleetPrinter>(format, output);
    return std::make_unique<FleetTop>(format, output, options.everySeconds);
}

int OpenEpoll() {
    const int descriptor = epoll_create1(EPOLL_CLOEXEC);
    if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "epoll_create1");
    return descriptor;
}

// Says what is wrong once, however often it is met, until it is over.
class Trouble final {
public:
    void Tell(const std::string& text) {
        if (!m_isTold) PrintWarning(text + "; trying again");
        m_isTold = true;
    }
    void Over(const std::string& text) {
        if (m_isTold) PrintNote(text);
        m_isTold = false;
    }

private:
    bool m_isTold = false;
};

class Receiver final {
public:
    Receiver(const FleetOptions& options, Format format)
        : m_options(options),
          m_subscription(SubscriptionOf(options)),
          m_store(options.store.empty() ? nullptr : OpenFleetStore(options.store, m_subscription.client)),
          m_display(DisplayOf(options, format, m_output)),
          m_account(BoundsOf(options), LoadOf(m_store.get())),
          m_inbox(m_subscription.address.prefix, {options.devices, options.events}, m_account, m_store.get(),
                  *m_display),
          m_ready(OpenEpoll()) {}

    int Run() {
        m_output.OnEnd([this](ExitStatus status) {
            m_status = status;
            m_interruption.Request();
        });
        m_interruption.Watch(m_ready.Get(), [this] { OnReady(); });
        std::optional<Clock::time_point> end;
        if (m_options.seconds > 0) {
            end = Clock::now() + std::chrono::duration_cast<Clock::duration>(
                                     std::chrono::duration<double>(m_options.seconds));
        }
        do Tick();
        while (m_interruption.Wait(NextTick(end)) == Interruption::Cause::TimeOver && (!end || Clock::now() < *end));
        return End();
    }

private:
    Clock::time_point NextTick(std::optional<Clock::time_point> end) const {
        Clock::time_point next = Clock::now() + kTick;
        if (end) next = std::min(next, *end);
        if (const auto due = m_account.NextDue()) next = std::min(next, *due);
        return next;
    }

    // What the passing of time brings. A library of secure connections may hold messages that nothing tells of.
    void Tick() {
        if (m_link == nullptr && Clock::now() >= m_nextTry) Connect();
        if (m_link != nullptr) {
            m_link->Tick();
            Receive();
        } else {
            Settle();
        }
        m_display->Tick(Clock::now());
    }

    void Connect() {
        if (m_isHolding) return;
        m_link = std::make_unique<FleetLink>(m_subscription, [this](std::string_view topic, std::string_view payload) {
            m_inbox.Take(topic, payload);
        });
        m_pause = std::min<std::chrono::seconds>(std::max<std::chrono::seconds>(m_pause * 2, std::chrono::seconds(1)),
                                                 kLongestPause);
        m_nextTry = Clock::now() + m_pause;
        m_interest = 0;
        Watch();
    }

    // The descriptor leaves with the link that closes it.
    void Watch() {
        if (m_link == nullptr) return;
        if (m_link->IsLost() || m_link->Socket() < 0) return Drop();
        const std::uint32_t interest = EPOLLIN | (m_link->WantsWrite() ? std::uint32_t{EPOLLOUT} : 0u);
        if (interest == m_interest) return;
        epoll_event event{};
        event.events = interest;
        const int change = m_interest == 0 ? EPOLL_CTL_ADD : EPOLL_CTL_MOD;
        if (epoll_ctl(m_ready.Get(), change, m_link->Socket(), &event) != 0) return Drop();
        m_interest = interest;
    }

    void Drop() {
        const std::string why = m_link->Fault().empty() ? "the connection is lost" : m_link->Fault();
        const std::string text = BrokerText(m_subscription.address) + ": " + why;
        const bool isRefused = m_link->IsRefused() && !m_wasSubscribed;
        m_link.reset();
        if (isRefused) throw Failure(kCannotStart, text);
        m_broker.Tell(text);
    }

    void OnReady() {
        if (m_link == nullptr) return;
        m_link->Write();
        Receive();
    }

    // Answers are written after what they answer is kept; until then, nothing is.
    void Receive() {
        bool hasRead = true;
        while (hasRead && m_link != nullptr) {
            hasRead = false;
            while (!m_inbox.IsFull() && m_link->Read()) hasRead = true;
            if (m_link->IsSubscribed() && !m_wasSubscribed) TellConnected();
            Settle();
            if (m_link != nullptr) m_link->Write();
        }
        Watch();
    }

    void TellConnected() {
        m_wasSubscribed = true;
        m_pause = {};
        m_broker.Over(BrokerText(m_subscription.address) + ": connected again");
    }

    // The broker sends again what a broken connection leaves without an answer.
    void Settle() {
        try {
            m_inbox.Settle(Clock::now(), WallNow());
            m_isHolding = false;
            m_storage.Over("the store takes events again");
        } catch (const StoreAway& error) {
            m_isHolding = true;
            m_storage.Tell(error.what());
            m_link.reset();
            m_nextTry = Clock::now();
        }
    }

    int End() {
        const Clock::time_point limit = Clock::now() + kPatience;
        Settle();
        while (m_isHolding && Clock::now() < limit &&
               m_interruption.Wait(Clock::now() + kTick) == Interruption::Cause::TimeOver) {
            Settle();
        }
        if (m_link != nullptr) m_link->Leave();
        m_display->Finish(m_account, m_inbox.Refused());
        if (!m_isHolding) return m_status;
        PrintError("the last events are not stored; the broker keeps them for the client " + m_subscription.client);
        return kInputWrong;
    }

    const FleetOptions& m_options;
    const FleetSubscription m_subscription;
    Output m_output;
    const std::unique_ptr<IFleetStore> m_store;
    const std::unique_ptr<IFleetDisplay> m_display;
    FleetAccount m_account;
    FleetInbox m_inbox;
    Interruption m_interruption;
    const Descriptor m_ready;  // readable when the link has something to do
    std::unique_ptr<FleetLink> m_link;
    std::uint32_t m_interest = 0;  // what the link's descriptor is watched for
    Clock::time_point m_nextTry{};
    std::chrono::seconds m_pause{};
    bool m_wasSubscribed = false;
    bool m_isHolding = false;  // what the store did not take
    Trouble m_broker;
    Trouble m_storage;
    ExitStatus m_status = kDone;
};

}  // namespace

int ReceiveFleet(const FleetOptions& options, const CommonOptions& common) {
    return Receiver(options, common.format).Run();
}

}  // namespace qxlt
