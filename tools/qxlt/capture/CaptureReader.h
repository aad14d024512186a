// Reads a capture: the processes of a run and, cycle by cycle, their dumps.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Fault.h"
#include "Lifecycle.h"
#include "LossCounts.h"
#include "ProcessNames.h"
#include "RunStart.h"

namespace qxlt {

class CaptureReader final {
public:
    // Throws a Failure (cannot start) when the directory holds no capture that can be read.
    explicit CaptureReader(std::string directory);

    const ProcessNames& Processes() const { return m_description.processes; }

    // When the run began. Captures of older versions tell no more than from when on calls are evaluated.
    const RunStart& Start() const { return m_description.start; }

    // The processes that are tracked from a later cycle on, in order.
    const std::vector<LateProcess>& Late() const { return m_description.late; }

    // Goes on to the next cycle; false after the last one. Cycles that are missing are passed over.
    bool Next();

    // The number of the cycle that Next has reached.
    std::uint64_t Cycle() const { return m_cycle; }

    // The process's dump file in this cycle; empty when it has none. Throws a Failure (cannot start) when that is a
    // pipe or a device, which nobody may wait for.
    std::string DumpOf(const std::string& process) const;

    // The counts that were kept beside that dump, if any. Those that cannot be read are told of and left out.
    std::optional<LossCounts> LossOf(const std::string& process, const FaultSink& sink) const;

    // The same for what became of the process in this cycle.
    std::vector<ProcessChange> ChangesOf(const std::string& process, const FaultSink& sink) const;

    // Tells of what lies in the directory and belongs to no cycle, or in this cycle and to no process of the capture.
    void TellUnknownFolders(const FaultSink& sink) const;
    void TellUnknownFiles(const FaultSink& sink) const;

private:
    // What capture.json tells.
    struct Description {
        ProcessNames processes;
        RunStart start;
        std::vector<LateProcess> late;
    };

    static Description ReadDescription(const std::string& path);
    template <typename Value>
    std::optional<Value> ReadBeside(const std::string& name, std::optional<Value> (*read)(const JsonObject&),
                                    const Fault& unreadable, const FaultSink& sink) const;
    std::string CyclePath(std::uint64_t number) const;
    std::string FileOf(const std::string& name) const;

    const std::string m_directory;
    const Description m_description;
    const std::vector<std::uint64_t> m_cycles;  // in order
    std::uint64_t m_cycle = 0;
};

}  // namespace qxlt
