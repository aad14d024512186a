// The recorder: a program includes this header, links libqxrecorder and marks the calls that it wants traced.
//
//     struct Point { int x; int y; };
//     QX_TRACE_STRUCT(Point, x, y)                        // at namespace scope of the whole program
//
//     bool Move(const std::string& name, Point& where) {
//         QX_CALL_RETURNS(call, bool, "robot", "Move", qx::In(name), qx::InOut(where));
//         ...
//         return call.Return(true);
//     }
//     void Stop() {
//         QX_CALL(call, "robot", "Stop");
//         QX_LOG("robot", "Stopping", 42, "by hand");
//     }
//
// A call is recorded when its scope object is made, and its exit when Return is called or the scope ends. A call whose
// scope ends without Return, by an exception or otherwise, has no result: what reads the trace can tell that from every
// result, but for a list, where it reads like an empty one. Arguments marked In are recorded at entry, Out at exit,
// InOut at both. A call ends on the thread on which it began; an exit on another thread, or in a forked child, is not
// recorded.
//
// Each thread records into a ring of its own. Recording takes no lock, allocates nothing and makes no system call; only
// a thread's first record and the first pass through each call site do; signals and cancellation of the thread wait
// until then, and calls that its allocations make meanwhile are refused. Signal handlers may not trace. At most 64
// threads are recorded at one time and at most 9,999 call sites of a process; whatever is not recorded is counted.
//
// The recording lies in the directory QX_RUNTIME_DIR (default /dev/shm/qx-<user id>), under the name of the process at
// its first record, and stays there when the process crashes, until the program was run again more than once. A forked
// child makes a recording of its own.
//
// Recording is on unless QX_RECORDER=off stands in the environment or SetEnabled(false) was called: then a call site
// costs a load and a branch, and nothing is made, recorded or counted. A source file that is compiled with
// QX_RECORDER_DISABLED defined has no call sites at all; the whole of a program should agree on it, since functions in
// headers that contain call sites must not differ between its files.
//
// Values:
//
//     numbers    integers of 1 to 8 bytes, bool, enumerations, float, double, long double (as many bytes as it has on
//                this machine), spans of std::chrono (the number of their units, by which the type goes), and
//                addresses: all pointers but those to characters
//     texts      std::string, std::string_view, const char*, and enumerations with QX_TRACE_ENUM, which go by their
//                names; at most kMaxText (8,192) bytes, the rest is cut
//     structs    made known by QX_TRACE_STRUCT, also nested
//     lists      of all these: std::vector, std::array, C arrays, sets; maps, which read as key, value, key, value; and
//                std::optional, a list of one at most. At most kMaxElements (1,000) elements, the rest is cut
//
// The compiler says of other types that QX_TRACE_STRUCT is missing for them. The trace format knows no list inside a
// value: a list that is a member of a struct or an element of a list is recorded as one run of bytes (of kMaxText at
// most, whole elements only), numbers one after the other, texts with a zero byte after each; there it may not hold
// structs or lists. A log item takes numbers and texts only, and records an empty text as a single zero byte, since the
// format drops empty values there and the values after it would move up.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "qx/detail/call.h"
#include "qx/detail/macros.h"

namespace qx {
namespace recorder {

// What a full ring does.
enum class Mode {
    Overwrite,  // the oldest page makes room
    Discard     // new calls are refused until the control has read
};

// Sizes in bytes. The environment variables QX_RING_PAGE_SIZE, QX_RING_PAGES and QX_RING_MODE (overwrite, discard) take
// precedence.
struct Options {
    std::size_t pageSize = 4096;         // multiple of 8, 256 to 1 Mi
    std::size_t pageCount = 64;          // pages of each thread's ring, at least 2; a ring has at most 16 MiB
    std::size_t metadataSize = 1 << 20;  // room for call sites, layouts and thread names, 256 to 16 Mi; a forked
                                         // child has room for what its parent had described besides
    Mode mode = Mode::Overwrite;
};

// Sets the options of this process's recording. Returns false, and changes nothing, when a value is out of its range or
// the process records already. Any thread may call it.
QX_RECORDER_API bool Configure(const Options& options);

// Switches recording on or off for the whole process, at once, from any thread; how it begins is said by QX_RECORDER
// (on, off), and on without it. A forked child begins as its parent was. What is called while it is off is neither
// recorded nor counted, not even as refused; a call that began while it was on still has its exit recorded.
QX_RECORDER_API void SetEnabled(bool isEnabled) noexcept;
QX_RECORDER_API bool IsEnabled() noexcept;

// Names the calling thread in the trace; without it the thread goes by its system name. At most 64 bytes count. A
// process uses at most 4,096 different names; the threads that come with further ones are recorded without name.
QX_RECORDER_API void SetThreadName(const std::string& name);

// What was recorded, counted since the process started (a forked child starts at 0). Calls and log items:
//
//     recorded = taken by the rings + refused
//
// and exits: exits = taken by the rings + exitsRefused.
struct Counters {
    std::uint64_t recorded = 0;      // calls and log items that the program made
    std::uint64_t refused = 0;       // of these, those that were not recorded (no room, slot or memory, too large)
    std::uint64_t overwritten = 0;   // of these, those that made room for later ones, whether or not they were read
    std::uint64_t exits = 0;         // returns of the calls that were recorded
    std::uint64_t exitsRefused = 0;  // of these, those that were not recorded
    std::uint64_t cut = 0;           // entries, exits and log items in which a text or a list was cut
};

// The counters of one ring. A thread that takes over the ring of one that ended goes on with its numbers.
struct ThreadCounters {
    std::size_t slot = 0;
    bool active = false;  // a thread records into it now
    std::string name;     // of the thread that recorded into it last
    Counters counters;
};

// The counters of the whole process. Any thread may call it; the numbers of other threads move meanwhile.
QX_RECORDER_API Counters GetCounters();

// The counters of each ring that was ever used, in slot order. Any thread may call it.
QX_RECORDER_API std::vector<ThreadCounters> GetThreadCounters();

}  // namespace recorder

// Marks an argument that is recorded at entry. The value is read at once.
template <class T>
recorder::detail::Marked<T, recorder::detail::kAtEntry> In(const T& value) {
    return {&value};
}

// Marks an argument that is recorded at exit. It must live as long as the call's scope object.
template <class T>
recorder::detail::Marked<T, recorder::detail::kAtExit> Out(const T& value) {
    return {&value};
}
template <class T>
recorder::detail::Marked<T, recorder::detail::kAtExit> Out(const T&& value) = delete;

// Marks an argument that is recorded at both. It must live as long as the call's scope object.
template <class T>
recorder::detail::Marked<T, recorder::detail::kAtEntry | recorder::detail::kAtExit> InOut(const T& value) {
    return {&value};
}
template <class T>
recorder::detail::Marked<T, recorder::detail::kAtEntry | recorder::detail::kAtExit> InOut(const T&& value) = delete;

}  // namespace qx

