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
extern QX_RECORDER_API std::atomic<bool> g_isEnabled;
inline bool IsEnabled() noexcept {
    return g_isEnabled.load(std::memory_order_relaxed);
}

// Start a record of the calling thread: false when it is refused (and counted). Each Begin that gave true must be
// followed by its End on the same thread.
QX_RECORDER_API bool BeginEntry(Site& site, const char* package, const char* method, Describe describe,
                                Encoder& encoder) noexcept;
QX_RECORDER_API Ticket EndEntry(const Site& site, const Encoder& encoder) noexcept;
QX_RECORDER_API void EndLog(const Site& site, const Encoder& encoder) noexcept;
QX_RECORDER_API bool BeginExit(const Ticket& ticket, Encoder& encoder) noexcept;
QX_RECORDER_API void EndExit(const Ticket& ticket, const Encoder& encoder) noexcept;

}  // namespace detail
}  // namespace recorder
}  // namespace qx
