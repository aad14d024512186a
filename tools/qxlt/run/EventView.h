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
#include "ShowOptions.h"
#include "UntoldTimes.h"

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

// What an event is, piece by piece: EVENT, VALUE, CYCLE, METHOD, PROCESS, PID and TIME, the time of day or, where that
// is not known, the number that was recorded.
LineFields EventFields(const EventView& view);

// Prints events, and counts them by name. One thread at a time.
class EventPrinter final {
public:
    // `output` must outlive the printer. `nameWidth` is that of the longest event name, for the columns of the text.
    EventPrinter(Format format, Output& output, std::size_t nameWidth, const ShowOptions& show = {});

    // Has these events counted from now on, those that never fire with 0, and room made for their names.
    void Expect(const std::vector<std::string>& events);

    // Counts the event, and returns whether it is one that is to be shown; and prints it.
    bool Takes(const EventView& view);
    void Print(const EventView& view);

    // Of all events, those that are not shown included.
    const std::map<std::string, std::uint64_t>& Counts() const { return m_counts; }

private:
    std::string TextOf(const EventView& view);
    void PrintHead(const EventView& view);

    const Format m_format;
    Output& m_output;
    const CallFilter m_filter;
    const TimeFormat m_time;
    const std::size_t m_width;  // of the terminal; 0: there is none
    LineLayout m_layout;
    UntoldTimes m_untold;
    bool m_headed = false;  // whether the words above the columns were printed
    std::map<std::string, std::uint64_t> m_counts;
};

}  // namespace qxlt
