// What the host's control offers beyond the interface that the library uses: since when it watches a program, which
// processes of it there are and why one cannot be read, what was lost on the way from a traced program to the dumps,
// and the recordings themselves. All functions work on the control that qx::api::GetControl() gives in the same program
// or shared library. Any thread may call them. Texts may hold names of files and users, with any bytes.
//
// A program's recordings are found by its name as the tracker finds its process: the recorded name is the command name
// as the system shortens it (15 bytes), and it matches when it is a prefix of the name asked for. A name that agrees
// whole, or as far as the system keeps it, is preferred, then the longest one; a shorter one does not step in when that
// one has ended, nor while a process of that whole name runs and records nothing. All recordings of that name are read;
// their calls come out under the one name. A dump holds what living processes of the name recorded, and the rest of
// those that ended while the name was watched. Reading never removes a recording: that of a process that has ended
// stays until a program of its name has started twice since, or 16 of other names have ended after it, or
// RemoveRecording.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qx {
namespace host {

// Now, on the clock of calls' entry times: nanoseconds.
std::uint64_t GetRecordingTime();

// What is to be added to a time of that clock to get the system's wall clock as it is set now: nanoseconds since 1970.
// The wall clock may be set anew at any time, and the sum changes with it.
std::int64_t GetWallClockOffset();

// Begins to watch a program's name, if it is not watched yet: recordings of processes that have ended before are left
// alone for good; those of processes that end from now on still reach a dump, however short they live. The first dump
// of a name that is not watched begins it.
void Watch(const std::string& process);

// How it stands with the recording of a process.
enum class Visibility {
    Read,            // it can be read
    NothingYet,      // there is none: the process has the recorder, and recorded nothing until now
    OtherUser,       // the process runs as another user
    OtherNamespace,  // it sees other directories (in a container, say), and records into one of those
    OtherDirectory,  // it records into another directory
    NoRecorder,      // it has not loaded the recorder
    Unreadable       // what there is cannot be read
};

struct ProcessState {
    int pid = 0;
    bool isRunning = false;
    bool isRead = false;  // dumps hold what it records
    Visibility visibility = Visibility::Read;
    std::string problem;  // why nothing of it can be read, empty when it can: "runs as user nobody (65534)"
    std::string advice;   // what to do about it: "run this as that user: sudo -u nobody ..."
};

// The processes of that name, by pid: those that run under that command name (whole, or as the system shortens it), and
// the last 64 that have ended of those whose recordings were read since the watch began.
std::vector<ProcessState> GetProcesses(const std::string& process);

// A recording in the runtime directory.
struct RecordingInfo {
    std::string process;  // the command name of the program that made it
    int pid = 0;
    unsigned uid = 0;            // its owner
    std::uint64_t bytes = 0;     // memory or disk that it takes
    bool isRunning = false;      // whether its process runs, and has not run another program in its place
    std::uint64_t lastTime = 0;  // when something was recorded last, on the clock of GetRecordingTime; 0: not known
    std::string path;
    std::string problem;  // why it cannot be read, empty when it can
};

// All recordings, by name, pid and age, the newest one of a pid last. `problem`, when given, is emptied, or says why
// the directory cannot be read; one that is missing holds no recordings.
std::vector<RecordingInfo> GetRecordings(std::string* problem = nullptr);

// Whether the file begins like a recording. Pipes and the like do not, and are not touched.
bool IsRecording(const std::string& path);

// Puts all that is buffered in these recordings into the bytes of one dump, open calls without exit, and leaves the
// recordings as they are: of living and ended processes, in any directory. They should be of one program. False when
// nothing could be read; `problem` says what could not be, also when the rest was.
bool DumpRecordings(const std::vector<std::string>& paths, std::string& dump, std::string& problem);

// Removes the recording of a process that has ended. False when it runs, or the file cannot be removed, with the reason
// in `problem`.
bool RemoveRecording(const std::string& path, std::string& problem);

// What became of the calls and log items of a program, counted exactly, from its start on:
//
//     recorded = delivered + held + beforeFirst + overwritten + refused + dropped
//     exits    = exitsDelivered + exitsBeforeFirst + exitsOverwritten + exitsRefused + exitsDropped
//
// The numbers are those of one reader: a dump with the "first" flag starts them anew, since it reads again what is
// still buffered. What a damaged recording held beyond the damage is in none of them.
struct Loss {
    std::uint64_t recorded = 0;     // calls and log items that the program made, up to the last dump
    std::uint64_t delivered = 0;    // written into dumps
    std::uint64_t held = 0;         // calls that have not returned, waiting for it
    std::uint64_t beforeFirst = 0;  // no longer buffered when the first dump was taken
    std::uint64_t overwritten = 0;  // made room for later ones before a dump was taken
    std::uint64_t refused = 0;      // not taken by the recorder: no room, too many threads or call sites, too large
    std::uint64_t dropped = 0;      // read, but without a place in the dump (more than 9,999 call sites under one name)

    std::uint64_t exits = 0;  // returns of calls that were recorded, up to the last dump
    std::uint64_t exitsDelivered = 0;
    std::uint64_t exitsBeforeFirst = 0;  // they, or their call, were no longer buffered when it was taken
    std::uint64_t exitsOverwritten = 0;
    std::uint64_t exitsRefused = 0;
    std::uint64_t exitsDropped =
        0;  // their call was lost, or was written without exit: it was open for too long, or too many were
};

// The same of one ring, which the threads of a process use one after the other.
struct ThreadLoss {
    int pid = 0;
    unsigned tid = 0;  // the number in the dumps of the thread that recorded into the ring last, 0 for none
    std::string name;  // its name
    Loss loss;
};

// Fills in what became of the calls of the program named so: since its last "first" dump, and in the last dump alone
// (there `held` is what is held after it). Each may be null. Returns false when no dump of that name was asked for yet.
bool GetLoss(const std::string& process, Loss* total, Loss* lastDump);

// The same for each ring of the recordings that are being read. Empty for a name that no dump was asked for.
std::vector<ThreadLoss> GetThreadLoss(const std::string& process);

// Sets how long a call may stay open before it is written without its exit: 5,000 ms unless set. Those that wait for
// their exit take 4 MiB of each thread at most; past that, the oldest are written.
void SetOpenCallLimit(unsigned milliseconds);

// The directory that recordings are looked for and dumps are written in.
std::string GetRuntimeDirectory();

}  // namespace host
}  // namespace qx
