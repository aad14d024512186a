// Prints events of devices line by line, what is missing, and the account at the end.
#pragma once

#include <cstddef>
#include <string>

#include "Format.h"
#include "IFleetDisplay.h"
#include "Output.h"

namespace qxlt {

class FleetPrinter final : public IFleetDisplay {
public:
    // `output` must outlive the printer.
    FleetPrinter(Format format, Output& output);

    void Show(const FleetEvent& event) override;
    void Show(const FleetNews& news) override;
    void Finish(const FleetAccount& account, const RefusedMessages& refused) override;

private:
    void PrintText(const FleetEvent& event);

    const Format m_format;
    Output& m_output;
    const std::size_t m_width;  // of the terminal; 0: there is none
    std::size_t m_deviceWidth = 8;
    std::size_t m_eventWidth = 8;
    std::size_t m_valueWidth = 8;
};

// The same news as JSON, and for a person.
std::string NewsJson(const FleetNews& news);
void TellNews(const FleetNews& news);

// Tells the account of all devices: of many, those that lack something.
void TellAccount(const FleetAccount& account, const RefusedMessages& refused);
void PrintAccountJson(Output& output, const FleetAccount& account, const RefusedMessages& refused);

// "2026-03-01T12:30:00.123Z", or "-".
std::string ShortTime(const std::optional<std::uint64_t>& time);

}  // namespace qxlt
