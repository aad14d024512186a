// What the host's control offers beyond the interface that the library uses: what was lost on the way from a traced
// program to the dumps, and how long an open call is waited for. All functions work on the control that
// qx::api::GetControl() gives in the same program or shared library. Any thread may call them.
//
// A program's recordings are found by its name as the tracker finds its process: the recorded name is the command name
// as the system shortens it (15 bytes), and it matches when it is a prefix of the name asked for. A name that agrees
// whole, or as far as the system keeps it, is preferred, then the longest one. All recordings of that name are read;
// their calls come out under the one name. A program that starts deletes those of dead processes of its name but for
// the latest: what several short-lived processes recorded between two dumps is lost with them and in no count.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace qx {
namespace host {

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
