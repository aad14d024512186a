// Many devices in one process: qx_fleet_devices mqtt://HOST:PORT/PREFIX FOLDER FIRST COUNT simulates the devices from
// number FIRST on. Each has what `qxlt run --publish` has behind the tracker: an outbox, and what brings it to the
// broker over a connection of its own. They share one thread, which polls them all. Every device first publishes one
// event; when the broker has them all, it prints "connected". Then each line of its input, "take EVENTS RATE", has each
// device take so many events, at so many a second of all devices together, or, where that is 0, all in one cycle; it
// prints "taken" when they are in the outboxes. It ends with its input. The value of an event is the time at which it
// was taken, in microseconds since 1970. bench/fleet/run starts it.
#include <sys/epoll.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <iostream>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "BrokerAddress.h"
#include "CallViews.h"
#include "Descriptor.h"
#include "EventMessage.h"
#include "Outbox.h"
#include "QxFormat.h"
#include "Sender.h"
#include "Topics.h"

namespace {

using namespace qxlt;
using Clock = Sender::Clock;

constexpr std::uint32_t kLocation = 3;
constexpr char kBoot[] = "0123456789abcdef0123456789abcdef";
constexpr std::uint64_t kOutboxBytes = 4 * 1000 * 1000;
constexpr double kOutboxSeconds = 86400;
constexpr double kStatusSeconds = 30;
constexpr int kConnectsAtOnce = 200;  // while others have not been let in: a listener's queue is bounded

// The store keeps each byte one larger than it was traced.
std::string Stored(std::string bytes) {
    for (char& byte : bytes) ++byte;
    return bytes;
}

// The call behind each event: two integers and a text of 16 bytes going in, an integer coming out.
class TracedCall final {
public:
    TracedCall() {
        m_names.Add("bench", 7);
        m_names.Register(m_store);
        m_store.AppendCurrentProcess("bench");
        IQxData::_HSCallLocation location;
        location.locId = kLocation;
        location.callerName = "SetTitle";
        location.packageName = "bench";
        location.srcCodeFileRaw = "title.cpp";
        location.args.argType = {"int", "int", "string"};
        location.args.argFlags = {1, 1, 1};
        location.args.argSize = {4, 4, qxformat::kVariableLength};
        location.args.retType = "int";
        location.args.retSize = 4;
        m_store.AppendCallLocation(location);
        m_call.pid = 7;
        m_call.tid = 1;
        m_call.locId = kLocation;
        m_call.time = 1000000;
        m_call.exitTime = 1001000;
        m_call.args.in = {{{"", Stored("\1\2\3\4")}}, {{"", Stored("\4\3\2\1")}}, {{"", Stored("sixteen bytes ok")}}};
        m_call.args.ret = {{{"", Stored("\1\2\3\4")}}};
    }

    EventView View(std::uint64_t us) {
        m_views.SetStart(0, static_cast<std::int64_t>(us * 1000 - m_call.time));
        return {1, "TITLE", std::to_string(us), m_views.Of(5, m_call)};
    }

private:
    ProcessStore m_store;
    ProcessNames m_names;
    CallViews m_views{m_store, m_names};
    IQxData::HSCall m_call;
};

std::uint64_t NowUs() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::microseconds>(now).count());
}

std::string Hex16(std::uint64_t number) {
    char text[17];
    std::snprintf(text, sizeof text, "%016llx", static_cast<unsigned long long>(number));
    return text;
}

Sending SendingOf(std::size_t number) {
    return {"device-" + std::to_string(number), kBoot, Hex16(number)};
}

class Device final {
public:
    Device(const BrokerAccess& access, const std::string& folder, std::size_t number)
        : m_sending(SendingOf(number)),
          m_file(folder + "/" + m_sending.device + ".outbox"),
          m_outbox({m_file, kOutboxBytes, kOutboxSeconds, m_sending.boot + ":" + m_sending.run}),
          m_sender(m_outbox, {access, m_sending, kStatusSeconds, m_file, {}}) {}

    // As a cycle does in which so many events fire.
    void Take(TracedCall& call, std::uint64_t events) {
        std::vector<Outbox::Message> batch;
        const std::uint64_t first = m_outbox.Taken() + 1;
        while (batch.size() < events) {
            const EventView view = call.View(NowUs());
            batch.push_back(
                {EventTopic(m_sending.device, view.event), EventMessage(m_sending, first + batch.size(), view)});
        }
        const std::string problem = m_outbox.Take(batch);
        if (!problem.empty()) throw std::runtime_error(m_file + ": " + problem);
    }

    bool HasSentAll() const { return m_outbox.Count().waiting == 0; }
    Sender& Sends() { return m_sender; }

    int watched = -1;  // the descriptor that is polled for it, and for what
    std::uint32_t interest = 0;
    Clock::time_point due{};

private:
    const Sending m_sending;
    const std::string m_file;
    Outbox m_outbox;
    Sender m_sender;
};

