// The kinds of values that a call takes, each with its description and its bytes. A further kind is a further Value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include "qx/detail/encoder.h"
#include "qx/detail/format.h"
#include "qx/detail/site.h"

// What the program's own macros define stands in a namespace that has no other names: within it, the names of the
// program's types mean what they mean at global scope. So do they within the traits, whose members have names of our
// own.
namespace qx_traits {

// How the members of a struct are found; see QX_TRACE_STRUCT.
template <class T>
struct StructTrait;

// The names of an enumeration's values; see QX_TRACE_ENUM.
template <class T>
struct EnumTrait;

}  // namespace qx_traits

namespace qx {
namespace recorder {
namespace detail {

using qx_traits::EnumTrait;
using qx_traits::StructTrait;

template <class T, class = void>
constexpr bool kHasEnumTrait = false;
// The size asks whether the trait is defined.
template <class T>  // NOLINTNEXTLINE(bugprone-sizeof-expression)
constexpr bool kHasEnumTrait<T, std::enable_if_t<(sizeof(EnumTrait<T>) > 0)>> = true;

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
constexpr bool kIsInteger = (std::is_integral_v<T> && sizeof(T) <= 8) || (std::is_enum_v<T> && !kHasEnumTrait<T>);

template <class T>
constexpr bool kIsText = !std::is_null_pointer_v<T> && (std::is_convertible_v<const T&, std::string_view> ||
                                                        std::is_same_v<T, const char*> || std::is_same_v<T, char*>);

// Addresses; a pointer to characters is a text.
template <class T>
constexpr bool kIsAddress = !kIsText<T> && (std::is_pointer_v<T> || std::is_null_pointer_v<T>);

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

// Named so that the compiler says what to do in the line in which it says for which type.
template <class T>
struct QX_TRACE_STRUCT_is_missing_for {
    static constexpr bool value = false;
};

// How values of a type are described and written. AsArgument is a type's description as an argument or result of a
// call, AsMember as a member of a struct or element of a list; Encode writes what follows the one, EncodeMember the
// other. A plain value is a number or a text, which also goes into log items and, by PutRun with RunSize bytes, into
// lists within values.
//
// This one stands for all types that are not known. Of its members nothing is wanted but that the compiler finds them,
// and has no more to say than one line.
template <class T, class Enable = void>
struct Value {
    static constexpr bool kIsPlain = true;
    static Type AsArgument(Location&) { return {}; }
    static Type AsMember(Location&) { return {}; }
    static void Encode(Encoder&, const T&) noexcept {}
    static void EncodeMember(Encoder&, const T&) noexcept {}
    static std::size_t RunSize(const T&) noexcept { return 0; }
    static void PutRun(Encoder&, const T&) noexcept {}

