// Lists of values, each with its description and its bytes.
#pragma once

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "qx/detail/encoder.h"
#include "qx/detail/format.h"
#include "qx/detail/site.h"
#include "qx/detail/values.h"

namespace qx {
namespace recorder {
namespace detail {

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

}  // namespace detail
}  // namespace recorder
}  // namespace qx
