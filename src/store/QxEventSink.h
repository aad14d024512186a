// Where the events of a trace pass go: into the store's event table, as long as there is room, and to the client.
#pragma once

#include <cstdint>
#include <string>

#include "IQxLogTracker.h"
#include "QxEventRoom.h"

class QxEventSink final {
public:
    // `callback` may be null; it gets `context` with every event.
    QxEventSink(IQxLogTracker::Callback callback, void* context) : m_callback(callback), m_context(context) {}

    // A pass begins, over calls of dumps of that many bytes.
    void BeginPass(std::uint64_t dumpBytes) { m_room.Begin(dumpBytes); }
    void EndPass() { m_room.End(); }

    // Stores an event that fired in the pass that is running, if there is room for it.
    void Keep(IQxData& store, const std::string& name, const std::string& value, const IQxData::HSCall& call);

    // Calls the client back. What the callback throws is printed and goes no further.
    void Send(const std::string& name, std::string value, IQxData::HSCall call);

    // An evaluation failed, and nothing was sent.
    void CountError() { ++m_errors; }

    // How many events were sent, and how many evaluations failed, since this was made.
    std::uint64_t Sent() const { return m_sent; }
    std::uint64_t Errors() const { return m_errors; }

private:
    IQxLogTracker::Callback m_callback;
    void* m_context;
    QxEventRoom m_room;
    std::uint64_t m_sent = 0;
    std::uint64_t m_errors = 0;
};
