// Shows which events fire how often, by device.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Format.h"
#include "IFleetDisplay.h"
#include "Output.h"

namespace qxlt {

class FleetTop final : public IFleetDisplay {
public:
    // `output` must outlive the display.
    FleetTop(Format format, Output& output, double seconds);

    void Show(const FleetEvent& event) override;
    void Show(const FleetNews& news) override;
    void Tick(Time now) override;
    void Finish(const FleetAccount& account, const RefusedMessages& refused) override;

private:
    static constexpr std::size_t kMostRows = 65536;  // beyond, events are counted together

    using Name = std::pair<std::string, std::string>;  // of the device and of the event
    struct Row {
        std::uint64_t fresh = 0;  // in this interval
        std::uint64_t all = 0;
        std::string value;                  // the last one
        std::optional<std::uint64_t> time;  // of that
    };

    void EndInterval(double seconds);
    std::vector<const std::pair<const Name, Row>*> Sorted() const;
    std::vector<std::string> TableText(double seconds) const;
    void PrintTable(double seconds);
    void PrintJson(double seconds);

    const Format m_format;
    Output& m_output;
    const std::chrono::steady_clock::duration m_every;
    const std::string m_clear;  // what clears the terminal; empty: tables stand one below the other
    std::map<Name, Row> m_rows;
    std::optional<Time> m_begin;  // of the interval
    bool m_isNew = false;         // something has come in it
};

}  // namespace qxlt
