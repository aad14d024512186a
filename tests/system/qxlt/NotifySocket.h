// What a service manager listens on, in small.
#pragma once

#include <chrono>
#include <string>
#include <vector>

class NotifySocket final {
public:
    // `address` is a path, or a name of the abstract kind behind an @. Throws std::runtime_error.
    explicit NotifySocket(std::string address);
    NotifySocket(const NotifySocket&) = delete;
    NotifySocket& operator=(const NotifySocket&) = delete;
    ~NotifySocket();

    const std::string& Address() const { return m_address; }

    // Takes what is told until some of it holds the text, and returns that; empty when none comes for a minute.
    std::string WaitFor(const std::string& text);

    // Takes what is told until nothing comes for that long. False when something still comes after half a minute.
    bool FallsSilent(std::chrono::milliseconds time);

    // All that was taken so far, in order.
    const std::vector<std::string>& Told() const { return m_told; }

    // Takes what is there already.
    void Take();

private:
    bool Receive(std::chrono::milliseconds limit);

    const std::string m_address;
    int m_socket = -1;
    std::vector<std::string> m_told;
};
