// What the code of a traced call hands to the recorder: its description, once, and a record for each entry, exit and
// log item.
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

#include "qx/detail/encoder.h"
#include "qx/detail/macros.h"

namespace qx {
namespace recorder {
namespace detail {

// The description of a call site, made once for each.
struct Type {
    std::string name;
    std::uint32_t size = 0;
};
struct Member {
    std::string name;
    Type type;
};
struct Descriptor {
    std::string name;
    bool isContainer = false;
    std::vector<Member> members;
};
struct Argument {
    Type type;
    unsigned flags = 0;
};
struct Location {
    std::vector<Descriptor> descriptors;  // a layout comes before those that use it
    std::vector<Argument> arguments;
    Type result{"void", 0};
};

// One call site; lives as long as its code. Constant-initialised, so that passing it again costs no guard.
struct Site {
    const char* file;
    unsigned line;
    std::atomic<std::uint32_t> id{0};  // number of the location; 0: not registered yet
};

// A recorded entry, so that its exit finds it. Empty when the entry was not recorded.
struct Ticket {
    std::uint64_t ordinal = 0;
    std::uint32_t attachment = 0;
};

using Describe = void (*)(Location&);

// Whether call sites record. Each of them looks at it in line: where recording is switched off, that is all it does.
// Call sites in C know it by the same name.
extern "C" QX_RECORDER_API std::atomic<bool> qx_recorder_switch;
inline bool IsEnabled() noexcept {
    return qx_recorder_switch.load(std::memory_order_relaxed);
}

// What the calling thread records with.
struct Place {
    unsigned char*
        memory;  // for the values of its next record; null while there is one, and when it is to be asked for
    void* ring;  // the recorder's own
    std::uint32_t attachment;  // of the thread to its ring, 0 for none
};
// Initial-exec and without initialiser: reading it takes an instruction and no call.
extern QX_RECORDER_API __thread Place t_place __attribute__((tls_model("initial-exec")));

constexpr std::uint32_t kRefusedSite = 0xFFFFFFFF;  // the number of a call site that is not recorded

// Ask for the memory of a record where it is not at hand: of an entry or log item, and of the exit of the call that has
// the ticket. Null when the record is refused (and counted). One that is given must be handed back by End... on the
// same thread.
QX_RECORDER_API unsigned char* AskForEntry(Site& site, const char* package, const char* method,
                                           Describe describe) noexcept __attribute__((cold));
QX_RECORDER_API unsigned char* AskForExit(const Ticket& ticket) noexcept __attribute__((cold));

QX_RECORDER_API Ticket EndEntry(std::uint32_t site, Written values) noexcept;
QX_RECORDER_API void EndLog(std::uint32_t site, Written values) noexcept;
QX_RECORDER_API void EndExit(std::uint64_t ordinal, Written values) noexcept;

// A thread's memory is taken while a record is made, so that a further one (of a signal's handler) finds none.
inline unsigned char* TakeMemory() noexcept {
    unsigned char* memory = t_place.memory;
    t_place.memory = nullptr;
    std::atomic_signal_fence(std::memory_order_seq_cst);
    return memory;
}

inline unsigned char* BeginEntry(Site& site, const char* package, const char* method, Describe describe) noexcept {
    const std::uint32_t number = site.id.load(std::memory_order_acquire);
    const bool isAtHand = t_place.memory != nullptr && number - 1 < kRefusedSite - 1;
    return isAtHand ? TakeMemory() : AskForEntry(site, package, method, describe);
}

// Requires: a ticket that is not empty.
inline unsigned char* BeginExit(const Ticket& ticket) noexcept {
    const bool isAtHand = t_place.memory != nullptr && t_place.attachment == ticket.attachment;
    return isAtHand ? TakeMemory() : AskForExit(ticket);
}

}  // namespace detail
}  // namespace recorder
}  // namespace qx
