// The scope of a traced call, and a log item: they have their values described and written, and tell the recorder.
#pragma once

#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "qx/detail/durations.h"
#include "qx/detail/encoder.h"
#include "qx/detail/enums.h"
#include "qx/detail/format.h"
#include "qx/detail/lists.h"
#include "qx/detail/site.h"
#include "qx/detail/values.h"

namespace qx {
namespace recorder {
namespace detail {

// An argument of a call: where its value lies, and when it is recorded.
template <class T, unsigned Flags>
struct Marked {
    static constexpr unsigned kFlags = Flags;
    using Of = Known<T>;
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
    static_assert(Value<T>::kIsPlain, "a log item takes numbers and texts only");
    Type type = Value<T>::AsMember(location);
    location.arguments.push_back({std::move(type), kAtEntry});
}

template <class T>
void EncodeLogValue(Encoder& encoder, const T& value) noexcept {
    if constexpr (kIsText<T>) {
        const std::string_view text = TextOf(value);
        Value<std::string_view>::Encode(encoder, text.empty() ? std::string_view("\0", 1) : text);
    } else {
        Value<T>::EncodeMember(encoder, value);
    }
}

// Array arguments and string literals count as texts.
template <class T>
using Stored = std::conditional_t<std::is_array_v<T>, std::string_view, T>;

template <class... Values>
void LogItem(Site& site, const char* package, const char* method, const Values&... values) noexcept {
    if (!IsEnabled()) return;
    const Describe describe = [](Location& location) { (DescribeLogValue<Stored<Values>>(location), ...); };
    unsigned char* memory = BeginEntry(site, package, method, describe);
    if (memory == nullptr) return;
    Encoder encoder(memory);
    (EncodeLogValue<Stored<Values>>(encoder, values), ...);
    EndLog(site.id.load(std::memory_order_relaxed), encoder.Result());
}

}  // namespace detail

// The scope of a traced call; QX_CALL and QX_CALL_RETURNS make one. `Result` is void or the type of the result.
template <class Result, class... Arguments>
class Call {
    using KnownResult = detail::Known<Result>;

public:
    // In line stands what a call costs whose recording is off.
    __attribute__((always_inline))
    Call(detail::Site& site, const char* package, const char* method, const Arguments&... arguments) noexcept
        : m_arguments(arguments...) {
        if (detail::IsEnabled()) Enter(site, package, method);
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
        if (m_ticket.attachment != 0) {
            Exit([&result](detail::Encoder& encoder) { detail::Value<R>::Encode(encoder, result); });
        }
        return result;
    }

private:
    static void DescribeSite(detail::Location& location) {
        (detail::DescribeArgument<Arguments>(location), ...);
        if constexpr (!std::is_void_v<Result>) location.result = detail::Value<Result>::AsArgument(location);
    }

    __attribute__((noinline)) void Enter(detail::Site& site, const char* package, const char* method) noexcept {
        unsigned char* memory = detail::BeginEntry(site, package, method, &Call::DescribeSite);
        if (memory == nullptr) return;
        detail::Encoder encoder(memory);
        EncodeArguments<detail::kAtEntry>(encoder);
        m_ticket = detail::EndEntry(site.id.load(std::memory_order_relaxed), encoder.Result());
    }

    template <class EncodeResult>
    __attribute__((noinline)) void Exit(EncodeResult encodeResult) noexcept {
        unsigned char* memory = detail::BeginExit(m_ticket);
        if (memory != nullptr) {
            detail::Encoder encoder(memory);
            EncodeArguments<detail::kAtExit>(encoder);
            encodeResult(encoder);
            detail::EndExit(m_ticket.ordinal, encoder.Result());
        }
        m_ticket = detail::Ticket();
    }

    template <unsigned When>
    void EncodeArguments(detail::Encoder& encoder) const noexcept {
        std::apply([&](const auto&... a) { (detail::EncodeIf<When>(encoder, a), ...); }, m_arguments);
    }

    std::tuple<Arguments...> m_arguments;
    detail::Ticket m_ticket;
};

template <class Result, class... Arguments>
Call<Result, Arguments...> MakeCall(detail::Site& site, const char* package, const char* method,
                                    Arguments... arguments) noexcept {
    return Call<Result, Arguments...>(site, package, method, arguments...);
}

// What QX_CALL and QX_CALL_RETURNS make where call sites are compiled out.
template <class Result>
class NoCall {
    using KnownResult = detail::Known<Result>;

public:
    template <class R = Result>
    R Return(std::enable_if_t<true, R> result) const noexcept {
        return result;
    }
};

namespace detail {

// Takes what a call site that is compiled out names, so that it is still checked and nothing of it goes unused.
template <class... Arguments>
void Ignore(const char*, const char*, const Arguments&...) noexcept {}

}  // namespace detail
}  // namespace recorder
}  // namespace qx
