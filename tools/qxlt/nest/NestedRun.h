// Shows the calls of a run nested, with its events and what was lost as marks between them.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "EventView.h"
#include "ICallWatcher.h"
#include "NestedCalls.h"

namespace qxlt {

// Who writes what is shown. What is kept of an item until its place is known is the writer's own matter.
class INestedWriter : public INestedSink {
public:
    struct Texts {
        std::string entry;
        std::string exit;
    };

    // What is to be written of a call; nothing: it is left out, as if it had not been made.
    virtual std::optional<Texts> Hold(const CallView& call) = 0;
    virtual std::string Hold(const EventView& event) = 0;
    virtual std::string Hold(const DumpNews& loss) = 0;
};

class NestedRun final : public ICallWatcher {
public:
    // `writer` must outlive the run.
    explicit NestedRun(INestedWriter& writer) : m_writer(writer), m_calls(writer) {}

    void OnDump(const DumpNews& news) override;
    void OnCall(const CallView& call) override;
    void OnPrimed(const CallView& call) override { Note(ItemOf(call)); }
    void OnCycleEnd() override;

    // For the events of the run, which come behind the calls of their cycle.
    void OnEvent(const EventView& event);

    // How many calls were left out because they were made before the run.
    std::uint64_t History() const { return m_history; }

    // The run is over: writes what was held back.
    void Finish();

private:
    // What is known of the processes of a name.
    struct Process {
        std::uint32_t pid = 0;     // of the one that made the last call
        std::uint64_t open = 0;    // calls that have not returned, and come later
        std::uint64_t newest = 0;  // when something of it happened last, before this cycle
        std::uint64_t newestNow = 0;
        std::uint64_t firstNow = UINT64_MAX;  // and the first of what this cycle has brought that is not before that
    };
    struct Loss {
        std::string process;
        std::string text;
    };

    static NestedItem ItemOf(const CallView& call);
    void Note(const NestedItem& item);
    void PlaceLosses();
    void Settle();

    INestedWriter& m_writer;
    NestedCalls m_calls;
    std::map<std::string, Process> m_processes;
    std::vector<Loss> m_losses;  // of this cycle
    std::uint64_t m_history = 0;
};

}  // namespace qxlt
