// Counts the calls of a capture, all at once.
#pragma once

#include <algorithm>
#include <cstdint>
#include <map>
#include <string>

#include "CallFilter.h"
#include "Format.h"
#include "ICallWatcher.h"
#include "MethodInterval.h"
#include "MethodStatistics.h"
#include "Output.h"

namespace qxlt {

class MethodReport final : public ICallWatcher {
public:
    // `output` must outlive the report; it gets what was lost, in JSON.
    MethodReport(Format format, Output& output, const FilterPatterns& filter, const StatisticsChoice& statistics)
        : m_format(format), m_output(output), m_filter(filter), m_statistics(statistics) {}

    void OnDump(const DumpNews& news) override;
    void OnCall(const CallView& call) override;
    void OnPrimed(const CallView&) override {}
    void OnCycleEnd() override {}

    // All that was counted, and from the first call to the end of the last one. There is nothing more to come.
    MethodSpan Take();

    std::uint64_t Calls() const { return m_calls; }

    // How many calls were left out because they were made before the run.
    std::uint64_t History() const { return m_history; }

    // Warns of what was lost, for a person.
    void PrintLoss() const;

private:
    struct Loss {
        LossCounts counts;
        std::uint64_t bytesNotDecoded = 0;
    };

    const Format m_format;
    Output& m_output;
    const CallFilter m_filter;
    MethodStatistics m_statistics;
    std::map<std::string, Loss> m_losses;  // by process
    std::uint64_t m_calls = 0;
    std::uint64_t m_history = 0;
    std::uint64_t m_first = UINT64_MAX;  // when the first call began,
    std::uint64_t m_end = 0;             // and the last ended
};

}  // namespace qxlt
