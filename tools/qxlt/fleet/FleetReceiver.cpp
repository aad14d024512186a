#include "FleetReceiver.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <system_error>

#include "Backoff.h"
#include "BrokerAccess.h"
#include "Descriptor.h"
#include "Digest.h"
#include "FleetAccount.h"
#include "FleetInbox.h"
#include "FleetPrinter.h"
#include "FleetTop.h"
#include "IFleetStore.h"
#include "Interruption.h"
#include "Messages.h"
#include "MqttSession.h"
#include "Output.h"
#include "Topics.h"

namespace qxlt {

namespace {

using Clock = Interruption::Clock;

constexpr std::chrono::seconds kTick{1};
constexpr std::chrono::seconds kPatience{5};  // for a store that is away when all is over

// The same for the same text on each machine.
std::string HashText(const std::string& text) {
    Digest digest;
    digest.Add(text);
    return DigestText(digest.Value());
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
          m_access(ReadBrokerAccess(options.broker)),
          m_topics(TopicsOf(m_access.address.prefix, options.devices)),
          m_client(ClientOf(options, m_topics)),
          m_store(options.store.empty() ? nullptr : OpenFleetStore(options.store, m_client)),
          m_display(DisplayOf(options, format, m_output)),
          m_account(BoundsOf(options), LoadOf(m_store.get())),
          m_inbox(m_access.address.prefix, {options.devices, options.events}, m_account, m_store.get(), *m_display),
          m_ready(OpenEpoll()) {}

    int Run() {
        m_output.OnEnd([this](ExitStatus status) {
            m_status = status;
            m_hasReader = false;
            m_interruption.Request();
        });
        m_interruption.Watch(m_ready.Get(), [this] { OnReady(); });
        const std::optional<Clock::time_point> end = EndOf(m_options.seconds);
        do Tick();
        while (GoesOn(m_interruption.Wait(NextTick(end))) && (!end || Clock::now() < *end));
        return End();
    }

private:
    static std::optional<Clock::time_point> EndOf(double seconds) {
        if (seconds <= 0) return std::nullopt;
        return Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
    }

    // A request is also how what was read in part is gone on with.
    bool GoesOn(Interruption::Cause cause) const {
        return cause == Interruption::Cause::TimeOver || (cause == Interruption::Cause::Request && m_hasReader);
    }

    Clock::time_point NextTick(std::optional<Clock::time_point> end) const {
        Clock::time_point next = Clock::now() + kTick;
        if (end) next = std::min(next, *end);
        if (const auto due = m_account.NextDue()) next = std::min(next, *due);
        return next;
    }

    // What the passing of time brings. The library of secure connections may hold messages that no descriptor tells of.
    void Tick() {
        if (m_session == nullptr && !m_isHolding && Clock::now() >= m_nextTry) Connect();
        if (m_session != nullptr) {
            m_session->Keep();
            Receive();
        } else {
            Settle();
        }
        m_display->Tick(Clock::now());
    }

    void Connect() {
        MqttSession::Setup setup;
        setup.client = m_client;
        setup.forgets = !m_options.IsLasting();
        setup.holdsAnswers = true;
        setup.receive = [this](const ReceivedMessage& message) {
            ++m_taken;
            m_inbox.Take(message.topic, message.payload);
        };
        m_session = std::make_unique<MqttSession>(m_access, setup);
        m_isSubscribed = false;
        m_interest = 0;
    }

    // Has the descriptor watched for what the session waits for. It leaves with the session, which closes it.
    void Watch() {
        if (m_session == nullptr) return;
        if (m_session->IsOver()) return Drop();
        const std::uint32_t interest = EPOLLIN | (m_session->WantsToWrite() ? std::uint32_t{EPOLLOUT} : 0u);
        if (interest == m_interest) return;
        epoll_event event{};
        event.events = interest;
        const int change = m_interest == 0 ? EPOLL_CTL_ADD : EPOLL_CTL_MOD;
        if (epoll_ctl(m_ready.Get(), change, m_session->Descriptor(), &event) != 0) {
            throw std::system_error(errno, std::generic_category(), "epoll_ctl");
        }
        m_interest = interest;
    }

    // What was never so is a mistake of the user's; what was so once may be so again.
    void Drop() {
        const bool isRefused = m_session->HowEnded() != MqttSession::Ending::Network;
        const std::string text = BrokerText(m_access.address) + ": " + m_session->Problem();
        m_session.reset();
        if (isRefused && !m_wasConnected) throw Failure(kCannotStart, text);
        m_broker.Tell(text);
        const Backoff::Seconds pause = isRefused ? m_backoff.NextLong() : m_backoff.Next();
        m_nextTry = Clock::now() + std::chrono::duration_cast<Clock::duration>(pause);
    }

    void OnReady() {
        if (m_session == nullptr) return;
        m_session->Write();
        Receive();
    }

    // Whether there was something.
    bool Read() {
        const std::uint64_t before = m_taken;
        m_session->Read();
        if (m_session->IsConnected() && !m_isSubscribed) Subscribe();
        TellReceiving();
        return m_taken != before;
    }

    void Subscribe() {
        m_isSubscribed = m_wasConnected = true;
        for (const std::string& topic : m_topics) m_session->Subscribe(topic);
        m_backoff.Reset();
        m_broker.Over(BrokerText(m_access.address) + ": connected again");
    }

    // Once: from now on nothing is missed.
    void TellReceiving() {
        if (m_isReceiving || m_session->Granted() < m_topics.size() || m_session->IsOver()) return;
        m_isReceiving = true;
        PrintNote("receiving from " + BrokerText(m_access.address) +
                  (m_options.IsLasting() ? " as the client " + m_client : ""));
    }

    // Answers are written after what they answer is kept, and until then nothing is. Between two batches there is a
    // look at signals.
    void Receive() {
        bool hasRead = true;
        while (hasRead && !m_inbox.IsFull()) hasRead = Read();
        if (hasRead) m_interruption.Request();
        Settle();
        if (m_session != nullptr) m_session->Write();
        Watch();
    }

    // A session that ends without a word leaves all without an answer: the broker sends it again.
    void Settle() {
        try {
            m_inbox.Settle(Clock::now(), WallNow());
            m_isHolding = false;
            m_storage.Over("the store takes events again");
        } catch (const StoreAway& error) {
            m_isHolding = true;
            m_storage.Tell(error.what());
            m_session.reset();
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
        if (m_session != nullptr) {
            m_session->Disconnect();
            m_session->Write();
        }
        m_display->Finish(m_account, m_inbox.Refused());
        if (!m_isHolding) return m_status;
        PrintError("the last events are not stored; the broker keeps them for the client " + m_client);
        return kInputWrong;
    }

    const FleetOptions& m_options;
    const BrokerAccess m_access;
    const std::vector<std::string> m_topics;
    const std::string m_client;
    Output m_output;
    const std::unique_ptr<IFleetStore> m_store;
    const std::unique_ptr<IFleetDisplay> m_display;
    FleetAccount m_account;
    FleetInbox m_inbox;
    Interruption m_interruption;
    const Descriptor m_ready;  // can be read when the session's descriptor has something to do
    std::unique_ptr<MqttSession> m_session;
    std::uint32_t m_interest = 0;  // what that is watched for
    std::uint64_t m_taken = 0;     // messages
    bool m_isSubscribed = false;
    bool m_wasConnected = false;
    bool m_isReceiving = false;
    bool m_hasReader = true;
    bool m_isHolding = false;  // what the store did not take
    Backoff m_backoff{std::random_device()()};
    Clock::time_point m_nextTry{};
    Trouble m_broker;
    Trouble m_storage;
    ExitStatus m_status = kDone;
};

}  // namespace

int ReceiveFleet(const FleetOptions& options, const CommonOptions& common) {
    return Receiver(options, common.format).Run();
}

}  // namespace qxlt
