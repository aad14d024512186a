// The account of a run: what was recorded, delivered and lost, process by process.
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "Format.h"
#include "IQxEventObserver.h"
#include "LossCounts.h"
#include "Output.h"
#include "ProcessNames.h"
#include "TimeSpans.h"

namespace qxlt {

// In text, losses are warnings and the table stands on standard error, since neither is an event; in JSON both are
// lines of the output. One thread at a time.
class RunAccount final : public IQxEventObserver {
public:
    using Clock = std::chrono::steady_clock;

    struct Row {
        LossCounts counts;  // with the history
        std::uint64_t history = 0;
        std::uint64_t bytesNotDecoded = 0;
        std::uint64_t eventsInError = 0;
        Clock::duration longestCallback{0};
    };

    // What is handed over must outlive the account.
    RunAccount(Format format, Output& output, const ProcessNames& processes)
        : m_format(format), m_output(output), m_processes(processes) {}

    // From now on nothing is said, for a person, about calls that were made before the run.
    void KeepHistoryQuiet() { m_tellsHistory = false; }

    void SetCycle(std::uint64_t number) { m_cycle = number; }

    // What became of a process's calls in this cycle. Prints a line when something was lost, if the counts are known:
    // what the decoding alone loses is told where the dump is. `history` calls came with the dump and were made before
    // the run: they count apart from the others.
    void AddDump(const std::string& process, const std::optional<LossCounts>& counts, std::uint64_t bytesNotDecoded,
                 std::uint64_t history);

    // An event of the process with that id was handled, which began then.
    void AddCallback(unsigned short pid, Clock::time_point began);

    // Counts the events in error.
    void OnError(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call, QxStage stage,
                 const std::string& error) override;

    // Whether counts of recorded calls came with any dump.
    bool Known() const { return m_known; }

    // Whether anything was lost.
    bool Lost() const { return m_lost; }

    // By process; calls of unregistered ones belong to "".
    const std::map<std::string, Row>& Rows() const { return m_rows; }

    // Handing on events, all of them.
    const TimeSpans& Callbacks() const { return m_callbacks; }

    // How many calls were lost.
    std::uint64_t LostCalls() const;

    // Prints the table of all processes, if their counts are known, and how many calls were made before the run.
    void Print() const;

    // Says how many calls of all processes were made before the run, if any were.
    void PrintHistory() const;

private:
    std::uint64_t History() const;
    void PrintLoss(const std::string& process, const LossCounts& counts, std::uint64_t bytesNotDecoded) const;
    void PrintTable() const;
    void PrintJson() const;

    const Format m_format;
    Output& m_output;
    const ProcessNames& m_processes;
    std::uint64_t m_cycle = 0;
    std::map<std::string, Row> m_rows;
    TimeSpans m_callbacks;
    bool m_tellsHistory = true;
    bool m_known = false;
    bool m_lost = false;
};

}  // namespace qxlt
