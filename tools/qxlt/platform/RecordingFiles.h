// The recordings of traced programs on this machine: of those that run, and what those that have ended left. Only the
// host platform has any that can be reached; a device gives out dumps of what runs and nothing else.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qxlt {

struct RecordingFile {
    std::string process;
    unsigned long pid = 0;
    unsigned uid = 0;
    std::uint64_t bytes = 0;              // that it takes
    bool isRunning = false;               // whether its process runs
    std::optional<std::uint64_t> idleNs;  // how long ago something was recorded last; nothing: that is not known
    std::string path;
    std::string problem;  // why it cannot be read, empty when it can
};

// All of them, by name and id, the newest of an id last. Throws a Failure (cannot start) when they cannot be looked
// for.
std::vector<RecordingFile> RecordingFiles();

// Where they are looked for.
std::string RecordingDirectory();

// Whether the file holds a recording, and no dump.
bool IsRecording(const std::string& file);

// One dump of what the recordings of one program hold, which leaves them as they are. Of a damaged one it holds what
// came before the damage, and ends in damage itself. Throws a Failure (cannot start) when none can be read.
std::vector<char> DumpRecordings(const std::vector<std::string>& paths);

// Removes the recording of a process that has ended. Returns why that was not done, nothing when it was.
std::string RemoveRecording(const std::string& path);

// A dump of what is recorded under a name at present.
struct CurrentDump {
    unsigned long pid = 0;  // of one process of the name, 0: none was found
    std::vector<char> bytes;
    std::string ended;  // of a process that has ended: when it recorded last; empty for those that run
};

// Of the processes of the name that run or, where none does, of the one that recorded last. Tells with a warning of
// those that run and cannot be read. Throws a Failure (cannot start) that says what to do when nothing is there.
CurrentDump TakeCurrentDump(const std::string& process);

}  // namespace qxlt