    // Last, since a compiler may leave out what follows.
    static_assert(QX_TRACE_STRUCT_is_missing_for<T>::value,
                  "this type is not known to the recorder: describe it by QX_TRACE_STRUCT(type, member...)");
};

// The type itself, at which the compiler looks here: where it is marked there is the least to say besides.
template <class T>
using Known = std::enable_if_t<(alignof(Value<std::conditional_t<std::is_void_v<T>, int, T>>) > 0), T>;

// What all values of a fixed size have in common. `Own` has Name and Encode.
template <class T, class Own>
struct FixedValue {
    static constexpr bool kIsPlain = true;
    static Type AsArgument(Location&) { return {Own::Name(), sizeof(T)}; }
    static Type AsMember(Location& location) { return AsArgument(location); }
    static void EncodeMember(Encoder& encoder, const T& value) noexcept { Own::Encode(encoder, value); }
    static std::size_t RunSize(const T&) noexcept { return sizeof(T); }
    static void PutRun(Encoder& encoder, const T& value) noexcept { Own::Encode(encoder, value); }
};

template <class T>
struct Value<T, std::enable_if_t<kIsInteger<T>>> : FixedValue<T, Value<T>> {
    static std::string Name() { return IntegerName<T>(); }
    static void Encode(Encoder& encoder, T value) noexcept { encoder.PutInteger(value); }
};

// Its bytes, the least significant first as of integers. Those that only fill up the room of a long double are zero.
template <class T>
struct Value<T, std::enable_if_t<std::is_floating_point_v<T>>> : FixedValue<T, Value<T>> {
    static std::string Name() {
        if constexpr (std::is_same_v<T, float>)
            return "float";
        else
            return std::is_same_v<T, double> ? "double" : "long double";
    }
    static void Encode(Encoder& encoder, T value) noexcept {
        constexpr std::size_t kUsed = std::numeric_limits<T>::digits == 64 ? 10 : sizeof(T);
        constexpr bool kIsBig = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;
        unsigned char bytes[sizeof(T)] = {};
        std::memcpy(bytes, &value, kUsed);
        for (std::size_t i = 0; i < sizeof(T); ++i) encoder.PutByte(bytes[kIsBig ? sizeof(T) - 1 - i : i]);
    }
};

template <class T>
struct Value<T, std::enable_if_t<kIsAddress<T>>> : FixedValue<T, Value<T>> {
    static std::string Name() { return "void*"; }
    static void Encode(Encoder& encoder, T value) noexcept {
        encoder.PutInteger(reinterpret_cast<std::uintptr_t>(value));
    }
};

// What all values that are written as texts have in common. `Own` has Name, and Text, which gives what a string_view is
// made of.
//
// An argument is sent as a struct with one nameless member: it reads like a plain text, but an empty one keeps its
// place in the list of arguments, which a plain empty text would not.
template <class T, class Own>
struct TextValue {
    static constexpr bool kIsPlain = true;
    static Type AsArgument(Location& location) {
        location.descriptors.push_back({Own::Name(), false, {{"", AsMember(location)}}});
        return {Own::Name(), kCompositeSize};
    }
    static Type AsMember(Location&) { return {Own::Name(), kVariableSize}; }
    static void Encode(Encoder& encoder, const T& value) noexcept {
        const auto& whole = Own::Text(value);
        const std::string_view text = CutText(encoder, whole);
        encoder.PutVarint(text.size());
        encoder.Put(text.data(), text.size());
    }
    static void EncodeMember(Encoder& encoder, const T& value) noexcept { Encode(encoder, value); }
    static std::size_t RunSize(const T& value) noexcept { return std::string_view(Own::Text(value)).size() + 1; }
    static void PutRun(Encoder& encoder, const T& value) noexcept {
        const auto& whole = Own::Text(value);
        const std::string_view text = whole;
        encoder.Put(text.data(), text.size());
        encoder.PutByte(0);
    }
};

template <class T>
struct Value<T, std::enable_if_t<kIsText<T>>> : TextValue<T, Value<T>> {
    static std::string Name() { return "string"; }
    static std::string_view Text(const T& value) noexcept { return TextOf(value); }
};

template <class T>  // the size asks whether the trait is defined. NOLINTNEXTLINE(bugprone-sizeof-expression)
struct Value<T, std::enable_if_t<(sizeof(StructTrait<T>) > 0)>> {
    static constexpr bool kIsPlain = false;
    static std::vector<Member> Members(Location& location) {
        std::vector<Member> members;
        StructTrait<T>::QxForEach([&](const char* name, auto member) {
            using Of = MemberOf<decltype(std::declval<const T&>().*member)>;
            members.push_back({name, Value<Of>::AsMember(location)});
        });
        return members;
    }
    static Type AsArgument(Location& location) {
        std::vector<Member> members = Members(location);
        location.descriptors.push_back({StructTrait<T>::QxName(), false, std::move(members)});
        return {StructTrait<T>::QxName(), kCompositeSize};
    }
    static Type AsMember(Location& location) { return AsArgument(location); }
    static void Encode(Encoder& encoder, const T& value) noexcept {
        StructTrait<T>::QxForEach([&](const char*, auto member) {
            using Of = MemberOf<decltype(value.*member)>;
            Value<Of>::EncodeMember(encoder, value.*member);
        });
    }
    static void EncodeMember(Encoder& encoder, const T& value) noexcept { Encode(encoder, value); }
};

}  // namespace detail
}  // namespace recorder
}  // namespace qx
