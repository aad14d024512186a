// What a part of a run tells of itself in the run's health.
#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace qxlt {

struct HealthFigure {
    std::string key;     // in JSON: "heldBack"
    std::string metric;  // as a metric: "qxlt_events_held_back_total"; one that ends in _total only ever grows
    std::string help;    // what it is, in a few words, the same for all figures of the metric
    std::variant<std::uint64_t, std::string> value;  // a text is a label of the metric, whose value is then 1
    std::string event = "";                          // whose figure it is; empty: that of the whole run
};

}  // namespace qxlt
