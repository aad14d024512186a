#include "QxCValues.h"

#include <cstring>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <vector>

#include "qx/detail/call.h"
#include "qx/detail/values.h"

namespace qxhost {

using namespace qx::recorder::detail;

namespace {

// What C++ does with the values of a type that needs no table.
struct Kind {
    Type (*asArgument)(Location& location);
    Type (*asMember)(Location& location);
    void (*encode)(Encoder& encoder, const void* at);
    void (*encodeLog)(Encoder& encoder, const void* at);
};

template <class T>
T ReadAt(const void* at) noexcept {
    T value;
    std::memcpy(&value, at, sizeof(value));
    return value;
}

// Arguments and members of these types are written alike.
template <class T>
constexpr Kind Of() {
    return {&Value<T>::AsArgument, &Value<T>::AsMember,
            [](Encoder& encoder, const void* at) { Value<T>::Encode(encoder, ReadAt<T>(at)); },
            [](Encoder& encoder, const void* at) { EncodeLogValue<T>(encoder, ReadAt<T>(at)); }};
}

// In the order of qx_kind.
constexpr Kind kKinds[] = {{},
                           Of<bool>(),
                           Of<char>(),
                           Of<signed char>(),
                           Of<unsigned char>(),
                           Of<short>(),
                           Of<unsigned short>(),
                           Of<int>(),
                           Of<unsigned int>(),
                           Of<long>(),
                           Of<unsigned long>(),
                           Of<long long>(),
                           Of<unsigned long long>(),
                           Of<float>(),
                           Of<double>(),
                           Of<long double>(),
                           Of<const void*>(),
                           Of<const char*>()};
static_assert(std::size(kKinds) == QX_KIND_text + 1);

constexpr std::size_t kMaxMembers = 1024;  // as many as the control takes

// Where a value lies, and what it is.
struct Place {
    std::uint32_t kind;
    const void* at;
    const qx_struct* layout;  // of a struct
    std::size_t size;         // of characters and bytes
};

bool IsText(std::uint32_t kind) {
    return kind == QX_KIND_CHARS || kind == QX_KIND_BYTES;
}

Place PlaceOf(const qx_value& value) noexcept {
    if (value.kind == QX_KIND_STRUCT) return {value.kind, value.at, static_cast<const qx_struct*>(value.more), 0};
    return {value.kind, value.at, nullptr, IsText(value.kind) ? ReadAt<std::size_t>(value.more) : 0};
}

Place PlaceOf(const qx_member& member, const void* owner) noexcept {
    const char* at = static_cast<const char*>(owner) + member.offset;
    if (member.kind == QX_KIND_CHARS) return {member.kind, at, nullptr, member.more};
    if (member.kind != QX_KIND_BYTES) return {member.kind, at, member.layout, 0};
    const std::size_t size = ReadAt<std::size_t>(static_cast<const char*>(owner) + member.more);
    return {member.kind, ReadAt<const void*>(at), nullptr, size};
}

std::string_view TextAt(const Place& place) noexcept {
    const char* const text = static_cast<const char*>(place.at);
    if (text == nullptr) return {};
    return {text, place.kind == QX_KIND_CHARS ? ::strnlen(text, place.size) : place.size};
}

void CheckTable(const qx_struct& table) {
    if (table.count == 0 || table.count > kMaxMembers) throw std::length_error("a struct has no members, or too many");
}

Type DescribeStruct(Location& location, const qx_struct& table);

Type AsMember(Location& location, std::uint32_t kind, const qx_struct* layout) {
    if (kind == QX_KIND_STRUCT) return DescribeStruct(location, *layout);
    return IsText(kind) ? Value<std::string_view>::AsMember(location) : kKinds[kind].asMember(location);
}

Type AsArgument(Location& location, std::uint32_t kind, const qx_struct* layout) {
    if (kind == QX_KIND_STRUCT) return DescribeStruct(location, *layout);
    return IsText(kind) ? Value<std::string_view>::AsArgument(location) : kKinds[kind].asArgument(location);
}

Type DescribeStruct(Location& location, const qx_struct& table) {
    CheckTable(table);
    std::vector<Member> members;
    for (std::size_t i = 0; i < table.count; ++i) {
        const qx_member& member = table.members[i];
        members.push_back({member.name, AsMember(location, member.kind, member.layout)});
    }
    location.descriptors.push_back({table.name, false, std::move(members)});
    return {table.name, kCompositeSize};
}

void Encode(Encoder& encoder, const Place& place) noexcept {
    if (place.kind == QX_KIND_STRUCT) {
        for (std::size_t i = 0; i < place.layout->count; ++i) {
            Encode(encoder, PlaceOf(place.layout->members[i], place.at));
        }
    } else if (IsText(place.kind)) {
        Value<std::string_view>::Encode(encoder, TextAt(place));
    } else {
        kKinds[place.kind].encode(encoder, place.at);
    }
}

// A log item has no composite values: the members of a struct stand one by one.
void DescribeLogValue(Location& location, std::uint32_t kind, const qx_struct* layout) {
    if (kind != QX_KIND_STRUCT) {
        location.arguments.push_back({AsMember(location, kind, nullptr), kAtEntry});
        return;
    }
    CheckTable(*layout);
    for (std::size_t i = 0; i < layout->count; ++i) {
        DescribeLogValue(location, layout->members[i].kind, layout->members[i].layout);
    }
}

void EncodeLogPlace(Encoder& encoder, const Place& place) noexcept {
    if (place.kind == QX_KIND_STRUCT) {
        for (std::size_t i = 0; i < place.layout->count; ++i) {
            EncodeLogPlace(encoder, PlaceOf(place.layout->members[i], place.at));
        }
    } else if (IsText(place.kind)) {
        EncodeLogValue<std::string_view>(encoder, TextAt(place));
    } else {
        kKinds[place.kind].encodeLog(encoder, place.at);
    }
}

const qx_struct* LayoutOf(const qx_value& value) {
    return value.kind == QX_KIND_STRUCT ? static_cast<const qx_struct*>(value.more) : nullptr;
}

}  // namespace

void QxCValues::DescribeCall(Location& location) const {
    for (const qx_value* value = m_values; value->kind != QX_KIND_NONE; ++value) {
        location.arguments.push_back({AsArgument(location, value->kind, LayoutOf(*value)), value->flags});
    }
    if (m_resultKind != QX_KIND_NONE) location.result = AsArgument(location, m_resultKind, m_layout);
}

void QxCValues::DescribeLog(Location& location) const {
    for (const qx_value* value = m_values; value->kind != QX_KIND_NONE; ++value) {
        DescribeLogValue(location, value->kind, LayoutOf(*value));
    }
}

void QxCValues::EncodeArguments(Encoder& encoder, unsigned flag) const noexcept {
    for (const qx_value* value = m_values; value->kind != QX_KIND_NONE; ++value) {
        if ((value->flags & flag) != 0) Encode(encoder, PlaceOf(*value));
    }
}

void QxCValues::EncodeResult(Encoder& encoder, const void* result) const noexcept {
    Encode(encoder, {m_resultKind, result, m_layout, 0});
}

void QxCValues::EncodeLog(Encoder& encoder) const noexcept {
    for (const qx_value* value = m_values; value->kind != QX_KIND_NONE; ++value) {
        EncodeLogPlace(encoder, PlaceOf(*value));
    }
}

}  // namespace qxhost
