// Puts calls, and marks between them, into the order of their times and finds the place of each in its thread.
#pragma once

#include <cstdint>
#include <map>
#include <queue>
#include <string>
#include <tuple>
#include <vector>

#include "CallNesting.h"

namespace qxlt {

// A thread, by the process that it belongs to. What has happened to all of a process is of its thread 0, which no call
// is made in.
struct CallThread {
    std::string process;
    std::uint32_t pid = 0;
    std::uint16_t tid = 0;

    bool operator<(const CallThread& other) const {
        return std::tie(pid, tid, process) < std::tie(other.pid, other.tid, other.process);
    }
};

// What takes a place. Whoever writes it later has put into it what is to be written.
struct NestedItem {
    enum class Kind { Call, Event, Loss };

    Kind kind = Kind::Call;
    CallThread thread;
    std::string threadName;  // empty: not known
    CallTimes times;         // of a loss the exit is when the next call came, where one did; events have none
    std::string entry;       // what stands at its beginning,
    std::string exit;        // and at its end
};

// Takes items in the order of their times, and the ends of calls among them.
class INestedSink {
public:
    virtual ~INestedSink() = default;

    // An item, with the place of a call within its thread.
    virtual void Enter(const NestedItem& item, const CallNesting::Place& place) = 0;

    // The end of a call that has an exit: inner ones before the one that they are in, and before what begins then.
    virtual void Leave(const NestedItem& item, const CallNesting::Place& place) = 0;
};

// A dump brings calls once they have returned: the calls that were made within one come in earlier dumps than it. So
// each item is held back until nothing that began before it can come any more.
class NestedCalls final {
public:
    // `sink` must outlive this.
    explicit NestedCalls(INestedSink& sink) : m_sink(sink) {}

    void Add(NestedItem item);

    // Hands on what began before that time: nothing that comes later did. What does come later than that all the same
    // stands by itself.
    void Settle(std::uint64_t time);

    // Hands on the rest.
    void Finish();

    // When the last of all items began or ended.
    std::uint64_t Newest() const { return m_newest; }

private:
    // A call that has been entered.
    struct Open {
        CallNesting::Place place;
        NestedItem item;

        // For a queue whose top ends first.
        bool operator<(const Open& other) const {
            return place.end != other.place.end ? place.end > other.place.end : place.depth < other.place.depth;
        }
    };
    using Items = std::vector<NestedItem>;

    void HandOn(Items::iterator end, std::uint64_t time);
    std::vector<CallNesting::Place> PlacesOf(Items::iterator end, std::uint64_t time);
    void LeaveUntil(std::uint64_t time);

    INestedSink& m_sink;
    Items m_held;
    std::map<CallThread, CallNesting> m_threads;
    std::priority_queue<Open> m_open;
    std::uint64_t m_newest = 0;
};

}  // namespace qxlt
