// Keeps the dumps of a live run in a directory, to be replayed later. A cycle is written beside the others and takes
// its name when it is complete: an interrupted run leaves nothing that looks like a cycle and is none.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "Lifecycle.h"
#include "LossCounts.h"
#include "ProcessNames.h"
#include "RunStart.h"

namespace qxlt {

// What a capture was kept for, where it is not a whole run.
struct KeptFor {
    std::string event;
    std::uint64_t cycle;  // in which it fired
};

class CaptureWriter final {
public:
    // Takes what went wrong: "FILE: REASON".
    using ProblemSink = std::function<void(const std::string& problem)>;

    // Makes the directory, if need be. Throws a Failure (cannot start) when that fails or when it holds something.
    // Without a sink a failure is printed.
    explicit CaptureWriter(std::string directory, ProblemSink problems = {});

    // Writes down the processes, and what is known of the start. Throws a Failure (cannot start); or tells of the
    // failure and returns false.
    void Begin(const ProcessNames& processes, const RunStart& start);
    bool TryBegin(const ProcessNames& processes, const RunStart& start, const KeptFor& reason);

    // Writes down one more, which is tracked from its cycle on.
    void AddProcess(const LateProcess& process);

    // A cycle, its dumps one by one (empty ones are left out) with the counts that are known of them, what became of
    // the processes, and its end. One thread at a time. The first failure is told and ends the capture before this
    // cycle; the calls then do nothing.
    void BeginCycle(std::uint64_t number);
    void AddDump(const std::string& process, const std::vector<char>& dump, const std::optional<LossCounts>& counts);
    void AddChanges(const std::string& process, const std::vector<ProcessChange>& changes);
    void EndCycle();

    bool Failed() const { return m_failed; }

    // The bytes that were written so far.
    std::uint64_t Size() const { return m_size; }

private:
    bool WriteDescription(const std::string& text);
    void AddLine(const std::string& name, const std::string& line);
    void AddFile(const std::string& name, const char* bytes, std::size_t size);
    void Fail(const std::string& path);

    const std::string m_directory;
    const ProblemSink m_problems;
    std::string m_description;
    std::uint64_t m_cycle = 0;
    std::string m_unfinished;         // where the current cycle is written
    std::set<std::string> m_counted;  // processes whose counts were kept with some cycle
    std::uint64_t m_size = 0;
    bool m_failed = false;
};

// Throws a Failure (cannot start) for names of processes that a capture cannot hold.
void RequireKeptNames(const ProcessNames& processes);

}  // namespace qxlt
