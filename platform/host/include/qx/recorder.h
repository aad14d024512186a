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
// Values: integers of 1 to 8 bytes, bool, enumerations; texts (std::string, std::string_view, const char*, at most
// kMaxText bytes, the rest is cut); structs made known by QX_TRACE_STRUCT, also nested; vectors of all these (at most
// kMaxElements elements, the rest is cut). The trace format knows no list inside a value: a vector that is a member of
// a struct or an element of a vector is recorded as one run of bytes (of kMaxText at most, whole elements only),
// integers one after the other, texts with a zero byte after each; there it may not hold structs or vectors. A log item
// takes integers and texts only, and records an empty text as a single zero byte, since the format drops empty values
// there and the values after it would move up.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#define QX_RECORDER_API __attribute__((visibility("default")))

namespace qx {
namespace recorder {

constexpr std::size_t kMaxText = 8192;
constexpr std::size_t kMaxElements = 1000;

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

// How the members of a struct are found; see QX_TRACE_STRUCT.
template <class T>
struct StructTrait;

namespace detail {

// The sizes with a meaning in the trace format.
constexpr std::uint32_t kCompositeSize = 16382;
constexpr std::uint32_t kVariableSize = 16383;
constexpr unsigned kAtEntry = 1;
constexpr unsigned kAtExit = 2;

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

// Writes values into memory of the recorder's, never beyond its end.
class Encoder {
public:
    Encoder() = default;
    Encoder(unsigned char* begin, std::size_t capacity) : m_begin(begin), m_capacity(capacity) {}

    void Put(const void* data, std::size_t size) noexcept {
        if (size > m_capacity - m_size) {
            m_overflow = true;
            return;
        }
        if (size != 0) std::memcpy(m_begin + m_size, data, size);
        m_size += size;
    }
    void PutByte(unsigned value) noexcept {
        const unsigned char byte = static_cast<unsigned char>(value);
        Put(&byte, 1);
    }
    // Least significant byte first.
    template <class T>
    void PutInteger(T value) noexcept {
        const std::uint64_t bits = static_cast<std::uint64_t>(value);
        unsigned char bytes[sizeof(T)];
        for (std::size_t i = 0; i < sizeof(T); ++i) bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
        Put(bytes, sizeof(T));
    }
    void PutVarint(std::size_t value) noexcept {
        for (; value > 0x7F; value >>= 7) PutByte(static_cast<unsigned>(value & 0x7F) | 0x80u);
        PutByte(static_cast<unsigned>(value));
    }
    void MarkCut() noexcept { m_cut = true; }

