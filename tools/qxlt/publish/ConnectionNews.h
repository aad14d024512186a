// Tells people whether the broker has what is published: on a change, and not more often than they can read.
#pragma once

#include <chrono>
#include <optional>
#include <string>

namespace qxlt {

class ConnectionNews final {
public:
    using Clock = std::chrono::steady_clock;

    // What is told is about that broker, and that outbox.
    ConnectionNews(std::string broker, std::string outbox) : m_broker(std::move(broker)), m_outbox(std::move(outbox)) {}

    // The connection stands, or why it does not.
    void Connected(Clock::time_point now) { Look(std::string(), now); }
    void Failed(const std::string& problem, Clock::time_point now) { Look(problem, now); }

private:
    static constexpr int kAtOnce = 6;  // changes; after that one a minute
    static constexpr std::chrono::seconds kForOne{60};

    void Look(const std::string& problem, Clock::time_point now);
    bool MayTell(Clock::time_point now);
    void Tell() const;

    const std::string m_broker;
    const std::string m_outbox;
    std::optional<std::string> m_told;  // the problem; empty: there was none
    std::string m_problem;
    Clock::time_point m_earned{};  // when the changes that may be told were counted last
    int m_left = kAtOnce;
};

}  // namespace qxlt
