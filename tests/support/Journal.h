// What happened, in order, told by any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

class Journal final {
public:
    void Add(const std::string& entry) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_entries.push_back(entry);
        m_added.notify_all();
    }

    std::vector<std::string> All() const {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_entries;
    }

    // Waits for that many entries; false when they do not come.
    bool WaitFor(std::size_t count) const {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_added.wait_for(lock, std::chrono::seconds(20), [&] { return m_entries.size() >= count; });
    }

private:
    mutable std::mutex m_mutex;
    mutable std::condition_variable m_added;
    std::vector<std::string> m_entries;  // guarded by m_mutex
};