    std::size_t Size() const { return m_size; }
    bool Overflow() const { return m_overflow; }
    bool Cut() const { return m_cut; }

private:
    unsigned char* m_begin = nullptr;  // not owned
    std::size_t m_capacity = 0;
    std::size_t m_size = 0;
    bool m_overflow = false;
    bool m_cut = false;
};

// A recorded entry, so that its exit finds it. Empty when the entry was not recorded.
struct Ticket {
    std::uint64_t ordinal = 0;
    std::uint32_t attachment = 0;
};

using Describe = void (*)(Location&);

// Start a record of the calling thread: false when it is refused (and counted). Each Begin that gave true must be
// followed by its End on the same thread.
QX_RECORDER_API bool BeginEntry(Site& site, const char* package, const char* method, Describe describe,
                                Encoder& encoder) noexcept;
QX_RECORDER_API Ticket EndEntry(const Site& site, const Encoder& encoder) noexcept;
QX_RECORDER_API void EndLog(const Site& site, const Encoder& encoder) noexcept;
QX_RECORDER_API bool BeginExit(const Ticket& ticket, Encoder& encoder) noexcept;
QX_RECORDER_API void EndExit(const Ticket& ticket, const Encoder& encoder) noexcept;

template <class T>
constexpr const char* IntegerName() {
    if constexpr (std::is_enum_v<T>)
        return IntegerName<std::underlying_type_t<T>>();
    else if constexpr (std::is_same_v<T, bool>)
        return "bool";
    else if constexpr (std::is_same_v<T, char>)
        return "char";
    else if constexpr (std::is_same_v<T, signed char>)
        return "signed char";
    else if constexpr (std::is_same_v<T, unsigned char>)
        return "unsigned char";
    else if constexpr (std::is_same_v<T, short>)
        return "short";
    else if constexpr (std::is_same_v<T, unsigned short>)
        return "unsigned short";
    else if constexpr (std::is_same_v<T, int>)
        return "int";
    else if constexpr (std::is_same_v<T, unsigned int>)
        return "unsigned int";
    else if constexpr (std::is_same_v<T, long>)
        return "long";
    else if constexpr (std::is_same_v<T, unsigned long>)
        return "unsigned long";
    else if constexpr (std::is_same_v<T, long long>)
        return "long long";
    else if constexpr (std::is_same_v<T, unsigned long long>)
        return "unsigned long long";
    else
        return "integer";
}

template <class T>
constexpr bool kIsInteger = (std::is_integral_v<T> && sizeof(T) <= 8) || std::is_enum_v<T>;

template <class T>
constexpr bool kIsText =
    std::is_convertible_v<const T&, std::string_view> || std::is_same_v<T, const char*> || std::is_same_v<T, char*>;

template <class T>
struct IsVector : std::false_type {};
template <class T, class A>
struct IsVector<std::vector<T, A>> : std::true_type {};

template <class M>
using MemberOf = std::remove_cv_t<std::remove_reference_t<M>>;

inline std::string_view TextOf(std::string_view text) {
    return text;
}
inline std::string_view TextOf(const char* text) {
    return text == nullptr ? std::string_view() : text;
}

// At most kMaxText bytes; the format gives the lengths 16382 and 16383 a meaning of their own inside structs.
inline std::string_view CutText(Encoder& encoder, std::string_view text) noexcept {
    if (text.size() <= kMaxText) return text;
    encoder.MarkCut();
    return text.substr(0, kMaxText);
}

// How values of a type are described and written. AsArgument is a type's description as an argument or result of a
// call, AsMember as a member of a struct or element of a list; Encode writes what follows the one, EncodeMember the
// other.
template <class T, class Enable = void>
struct Value;

template <class T>
struct Value<T, std::enable_if_t<kIsInteger<T>>> {
    static Type AsArgument(Location&) { return {IntegerName<T>(), sizeof(T)}; }
    static Type AsMember(Location& location) { return AsArgument(location); }
    static void Encode(Encoder& encoder, T value) noexcept { encoder.PutInteger(value); }
    static void EncodeMember(Encoder& encoder, T value) noexcept { encoder.PutInteger(value); }
};

// An argument is sent as a struct with one nameless member: it reads like a plain text, but an empty one keeps its
// place in the list of arguments, which a plain empty text would not.
template <class T>
struct Value<T, std::enable_if_t<kIsText<T>>> {
    static Type AsArgument(Location& location) {
        location.descriptors.push_back({"string", false, {{"", {"string", kVariableSize}}}});
        return {"string", kCompositeSize};
    }
    static Type AsMember(Location&) { return {"string", kVariableSize}; }
    static void Encode(Encoder& encoder, const T& value) noexcept {
        const std::string_view text = CutText(encoder, TextOf(value));
        encoder.PutVarint(text.size());
        encoder.Put(text.data(), text.size());
    }
    static void EncodeMember(Encoder& encoder, const T& value) noexcept { Encode(encoder, value); }
};

template <class T>  // the size asks whether the trait is defined. NOLINTNEXTLINE(bugprone-sizeof-expression)
struct Value<T, std::enable_if_t<(sizeof(StructTrait<T>) > 0)>> {
    static std::vector<Member> Members(Location& location) {
        std::vector<Member> members;
        StructTrait<T>::ForEach([&](const char* name, auto member) {
            using Of = MemberOf<decltype(std::declval<const T&>().*member)>;
            members.push_back({name, Value<Of>::AsMember(location)});
        });
        return members;
    }
    static Type AsArgument(Location& location) {
        std::vector<Member> members = Members(location);
        location.descriptors.push_back({StructTrait<T>::Name(), false, std::move(members)});
        return {StructTrait<T>::Name(), kCompositeSize};
    }
    static Type AsMember(Location& location) { return AsArgument(location); }
    static void Encode(Encoder& encoder, const T& value) noexcept {
        StructTrait<T>::ForEach([&](const char*, auto member) {
            using Of = MemberOf<decltype(value.*member)>;
            Value<Of>::EncodeMember(encoder, value.*member);
        });
    }
    static void EncodeMember(Encoder& encoder, const T& value) noexcept { Encode(encoder, value); }
};

template <class T, class A>
struct Value<std::vector<T, A>, void> {
    using Element = Value<T>;
    static constexpr bool kIsStruct = !kIsInteger<T> && !kIsText<T> && !IsVector<T>::value;

    static std::string Name(Location& location) { return "vector<" + Element::AsMember(location).name + ">"; }

    // The members of a struct stand in the container's own layout, so that a list of structs reads as their members one
    // after the other.
    static Type AsArgument(Location& location) {
        const std::string name = Name(location);
        std::vector<Member> members;
        if constexpr (kIsStruct)
            members = Element::Members(location);
        else
            members.push_back({"", Element::AsMember(location)});
        location.descriptors.push_back({name, true, std::move(members)});
        return {name, kCompositeSize};
    }
    static Type AsMember(Location& location) { return {Name(location), kVariableSize}; }

