// A thread that makes one call after the other at an even rate until it is stopped.
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

class Worker {
public:
    // Makes call 0, 1, 2, ... at `callsPerSecond`, or without pause when that is 0. The thread carries the name, in the
    // system and in the trace.
    Worker(const std::string& name, double callsPerSecond, std::function<void(unsigned long)> makeCall);
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;

    // Ends and joins the thread.
    ~Worker();

private:
    void Run(const std::string& name, double callsPerSecond);
    bool WaitUntil(std::chrono::steady_clock::time_point due);

    const std::function<void(unsigned long)> m_makeCall;
    std::mutex m_mutex;
    std::condition_variable m_stopped;
    bool m_stop = false;  // guarded by m_mutex
    std::thread m_thread;
};
