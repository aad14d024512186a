// A fired event as it is printed.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "CallView.h"
#include "Format.h"
#include "Output.h"

namespace qxlt {

struct EventView {
    std::uint64_t cycle;  // counted from 1
    std::string event;
    std::string value;
    CallView call;
};

// Takes the events of a run, in order.
using EventSink = std::function<void(const EventView&)>;

std::string EventJson(const EventView& view);

// Prints events, and counts them by name. One thread at a time.
class EventPrinter final {
public:
    // `output` must outlive the printer. `nameWidth` is that of the longest event name, for the columns of the text.
    EventPrinter(Format format, Output& output, std::size_t nameWidth)
        : m_format(format), m_output(output), m_nameWidth(nameWidth) {}

    // Has these events counted from the beginning: those that never fire with 0.
    void Expect(const std::vector<std::string>& events);

    void Print(const EventView& view);

    const std::map<std::string, std::uint64_t>& Counts() const { return m_counts; }

private:
    std::string TextLine(const EventView& view) const;

    const Format m_format;
    Output& m_output;
    const std::size_t m_nameWidth;
    std::map<std::string, std::uint64_t> m_counts;
};

}  // namespace qxlt
