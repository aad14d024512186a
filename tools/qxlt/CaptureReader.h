// Reads a capture: the processes of a run and, cycle by cycle, their dumps.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Fault.h"
#include "LossCounts.h"
#include "ProcessNames.h"

namespace qxlt {

class CaptureReader final {
public:
    // Throws a Failure (cannot start) when the directory holds no capture that can be read.
    explicit CaptureReader(std::string directory);

    const ProcessNames& Processes() const { return m_processes; }

    // Goes on to the next cycle; false after the last one. Cycles that are missing are passed over.
    bool Next();

    // The number of the cycle that Next has reached.
    std::uint64_t Cycle() const { return m_cycle; }

    // The process's dump file in this cycle; empty when it has none. Throws a Failure (cannot start) when that is a
    // pipe or a device, which nobody may wait for.
    std::string DumpOf(const std::string& process) const;

    // The counts that were kept beside that dump, if any. Those that cannot be read are told of and left out.
    std::optional<LossCounts> LossOf(const std::string& process, const FaultSink& sink) const;

    // Tells of the dump files of this cycle that belong to no process of the capture.
    void TellStrangers(const FaultSink& sink) const;

private:
    std::string CyclePath(std::uint64_t number) const;
    std::string FileOf(const std::string& name) const;

    const std::string m_directory;
    const ProcessNames m_processes;
    const std::vector<std::uint64_t> m_cycles;  // in order
    std::uint64_t m_cycle = 0;
};

}  // namespace qxlt
