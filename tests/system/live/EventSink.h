// What a client's callback received, to be waited for from the test's thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "IQxLogTracker.h"

// An event of qx_traced's Count or Try, taken apart.
struct CountEvent {
    std::string name;
    std::string value;
    unsigned pid;
    std::uint32_t thread;
    std::uint32_t n;
    std::string text;
    bool returned;
    std::uint32_t result;
};

class EventSink final {
public:
    // The callback; its context is the sink.
    static int OnEvent(std::string name, std::string value, IQxData::HSCall call, void* sink);

    std::vector<CountEvent> Events() const;
    std::size_t Count() const { return Events().size(); }

    // Waits until the events satisfy the condition; false after 30 s.
    bool WaitFor(const std::function<bool(const std::vector<CountEvent>&)>& condition);
    bool WaitForCount(std::size_t count);

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::vector<CountEvent> m_events;  // guarded by m_mutex
};
