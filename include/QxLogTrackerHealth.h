// How a tracker is doing, in numbers: for a client that is watched itself, and for what tells an operator that tracking
// works, keeps up and loses nothing.
//
//     QxHealth health;
//     if (QxHealthOf(*tracker, health)) std::printf("%llu calls\n", static_cast<unsigned long long>(health.calls));
//
// The numbers are those of whole cycles, each set taken at the end of one. They begin with the tracker and go on over
// Stop, Clear and another Run.
//
// The functions take a tracker that IQxLogTracker::Instance gave. Any thread may call those that ask, at any time, the
// callback included; they wait for nothing that takes longer than copying numbers. The tracker must not be destroyed
// meanwhile.
#pragma once

#include <cstddef>
#include <cstdint>

#include "IQxLogTracker.h"

// A later release may append members; those that are there keep their places.
struct QxHealth {
    std::uint64_t cycles;           // that have ended, those that prime included
    std::uint64_t dumps;            // that were fetched and not empty
    std::uint64_t dumpBytes;        // of these
    std::uint64_t dumpsDamaged;     // of these, not decoded to their end
    std::uint64_t bytesNotDecoded;  // of these; more than 0 without damage, too: a stream may be cut at a dump's end
    std::uint64_t calls;            // that were decoded
    std::uint64_t eventsFired;      // each is one call of the callback
    std::uint64_t eventsInError;    // evaluations that failed
    std::uint64_t lastCycleNs;      // how long a cycle takes, with the pause after each dump,
    std::uint64_t longestCycleNs;
    std::uint64_t cyclesNs;    // and all of them took
    std::uint64_t lastWorkNs;  // the same without fetching dumps and its pauses: decoding, evaluating, calling back
    std::uint64_t longestWorkNs;
    std::uint64_t worksNs;
    std::uint64_t longestCallbackNs;  // once events are counted, see below; 0 before
    std::uint64_t callbacksNs;
    std::uint64_t storeBytes;  // about what the store keeps between cycles: call sites, layouts, threads, spare calls
};

// Fills `out` and returns 1; returns 0, and fills it with zeros, for a tracker of another making. `size` stays as it
// is: it tells the library which members the caller knows.
QX_EXPORT int QxHealthOf(const IQxLogTracker& tracker, QxHealth& out,
                         std::uint32_t size = static_cast<std::uint32_t>(sizeof(QxHealth)));

// One event of the scenarios, as far as it has been evaluated. The texts are not terminated; they hold any bytes.
struct QxEventHealth {
    const char* name;
    std::size_t nameSize;
    std::uint64_t seen;     // evaluations: calls of a method that the event belongs to
    std::uint64_t matched;  // of these, with a value that the event asks for, be it that of before
    std::uint64_t fired;
    std::uint64_t errors;         // evaluations that failed
    const char* lastValue;        // of the one that fired last, its first 256 bytes
    std::size_t lastValueSize;    // 0: none has fired, or its value was empty
    unsigned long long lastTime;  // the time of its call; 0: none has fired
};

// From the next Run on, counts what becomes of each event, by name, and how long the callback takes. That costs some
// instructions for each evaluation and two looks at the clock for each event, and so is not done unasked. To be called
// while the tracker does not run. Returns 1, or 0 for a tracker of another making.
QX_EXPORT int QxCountEvents(IQxLogTracker& tracker);

// What takes the events one by one, in the order of their names. `event` and its texts are valid for the call. Nothing
// may be thrown.
typedef void (*QxEventHealthSink)(const QxEventHealth* event, void* context);

// Hands each event that was evaluated to `sink` and returns 1; returns 0, and hands nothing over, for a tracker of
// another making and for one whose events are not counted.
QX_EXPORT int QxEventHealthOf(const IQxLogTracker& tracker, QxEventHealthSink sink, void* context);
