// Calls of another tracer's recording on their way into a capture. They are given in the order in which they ended, as
// they would have come live, and are written cycle by cycle: no more than one is held in memory.
#pragma once

#include <qx/dumps.h>

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "CaptureWriter.h"
#include "ImportedValues.h"

namespace qxlt {

// A call as its recording has it, and the moment at which nothing more is known of it.
struct ImportedCall {
    std::string method;
    std::string package;
    std::uint64_t time = 0;  // nanoseconds
    std::vector<ImportedValue> in;

    struct Exit {
        std::uint64_t time = 0;
        std::vector<ImportedValue> out;
        std::optional<ImportedValue> result;
    };
    std::optional<Exit> exit;  // nothing: it is not known to have returned
};

class ImportedCapture final {
public:
    // How many calls, and bytes of their values, a cycle has at most.
    static constexpr std::size_t kCycleCalls = 10000;
    static constexpr std::size_t kCycleBytes = 4 << 20;

    // Makes the directory. Throws a Failure (cannot start) when it cannot be written or is not empty.
    explicit ImportedCapture(const std::string& directory) : m_writer(directory) {}

    // The number by which a thread goes here, of the process with that id. The first name of each counts; a process of
    // no name is called by its id. Threads beyond 65,535, and processes beyond the first 1,024, have number 0.
    std::uint16_t Thread(std::uint32_t process, const std::string& processName, std::uint64_t thread,
                         const std::string& threadName);

    // A call of the thread, described: small enough to be put aside.
    struct Packed {
        std::uint16_t thread = 0;
        qx::host::CallRecord record;
    };
    // Nothing for one without a place in the capture, which is counted.
    std::optional<Packed> Pack(std::uint16_t thread, const ImportedCall& call);
    void Add(const Packed& call);

    // A return without its call.
    void DropExit(std::uint16_t thread);

    // Writes what is left, and the description of it all. Returns whether all could be written.
    bool Finish(std::optional<std::int64_t> clockOffset);

    std::uint64_t Calls() const { return m_calls; }
    std::uint64_t Dropped() const { return m_dropped; }
    std::uint64_t ExitsDropped() const { return m_exitsDropped; }
    std::uint64_t Cycles() const { return m_cycle - 1; }
    std::size_t Processes() const { return m_names.size(); }

private:
    // All processes of one name.
    struct Program {
        std::string name;
        std::unique_ptr<qx::host::DumpMaker> maker;
        std::map<std::string, std::uint32_t> sites;  // of calls that returned, by what is known at their entry
        std::uint64_t delivered = 0;                 // in this cycle
        std::uint64_t dropped = 0;
        std::uint64_t exitsDropped = 0;
    };
    struct ThreadPlace {
        Program* program = nullptr;
        qx::host::CallThread thread;
    };

    Program* ProgramOf(std::uint32_t process, const std::string& name);
    static std::uint32_t SiteFor(Program& program, const ImportedCall& call);
    void EndCycle();

    CaptureWriter m_writer;
    std::map<std::string, Program> m_programs;
    std::map<std::uint32_t, Program*> m_names;  // by the processes' ids
    std::map<std::pair<std::uint32_t, std::uint64_t>, std::uint16_t> m_numbers;
    std::vector<ThreadPlace> m_threads;  // by their numbers, from 1 on
    std::uint64_t m_cycle = 1;           // complete; the first one stays empty
    std::uint64_t m_inCycle = 0;         // calls
    std::size_t m_bytesInCycle = 0;
    std::optional<std::uint64_t> m_first;  // entry time
    std::uint64_t m_calls = 0;
    std::uint64_t m_dropped = 0;
    std::uint64_t m_exitsDropped = 0;
};

}  // namespace qxlt