// All devices, and when each has its next turn.
class Devices final {
public:
    Devices(const BrokerAccess& access, const std::string& folder, std::size_t first, std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            m_devices.push_back(std::make_unique<Device>(access, folder, first + i));
        }
        epoll_event input = {};
        input.events = EPOLLIN;
        input.data.u64 = kInput;
        epoll_ctl(m_poll.Get(), EPOLL_CTL_ADD, STDIN_FILENO, &input);
    }

    // Lets each publish one event, some of them at a time.
    void Connect() {
        std::deque<std::size_t> connecting;
        for (std::size_t next = 0; next < m_devices.size() || !connecting.empty();) {
            while (next < m_devices.size() && connecting.size() < kConnectsAtOnce) {
                m_devices[next]->Take(m_call, 1);
                Turn(next, false, false);
                connecting.push_back(next++);
            }
            Poll(Clock::now() + std::chrono::milliseconds(10));
            const auto sent = [this](std::size_t number) { return m_devices[number]->HasSentAll(); };
            connecting.erase(std::remove_if(connecting.begin(), connecting.end(), sent), connecting.end());
        }
    }

    void Take(std::uint64_t events, double rate) {
        if (rate <= 0) {
            for (std::size_t number = 0; number < m_devices.size(); ++number) TakeAt(number, events);
            return;
        }
        const Clock::time_point begin = Clock::now();
        for (std::uint64_t event = 0; event < events * m_devices.size(); ++event) {
            const std::chrono::duration<double> after(static_cast<double>(event) / rate);
            const Clock::time_point at = begin + std::chrono::duration_cast<Clock::duration>(after);
            while (Clock::now() < at) Poll(at);
            TakeAt(event % m_devices.size(), 1);
        }
    }

    // Until the input has something.
    void PollUntilInput() {
        while (!m_hasInput) Poll(Clock::now() + std::chrono::seconds(1));
        m_hasInput = false;
    }

private:
    static constexpr std::uint64_t kInput = UINT64_MAX;

    void TakeAt(std::size_t number, std::uint64_t events) {
        m_devices[number]->Take(m_call, events);
        Turn(number, false, false);
    }

    // Waits for what comes first, and gives those a turn that have something to do.
    void Poll(Clock::time_point limit) {
        if (!m_due.empty()) limit = std::min(limit, m_due.begin()->first);
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(limit - Clock::now()).count();
        epoll_event ready[256];
        const int count = epoll_wait(m_poll.Get(), ready, 256, static_cast<int>(std::max<std::int64_t>(0, left)));
        for (int i = 0; i < count; ++i) {
            const std::uint32_t events = ready[i].events;
            if (ready[i].data.u64 == kInput) {
                m_hasInput = true;
            } else {
                Turn(ready[i].data.u64, (events & (EPOLLIN | EPOLLERR | EPOLLHUP)) != 0, (events & EPOLLOUT) != 0);
            }
        }
        while (!m_due.empty() && m_due.begin()->first <= Clock::now()) Turn(m_due.begin()->second, false, false);
    }

    void Turn(std::size_t number, bool canRead, bool canWrite) {
        Device& device = *m_devices[number];
        m_due.erase({device.due, number});
        device.Sends().Turn(canRead, canWrite);
        device.due = device.Sends().Due();
        m_due.insert({device.due, number});
        Watch(device, number);
    }

    // A descriptor that was closed has left the poll by itself; the next one may have its number.
    void Watch(Device& device, std::size_t number) {
        const int descriptor = device.Sends().Descriptor();
        const std::uint32_t interest = EPOLLIN | (device.Sends().WantsToWrite() ? std::uint32_t{EPOLLOUT} : 0);
        if (descriptor == device.watched && interest == device.interest) return;
        device.watched = descriptor;
        device.interest = interest;
        if (descriptor < 0) return;
        epoll_event event = {};
        event.events = interest;
        event.data.u64 = number;
        if (epoll_ctl(m_poll.Get(), EPOLL_CTL_MOD, descriptor, &event) != 0) {
            epoll_ctl(m_poll.Get(), EPOLL_CTL_ADD, descriptor, &event);
        }
    }

    TracedCall m_call;
    const Descriptor m_poll{epoll_create1(EPOLL_CLOEXEC)};
    std::vector<std::unique_ptr<Device>> m_devices;
    std::set<std::pair<Clock::time_point, std::size_t>> m_due;
    bool m_hasInput = false;
};

void Say(const char* word) {
    std::puts(word);
    std::fflush(stdout);
}

void Serve(Devices& devices) {
    devices.Connect();
    Say("connected");
    for (;;) {
        devices.PollUntilInput();
        std::string word;
        std::uint64_t events = 0;
        double rate = 0;
        if (!(std::cin >> word >> events >> rate)) return;
        std::cin.ignore(1);
        devices.Take(events, rate);
        Say("taken");
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 5) return 2;
    try {
        BrokerAccess access;
        access.address = ReadBrokerAddress(argv[1]);
        Devices devices(access, argv[2], std::strtoul(argv[3], nullptr, 10), std::strtoul(argv[4], nullptr, 10));
        Serve(devices);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "qx_fleet_devices: %s\n", error.what());
        return 1;
    }
}
