// What the platform tells of processes and recordings besides their dumps. A device's control gives out dumps and
// nothing else; what runs is known there, too.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "WallTime.h"

namespace qxlt {

// Now, on the clock of calls' entry times; nothing where that clock is not known.
std::optional<std::uint64_t> CallClockNow();

// How far the wall clock is ahead of that clock at present; nothing where that is not known.
ClockOffset WallClockOffset();

// Has the recordings of that name watched: what a process recorded that ends from now on still reaches a dump.
void WatchRecordings(const std::string& process);

struct ProcessStatus {
    std::uint32_t pid = 0;
    bool isRunning = false;
    std::string problem;  // why nothing of it can be read; empty: something can, or it has recorded nothing yet
    std::string advice;   // what to do about it
};

// The processes of that name, by id: those that run, and of those that have ended the ones whose recordings were read.
std::vector<ProcessStatus> ProcessesOf(const std::string& process);

}  // namespace qxlt
