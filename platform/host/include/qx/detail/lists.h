// Lists of values, each with its description and its bytes. A further kind of list is a further ListTrait.
#pragma once

#include <array>
#include <cstddef>
#include <iterator>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "qx/detail/encoder.h"
#include "qx/detail/format.h"
#include "qx/detail/site.h"
#include "qx/detail/values.h"

namespace qx {
namespace recorder {
namespace detail {

// What a list is called, given its elements' name, and what they are.
template <class T>
struct ListTrait {
    static constexpr bool kIsList = false;
};
template <class E>
struct ListOf {
    static constexpr bool kIsList = true;
    using Element = E;
};

template <class E, class A>
struct ListTrait<std::vector<E, A>> : ListOf<E> {
    static std::string Name(const std::string& element) { return "vector<" + element + ">"; }
};
template <class E, std::size_t N>
struct ListTrait<std::array<E, N>> : ListOf<std::remove_cv_t<E>> {
    static std::string Name(const std::string& element) { return "array<" + element + "," + std::to_string(N) + ">"; }
};
template <class E, std::size_t N>
struct ListTrait<E[N]> : ListTrait<std::array<E, N>> {
    static constexpr bool kIsList = !kIsText<E[N]>;
};
template <class E>
struct ListTrait<std::optional<E>> : ListOf<std::remove_cv_t<E>> {
    static std::string Name(const std::string& element) { return "optional<" + element + ">"; }
};
template <class E, class C, class A>
struct ListTrait<std::set<E, C, A>> : ListOf<E> {
    static std::string Name(const std::string& element) { return "set<" + element + ">"; }
};
template <class E, class C, class A>
struct ListTrait<std::multiset<E, C, A>> : ListOf<E> {
    static std::string Name(const std::string& element) { return "multiset<" + element + ">"; }
};
template <class E, class H, class Q, class A>
struct ListTrait<std::unordered_set<E, H, Q, A>> : ListOf<E> {
    static std::string Name(const std::string& element) { return "unordered_set<" + element + ">"; }
};
template <class K, class V, class C, class A>
struct ListTrait<std::map<K, V, C, A>> : ListOf<std::pair<const K, V>> {
    static std::string Name(const std::string& entry) { return "map<" + entry + ">"; }
};
template <class K, class V, class C, class A>
struct ListTrait<std::multimap<K, V, C, A>> : ListOf<std::pair<const K, V>> {
    static std::string Name(const std::string& entry) { return "multimap<" + entry + ">"; }
};
template <class K, class V, class H, class Q, class A>
struct ListTrait<std::unordered_map<K, V, H, Q, A>> : ListOf<std::pair<const K, V>> {
    static std::string Name(const std::string& entry) { return "unordered_map<" + entry + ">"; }
};

template <class E, class H, class Q, class A>
struct ListTrait<std::unordered_multiset<E, H, Q, A>> : ListOf<E> {
    static std::string Name(const std::string& element) { return "unordered_multiset<" + element + ">"; }
};
template <class K, class V, class H, class Q, class A>
struct ListTrait<std::unordered_multimap<K, V, H, Q, A>> : ListOf<std::pair<const K, V>> {
    static std::string Name(const std::string& entry) { return "unordered_multimap<" + entry + ">"; }
};

template <class T>
const T& Elements(const T& list) noexcept {
    return list;
}
// A value that may be missing is a list of one at most.
template <class E>
struct OptionalElements {
    const E* one;
    const E* begin() const { return one; }
    const E* end() const { return one + size(); }
    std::size_t size() const { return one != nullptr ? 1 : 0; }
};
template <class E>
OptionalElements<E> Elements(const std::optional<E>& value) noexcept {
    return {value ? &*value : nullptr};
}

// An entry of a map: its key and its value, one after the other. It is no value by itself.
template <class K, class V>
struct Value<std::pair<const K, V>, void> {
    using Key = Value<Known<K>>;
    using Mapped = Value<Known<V>>;
    static constexpr bool kIsPlain = Key::kIsPlain && Mapped::kIsPlain;

    static std::vector<Member> Members(Location& location) {
        std::vector<Member> members;
        members.push_back({"key", Key::AsMember(location)});
        members.push_back({"value", Mapped::AsMember(location)});
        return members;
    }
    // Gives its map a name.
    static Type AsMember(Location& location) {
        return {Key::AsMember(location).name + "," + Mapped::AsMember(location).name, 0};
    }
    static void EncodeMember(Encoder& encoder, const std::pair<const K, V>& entry) noexcept {
        Key::EncodeMember(encoder, entry.first);
        Mapped::EncodeMember(encoder, entry.second);
    }
    static std::size_t RunSize(const std::pair<const K, V>& entry) noexcept {
        return Key::RunSize(entry.first) + Mapped::RunSize(entry.second);
    }
    static void PutRun(Encoder& encoder, const std::pair<const K, V>& entry) noexcept {
        Key::PutRun(encoder, entry.first);
        Mapped::PutRun(encoder, entry.second);
    }
};

template <class E, class = void>
constexpr bool kHasMembers = false;
template <class E>
constexpr bool kHasMembers<E, std::void_t<decltype(Value<E>::Members(std::declval<Location&>()))>> = true;

template <class T>
struct Value<T, std::enable_if_t<ListTrait<T>::kIsList>> {
    using E = typename ListTrait<T>::Element;
    using Element = Value<Known<E>>;
    static constexpr bool kIsPlain = false;

    static std::string Name(Location& location) { return ListTrait<T>::Name(Element::AsMember(location).name); }

    // The members of a struct stand in the container's own layout, so that a list of structs reads as their members one
    // after the other.
    static Type AsArgument(Location& location) {
        const std::string name = Name(location);
        std::vector<Member> members;
        if constexpr (kHasMembers<E>)
            members = Element::Members(location);
        else
            members.push_back({"", Element::AsMember(location)});
        location.descriptors.push_back({name, true, std::move(members)});
        return {name, kCompositeSize};
    }
    static Type AsMember(Location& location) { return {Name(location), kVariableSize}; }

    static void Encode(Encoder& encoder, const T& list) noexcept {
        const auto& elements = Elements(list);
        const std::size_t size = std::size(elements);
        const std::size_t count = size < kMaxElements ? size : kMaxElements;
        if (count < size) encoder.MarkCut();
        encoder.PutVarint(count);
        std::size_t left = count;
        for (const auto& element : elements) {
            if (left-- == 0) break;
            Element::EncodeMember(encoder, element);
        }
    }

    static void EncodeMember(Encoder& encoder, const T& list) noexcept {
        static_assert(Element::kIsPlain, "a list inside a value holds numbers or texts only");
        if constexpr (Element::kIsPlain) EncodeRun(encoder, Elements(list));
    }

private:
    // Whole elements only.
    template <class L>
    static void EncodeRun(Encoder& encoder, const L& elements) noexcept {
        std::size_t count = 0;
        std::size_t size = 0;
        for (const auto& element : elements) {
            const std::size_t one = Element::RunSize(element);
            if (one > kMaxText - size) break;
            size += one;
            ++count;
        }
        if (count < std::size(elements)) encoder.MarkCut();
        encoder.PutVarint(size);
        for (const auto& element : elements) {
            if (count-- == 0) break;
            Element::PutRun(encoder, element);
        }
    }
};

}  // namespace detail
}  // namespace recorder
}  // namespace qx
