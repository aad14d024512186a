// Writes calls as a CTF 1.8 trace: a directory with the description of its events and their binary streams.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "CtfMetadata.h"
#include "CtfStreams.h"
#include "NestedRun.h"

namespace qxlt {

// A call is an event at its entry and one at its exit; one without exit, an event of its own kind. The events of
// scenarios and what was lost have theirs, too. All have the process and the thread in their context.
class CtfTrace final : public INestedWriter {
public:
    // Makes the directory, which must be empty if it is there, and writes the description of the events. Throws a
    // Failure (cannot start).
    CtfTrace(const std::string& directory, ClockOffset clock);

    // Writes what is not written yet. Throws a Failure (input wrong) when something could not be written.
    void Finish() { m_streams.Finish(); }

    // How many items were left out because their time cannot be said.
    std::uint64_t Unfit() const { return m_unfit; }

    std::optional<Texts> Hold(const CallView& call) override;
    std::string Hold(const EventView& event) override;
    std::string Hold(const DumpNews& loss) override;
    void Enter(const NestedItem& item, const CallNesting::Place& place) override;
    void Leave(const NestedItem& item, const CallNesting::Place& place) override;

private:
    void Add(CtfEvent event, std::uint64_t time, const std::string& body);

    CtfStreams m_streams;
    const std::uint64_t m_lastTime;  // that readers can count
    std::uint64_t m_unfit = 0;
};

}  // namespace qxlt
