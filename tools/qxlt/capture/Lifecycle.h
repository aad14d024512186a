// What became of the watched processes during a run: a call that does not come may be one that nobody made any more.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Format.h"
#include "JsonFwd.h"
#include "Output.h"

namespace qxlt {

enum class ProcessState {
    Started,     // is tracked from now on
    Ended,       // does not run any more
    Restarted,   // is tracked in place of one that has ended
    Unreadable,  // runs, and nothing of it can be read
};

struct ProcessChange {
    std::uint32_t pid = 0;
    ProcessState state = ProcessState::Started;
    std::string reason;  // may be empty
};

// A change as it is told: in which cycle, and of a process of which name.
struct ProcessNews {
    std::uint64_t cycle;
    const std::string& process;
    const ProcessChange& change;
};
using ChangeSink = std::function<void(const ProcessNews&)>;

// Prints the news: as text on standard error, since they are no events; in JSON as a line of the output.
void PrintNews(Format format, Output& output, const ProcessNews& news);

// The changes of a cycle as a capture keeps them.
std::string ChangesJson(const std::vector<ProcessChange>& changes);

// Reads what ChangesJson gave; nothing when it is something else.
std::optional<std::vector<ProcessChange>> ReadChanges(const JsonObject& json);

}  // namespace qxlt
