// When the next attempt comes after one that failed: later each time, and at random, since many devices lose the same
// broker at the same moment.
#pragma once

#include <chrono>
#include <cstdint>
#include <random>

namespace qxlt {

class Backoff final {
public:
    using Seconds = std::chrono::duration<double>;

    explicit Backoff(std::uint64_t seed) : m_random(seed) {}

    // How long to wait after one more failure: up to 2, 4, 8, ... 60 seconds.
    Seconds Next();

    // The same after one that only people can do something about: 30 to 60 seconds.
    Seconds NextLong();

    // The broker was reached, and it lasted.
    void Reset() { m_limit = kFirst; }

private:
    static constexpr double kFirst = 2;
    static constexpr double kMost = 60;
    static constexpr double kLeast = 0.1;

    std::mt19937_64 m_random;
    double m_limit = kFirst;  // of the next one
};

}  // namespace qxlt