    static void Encode(Encoder& encoder, const std::vector<T, A>& values) noexcept {
        const std::size_t count = values.size() < kMaxElements ? values.size() : kMaxElements;
        if (count < values.size()) encoder.MarkCut();
        encoder.PutVarint(count);
        for (std::size_t i = 0; i < count; ++i) Element::EncodeMember(encoder, values[i]);
    }

    static void EncodeMember(Encoder& encoder, const std::vector<T, A>& values) noexcept {
        static_assert(kIsInteger<T> || kIsText<T>, "a list inside a value holds integers or texts only");
        const std::size_t count = FittingCount(values);
        std::size_t size = 0;
        for (std::size_t i = 0; i < count; ++i) size += RunSize(values[i]);
        if (count < values.size()) encoder.MarkCut();
        encoder.PutVarint(size);
        for (std::size_t i = 0; i < count; ++i) PutRun(encoder, values[i]);
    }

private:
    static std::size_t RunSize(const T& value) noexcept {
        if constexpr (kIsText<T>)
            return TextOf(value).size() + 1;
        else
            return sizeof(value);
    }
    static void PutRun(Encoder& encoder, const T& value) noexcept {
        if constexpr (kIsText<T>) {
            encoder.Put(TextOf(value).data(), TextOf(value).size());
            encoder.PutByte(0);
        } else {
            Element::Encode(encoder, value);
        }
    }
    static std::size_t FittingCount(const std::vector<T, A>& values) noexcept {
        std::size_t size = 0;
        for (std::size_t i = 0; i < values.size(); ++i) {
            const std::size_t one = RunSize(values[i]);
            if (one > kMaxText - size) return i;
            size += one;
        }
        return values.size();
    }
};

// An argument of a call: where its value lies, and when it is recorded.
template <class T, unsigned Flags>
struct Marked {
    static constexpr unsigned kFlags = Flags;
    using Of = T;
    const T* value;  // not owned; an In argument is read at entry only
};

template <class M>
void DescribeArgument(Location& location) {
    location.arguments.push_back({Value<typename M::Of>::AsArgument(location), M::kFlags});
}

template <unsigned When, class T, unsigned Flags>
void EncodeIf(Encoder& encoder, const Marked<T, Flags>& argument) noexcept {
    if constexpr ((Flags & When) != 0) Value<T>::Encode(encoder, *argument.value);
}

template <class T>
void DescribeLogValue(Location& location) {
    static_assert(kIsInteger<T> || kIsText<T>, "a log item takes integers and texts only");
    Type type = Value<T>::AsMember(location);
    location.arguments.push_back({std::move(type), kAtEntry});
}

template <class T>
void EncodeLogValue(Encoder& encoder, const T& value) noexcept {
    if constexpr (kIsText<T>) {
        const std::string_view text = TextOf(value);
        Value<std::string_view>::Encode(encoder, text.empty() ? std::string_view("\0", 1) : text);
    } else {
        Value<T>::Encode(encoder, value);
    }
}

// Array arguments and string literals count as texts.
template <class T>
using Stored = std::conditional_t<std::is_array_v<T>, std::string_view, T>;

template <class... Values>
void LogItem(Site& site, const char* package, const char* method, const Values&... values) noexcept {
    Encoder encoder;
    const Describe describe = [](Location& location) { (DescribeLogValue<Stored<Values>>(location), ...); };
    if (!BeginEntry(site, package, method, describe, encoder)) return;
    (EncodeLogValue<Stored<Values>>(encoder, values), ...);
    EndLog(site, encoder);
}

}  // namespace detail

// The scope of a traced call; QX_CALL and QX_CALL_RETURNS make one. `Result` is void or the type of the result.
template <class Result, class... Arguments>
class Call {
public:
    Call(detail::Site& site, const char* package, const char* method, const Arguments&... arguments) noexcept
        : m_arguments(arguments...) {
        detail::Encoder encoder;
        if (!detail::BeginEntry(site, package, method, &Call::DescribeSite, encoder)) return;
        (detail::EncodeIf<detail::kAtEntry>(encoder, arguments), ...);
        m_ticket = detail::EndEntry(site, encoder);
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    // Records the exit, if Return did not: without a result.
    ~Call() {
        if (m_ticket.attachment != 0) Exit([](detail::Encoder&) {});
    }

    // Records the exit with the result, which it hands back. Later ones record nothing.
    template <class R = Result>
    R Return(std::enable_if_t<true, R> result) noexcept {
        Exit([&result](detail::Encoder& encoder) { detail::Value<R>::Encode(encoder, result); });
        return result;
    }

private:
    static void DescribeSite(detail::Location& location) {
        (detail::DescribeArgument<Arguments>(location), ...);
        if constexpr (!std::is_void_v<Result>) location.result = detail::Value<Result>::AsArgument(location);
    }

    template <class EncodeResult>
    void Exit(EncodeResult encodeResult) noexcept {
        detail::Encoder encoder;
        if (detail::BeginExit(m_ticket, encoder)) {
            std::apply([&](const auto&... a) { (detail::EncodeIf<detail::kAtExit>(encoder, a), ...); }, m_arguments);
            encodeResult(encoder);
            detail::EndExit(m_ticket, encoder);
        }
        m_ticket = detail::Ticket();
    }

    std::tuple<Arguments...> m_arguments;
    detail::Ticket m_ticket;
};

template <class Result, class... Arguments>
Call<Result, Arguments...> MakeCall(detail::Site& site, const char* package, const char* method,
                                    Arguments... arguments) noexcept {
    return Call<Result, Arguments...>(site, package, method, arguments...);
}

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

// Traces the enclosing scope as a call without result: QX_CALL(variable, "package", "method", arguments...).
#define QX_CALL(variable, ...)                                                         \
    static ::qx::recorder::detail::Site variable##Site{__FILE__, __LINE__, {0}};       \
    const auto variable = ::qx::recorder::MakeCall<void>(variable##Site, __VA_ARGS__); \
    static_cast<void>(variable)

// Traces the enclosing scope as a call with a result, which is given to Return: QX_CALL_RETURNS(variable, Type,
// "package", "method", arguments...).
#define QX_CALL_RETURNS(variable, Type, ...)                                     \
    static ::qx::recorder::detail::Site variable##Site{__FILE__, __LINE__, {0}}; \
    auto variable = ::qx::recorder::MakeCall<Type>(variable##Site, __VA_ARGS__)

// Records a log item: QX_LOG("package", "method", values...).
#define QX_LOG(...)                                                             \
    do {                                                                        \
        static ::qx::recorder::detail::Site qxLogSite{__FILE__, __LINE__, {0}}; \
        ::qx::recorder::detail::LogItem(qxLogSite, __VA_ARGS__);                \
    } while (false)

// Makes a struct known, with the members to record (1 to 16): QX_TRACE_STRUCT(Type, member...). Stands at global
// namespace scope, before the first use of the struct in a traced call. The type goes by the name that is given here.
#define QX_TRACE_STRUCT(TYPE, ...)                  \
    template <>                                     \
    struct qx::recorder::StructTrait<TYPE> {        \
        using Struct = TYPE;                        \
        static const char* Name() { return #TYPE; } \
        template <class Visitor>                    \
        static void ForEach(Visitor&& visit) {      \
            QX_DETAIL_EACH(__VA_ARGS__)             \
        }                                           \
    };

#define QX_DETAIL_VISIT(member) visit(#member, &Struct::member);
#define QX_DETAIL_EXPAND(x) x
#define QX_DETAIL_PICK(_1, _2, _3, _4, _5, _6, _7, _8, _9, _10, _11, _12, _13, _14, _15, _16, NAME, ...) NAME
#define QX_DETAIL_EACH(...)                                                                                  \
    QX_DETAIL_EXPAND(QX_DETAIL_PICK(__VA_ARGS__, QX_DETAIL_E16, QX_DETAIL_E15, QX_DETAIL_E14, QX_DETAIL_E13, \
                                    QX_DETAIL_E12, QX_DETAIL_E11, QX_DETAIL_E10, QX_DETAIL_E9, QX_DETAIL_E8, \
                                    QX_DETAIL_E7, QX_DETAIL_E6, QX_DETAIL_E5, QX_DETAIL_E4, QX_DETAIL_E3,    \
                                    QX_DETAIL_E2, QX_DETAIL_E1, 0)(__VA_ARGS__))
#define QX_DETAIL_E1(m) QX_DETAIL_VISIT(m)
#define QX_DETAIL_E2(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E1(__VA_ARGS__)
#define QX_DETAIL_E3(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E2(__VA_ARGS__)
#define QX_DETAIL_E4(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E3(__VA_ARGS__)
#define QX_DETAIL_E5(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E4(__VA_ARGS__)
#define QX_DETAIL_E6(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E5(__VA_ARGS__)
#define QX_DETAIL_E7(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E6(__VA_ARGS__)
#define QX_DETAIL_E8(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E7(__VA_ARGS__)
#define QX_DETAIL_E9(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E8(__VA_ARGS__)
#define QX_DETAIL_E10(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E9(__VA_ARGS__)
#define QX_DETAIL_E11(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E10(__VA_ARGS__)
#define QX_DETAIL_E12(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E11(__VA_ARGS__)
#define QX_DETAIL_E13(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E12(__VA_ARGS__)
#define QX_DETAIL_E14(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E13(__VA_ARGS__)
#define QX_DETAIL_E15(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E14(__VA_ARGS__)
#define QX_DETAIL_E16(m, ...) QX_DETAIL_VISIT(m) QX_DETAIL_E15(__VA_ARGS__)
