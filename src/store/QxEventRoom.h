// What the events of one pass over the calls may keep in the store. Each event keeps a copy of its call, and a call may
// be large: events beyond are raised all the same, and counted.
#pragma once

#include <cstdint>

class QxEventRoom final {
public:
    // Outside any pass there is room for all.
    QxEventRoom() = default;
    QxEventRoom(const QxEventRoom&) = delete;
    QxEventRoom& operator=(const QxEventRoom&) = delete;
    ~QxEventRoom() { End(); }

    // A pass begins, over calls of dumps of that many bytes.
    void Begin(std::uint64_t dumpBytes);

    // The pass ends: prints how many events were not kept, if any.
    void End();

    // Takes the room for an event; false when there is not as much left.
    bool TryTake(std::uint64_t cost);

private:
    std::uint64_t m_left = UINT64_MAX;
    std::uint64_t m_notKept = 0;
};
