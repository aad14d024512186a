// The kinds of values that a call takes, each with its description and its bytes. A further kind is a further Value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "qx/detail/encoder.h"
#include "qx/detail/format.h"
#include "qx/detail/site.h"

namespace qx {
namespace recorder {

// How the members of a struct are found; see QX_TRACE_STRUCT.
template <class T>
struct StructTrait;

namespace detail {

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

// At most kMaxText bytes; inside structs the format gives kCompositeSize and kVariableSize a meaning of their own.
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

}  // namespace detail
}  // namespace recorder
}  // namespace qx
