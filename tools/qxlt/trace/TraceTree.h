// Prints the calls of each thread as a tree, as they are entered and left.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "CallFilter.h"
#include "Format.h"
#include "NestedRun.h"
#include "Output.h"

namespace qxlt {

// What is not shown is as if it had not been called: what it holds moves up to its place.
struct TraceChoice {
    FilterPatterns filter;
    std::uint64_t longerThan = 0;  // ns; calls without exit are shown only if it is 0
    std::size_t depth = SIZE_MAX;  // calls that are in that many others are left out
    bool isLive = false;           // a live run tells of losses itself, in JSON as lines of the same output
};

// In text a call that holds others has a line where it begins and one where it ends; each other call has one. Threads
// are mixed, in the order of time. In JSON each call has a line where it begins.
class TraceTree final : public INestedWriter {
public:
    // `output` must outlive the tree.
    TraceTree(Format format, Output& output, TraceChoice choice)
        : m_format(format), m_output(output), m_choice(std::move(choice)), m_filter(m_choice.filter) {}

    std::optional<Texts> Hold(const CallView& call) override;
    std::string Hold(const EventView&) override { return {}; }
    std::string Hold(const DumpNews& loss) override;
    void Enter(const NestedItem& item, const CallNesting::Place& place) override;
    void Leave(const NestedItem& item, const CallNesting::Place& place) override;

    // How many calls were printed.
    std::uint64_t Calls() const { return m_calls; }

private:
    bool IsOpened(const NestedItem& item, const CallNesting::Place& place) const;
    void PrintHeader();
    void Print(const NestedItem& item, std::uint64_t time, const std::string& duration, const std::string& text);

    const Format m_format;
    Output& m_output;
    const TraceChoice m_choice;
    const CallFilter m_filter;
    std::optional<std::uint64_t> m_first;  // when the first of all calls began
    std::size_t m_threadWidth = 20;        // the widest so far; most are shorter
    std::uint64_t m_calls = 0;
};

}  // namespace qxlt
