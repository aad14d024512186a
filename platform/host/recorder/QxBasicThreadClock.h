// The time of recordings for one thread, from a counter where that is cheaper than asking the system.
//
// Reading a processor's counter takes half of what the system's clock takes, which is most of what recording a call
// does. Its ticks become nanoseconds of the system's clock by its last reading of both and the rate between them. That
// is good for a millisecond: then both are read again, so that the system's clock is followed wherever it is slewed to.
// A counter that does not do as it did is left alone until its rate is known anew.
#pragma once

#include <algorithm>
#include <cstdint>

namespace qxhost {

// Both clocks come from Source, so that tests can turn them:
//
//     static std::uint64_t Counter();   // ticks
//     static std::uint64_t System();    // nanoseconds
template <class Source>
class QxBasicThreadClock {
public:
    explicit QxBasicThreadClock(bool isCounterTrusted) : m_isCounterTrusted(isCounterTrusted) {}

    // Nanoseconds of the system's clock. Those of two calls may go back by what the clock was slewed in a millisecond.
    std::uint64_t Now() {
        if (m_span != 0) {
            const std::uint64_t ticks = Source::Counter() - m_last.counter;
            if (ticks < m_span) return m_last.time + (ticks * m_rate >> kRateShift);
        }
        return m_isCounterTrusted ? Renew() : Source::System();
    }

private:
    // Both clocks at one moment, and how many ticks passed while they were read.
    struct Reading {
        std::uint64_t counter = 0;
        std::uint64_t time = 0;
        std::uint64_t width = 0;
    };

    static constexpr unsigned kRateShift = 32;
    static constexpr std::uint64_t kSpanNs = 1000000;            // how long a reading is good for
    static constexpr std::uint64_t kMinBaselineNs = 1000000;     // a rate is taken over at least so long,
    static constexpr std::uint64_t kBaselineNs = 500000000;      // soon over so long,
    static constexpr std::uint64_t kMaxBaselineNs = 4000000000;  // and never longer: shifted, it fits into 64 bits
    static constexpr std::uint64_t kMinWidth = 4;                // where a tick takes long
    static constexpr int kMaxTries = 3;

    static Reading ReadOnce() {
        Reading reading;
        const std::uint64_t before = Source::Counter();
        reading.time = Source::System();
        reading.width = Source::Counter() - before;
        reading.counter = before + reading.width / 2;
        return reading;
    }

    // The narrowest of some: a thread that is interrupted in between reads two moments.
    Reading Read() {
        Reading best = ReadOnce();
        for (int tries = 1; tries < kMaxTries && best.width > m_width + m_width / 2; ++tries) {
            const Reading again = ReadOnce();
            if (again.width <= best.width) best = again;
        }
        return best;
    }

    // Reads both clocks, for the time now and for the ticks that follow.
    __attribute__((noinline)) std::uint64_t Renew() {
        m_span = 0;
        const Reading now = Read();
        const bool isNarrow = now.width <= 4 * m_width;
        // Where all readings become wider, since the processor runs slower, that is soon enough.
        m_width = isNarrow ? std::max(now.width, kMinWidth) : 2 * m_width;
        if (!isNarrow) return now.time;
        const std::uint64_t time = now.time - m_anchor.time;
        if (now.counter <= m_anchor.counter || time > kMaxBaselineNs) {
            Restart(now);
        } else if (time >= kMinBaselineNs) {
            TakeRate((time << kRateShift) / (now.counter - m_anchor.counter), now);
        }
        return now.time;
    }

    void Restart(const Reading& now) {
        m_anchor = m_middle = now;
        m_rate = 0;
    }

    void TakeRate(std::uint64_t rate, const Reading& now) {
        const std::uint64_t change = std::max(rate, m_rate) - std::min(rate, m_rate);
        // A system's clock is slewed by half a thousandth.
        if (rate == 0 || (m_rate != 0 && change > m_rate / 1000)) {
            Restart(now);
            return;
        }
        m_rate = rate;
        m_last = now;
        m_span = (kSpanNs << kRateShift) / rate;
        if (now.time - m_middle.time < kBaselineNs) return;
        m_anchor = m_middle;
        m_middle = now;
    }

    const bool m_isCounterTrusted;
    std::uint64_t m_span = 0;  // ticks that the last reading is good for, 0: it is not
    std::uint64_t m_rate = 0;  // nanoseconds of a tick, shifted; 0: not known
    Reading m_last;
    Reading m_anchor;                   // where the rate is taken from; at the start, long ago
    Reading m_middle;                   // the next anchor
    std::uint64_t m_width = kMinWidth;  // of a narrow reading
};

}  // namespace qxhost