#ifndef QX_RECORDER_DISABLED

// Traces the enclosing scope as a call without result: QX_CALL(variable, "package", "method", arguments...).
#define QX_CALL(variable, ...)                                                         \
    static ::qx::recorder::detail::Site variable##Site{__FILE__, __LINE__, {0}};       \
    const auto variable = ::qx::recorder::MakeCall<void>(variable##Site, __VA_ARGS__); \
    static_cast<void>(variable)

// Traces the enclosing scope as a call with a result: QX_CALL_RETURNS(variable, Type, "package", "method",
// arguments...). `variable.Return(result)` records the exit and hands the result back; later ones record nothing.
#define QX_CALL_RETURNS(variable, Type, ...)                                     \
    static ::qx::recorder::detail::Site variable##Site{__FILE__, __LINE__, {0}}; \
    auto variable = ::qx::recorder::MakeCall<Type>(variable##Site, __VA_ARGS__)

// Records a log item: QX_LOG("package", "method", values...).
#define QX_LOG(...)                                                             \
    do {                                                                        \
        static ::qx::recorder::detail::Site qxLogSite{__FILE__, __LINE__, {0}}; \
        ::qx::recorder::detail::LogItem(qxLogSite, __VA_ARGS__);                \
    } while (false)

#else  // The sites are compiled out: their arguments are checked, and never evaluated.

#define QX_DETAIL_IGNORE(...)                                   \
    do {                                                        \
        if (false) ::qx::recorder::detail::Ignore(__VA_ARGS__); \
    } while (false)

#define QX_CALL(variable, ...)                     \
    QX_DETAIL_IGNORE(__VA_ARGS__);                 \
    const ::qx::recorder::NoCall<void> variable{}; \
    static_cast<void>(variable)

#define QX_CALL_RETURNS(variable, Type, ...) \
    QX_DETAIL_IGNORE(__VA_ARGS__);           \
    const ::qx::recorder::NoCall<Type> variable {}

#define QX_LOG(...) QX_DETAIL_IGNORE(__VA_ARGS__)

#endif

// Makes a struct known, with the members to record (1 to 16): QX_TRACE_STRUCT(Type, member...). Stands at global
// namespace scope, before the first use of the struct in a traced call. The type goes by the name that is given here.
#define QX_TRACE_STRUCT(TYPE, ...)                    \
    template <>                                       \
    struct qx_traits::StructTrait<TYPE> {             \
        using QxStruct = TYPE;                        \
        static const char* QxName() { return #TYPE; } \
        template <class Visitor>                      \
        static void QxForEach(Visitor&& visit) {      \
            QX_DETAIL_EACH(__VA_ARGS__)               \
        }                                             \
    };

// Has the values of an enumeration go by their names: QX_TRACE_ENUM(Color, Color::Red, Color::Green). Stands at global
// namespace scope, before the first use of the type in a traced call. A value that is not listed goes by its number.
#define QX_TRACE_ENUM(TYPE, ...)                                       \
    template <>                                                        \
    struct qx_traits::EnumTrait<TYPE> {                                \
        static constexpr TYPE kQxValues[] = {__VA_ARGS__};             \
        static const char* QxName() { return #TYPE; }                  \
        static const char* QxNames() noexcept { return #__VA_ARGS__; } \
    };
