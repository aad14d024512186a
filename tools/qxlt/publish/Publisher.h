// The thread that brings an outbox to the broker: a device has one.
#pragma once

#include <atomic>
#include <thread>

#include "Descriptor.h"
#include "Sender.h"

namespace qxlt {

class Publisher final {
public:
    // Starts the thread. `outbox` must outlive the publisher. Throws std::system_error.
    Publisher(Outbox& outbox, SenderSettings settings);
    Publisher(const Publisher&) = delete;
    Publisher& operator=(const Publisher&) = delete;
    // Ends it where it is, if it was not finished: the broker publishes the will.
    ~Publisher();

    // Something was taken into the outbox. Any thread may call it.
    void Wake() const;

    // Publishes what waits, for as long at most, and says that the run has ended. Returns when it is done.
    void Finish(double seconds);

private:
    void Run();
    bool Wait();

    Sender m_sender;  // the thread's
    const Descriptor m_wake;
    std::atomic<int> m_finishMs{-1};  // how long the end may take; below 0: it has not come
    std::atomic<bool> m_stop{false};
    std::thread m_thread;  // the last: it uses the others
};

}  // namespace qxlt
