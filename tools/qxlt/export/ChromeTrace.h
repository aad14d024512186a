// Writes calls in the trace event format of Chrome: one JSON object, an event of it on each line, as they come.
#pragma once

#include <functional>
#include <set>
#include <string>
#include <utility>

#include "NestedRun.h"

namespace qxlt {

// A call is a complete event ("X"), one without exit an instant ("i"), and so are the events of scenarios and what was
// lost. Values are named as conditions name them ("in.0", "ret"), and are numbers and texts where their types tell.
class ChromeTrace final : public INestedWriter {
public:
    // Takes the text line by line, without line ends.
    using LineSink = std::function<void(const std::string& line)>;

    // Begins the text.
    explicit ChromeTrace(LineSink sink);

    // Ends it, once all was written.
    void Finish();

    std::optional<Texts> Hold(const CallView& call) override;
    std::string Hold(const EventView& event) override;
    std::string Hold(const DumpNews& loss) override;
    void Enter(const NestedItem& item, const CallNesting::Place& place) override;
    void Leave(const NestedItem&, const CallNesting::Place&) override {}

private:
    void Name(const CallThread& thread, const std::string& threadName);
    void WriteName(const char* what, const CallThread& thread, const std::string& name);
    void WriteEvent(const std::string& event);

    const LineSink m_sink;
    std::set<std::pair<std::uint32_t, std::string>> m_processes;  // that are named
    std::set<CallThread> m_threads;
    bool m_first = true;
};

}  // namespace qxlt
