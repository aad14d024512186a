#include "TypedValue.h"

#include <algorithm>
#include <cstring>

#include "QxFormat.h"

namespace qxlt {

namespace {

struct NamedKind {
    std::string_view name;
    ValueKind kind;
};

// A plain char has no sign where the tracker runs first, and scripts read it so.
constexpr NamedKind kNames[] = {
    {"bool", ValueKind::Bool},         {"_Bool", ValueKind::Bool},         {"boolean", ValueKind::Bool},
    {"Bool", ValueKind::Bool},         {"gboolean", ValueKind::Bool},      {"char", ValueKind::Unsigned},
    {"int8_t", ValueKind::Signed},     {"int16_t", ValueKind::Signed},     {"int32_t", ValueKind::Signed},
    {"int64_t", ValueKind::Signed},    {"uint8_t", ValueKind::Unsigned},   {"uint16_t", ValueKind::Unsigned},
    {"uint32_t", ValueKind::Unsigned}, {"uint64_t", ValueKind::Unsigned},  {"int8", ValueKind::Signed},
    {"int16", ValueKind::Signed},      {"int32", ValueKind::Signed},       {"int64", ValueKind::Signed},
    {"uint8", ValueKind::Unsigned},    {"uint16", ValueKind::Unsigned},    {"uint32", ValueKind::Unsigned},
    {"uint64", ValueKind::Unsigned},   {"uint", ValueKind::Unsigned},      {"ushort", ValueKind::Unsigned},
    {"ulong", ValueKind::Unsigned},    {"uchar", ValueKind::Unsigned},     {"byte", ValueKind::Unsigned},
    {"size_t", ValueKind::Unsigned},   {"uintptr_t", ValueKind::Unsigned}, {"ssize_t", ValueKind::Signed},
    {"ptrdiff_t", ValueKind::Signed},  {"intptr_t", ValueKind::Signed},    {"time_t", ValueKind::Signed},
    {"float", ValueKind::Float},       {"double", ValueKind::Float},       {"long double", ValueKind::Float},
    {"gint", ValueKind::Signed},       {"guint", ValueKind::Unsigned},
};

constexpr std::string_view kIntegerWords[] = {"signed", "unsigned", "int", "short", "long", "char"};

bool HoldsAny(const std::string& text, std::initializer_list<const char*> words) {
    return std::any_of(words.begin(), words.end(),
                       [&](const char* word) { return text.find(word) != std::string::npos; });
}

bool RemovePrefix(std::string_view& text, std::string_view prefix) {
    if (text.substr(0, prefix.size()) != prefix) return false;
    text.remove_prefix(prefix.size());
    return true;
}

// Without what changes nothing about the bytes.
std::string_view CoreOf(std::string_view name) {
    while (RemovePrefix(name, "const ") || RemovePrefix(name, "volatile ") || RemovePrefix(name, "std::")) continue;
    while (!name.empty() && (name.back() == '&' || name.back() == ' ')) name.remove_suffix(1);
    return name;
}

// "unsigned long int" and the like, in whatever order.
ValueKind KindOfWords(std::string_view name) {
    ValueKind kind = ValueKind::Signed;
    while (!name.empty()) {
        const std::string_view word = name.substr(0, name.find(' '));
        if (std::find(std::begin(kIntegerWords), std::end(kIntegerWords), word) == std::end(kIntegerWords)) {
            return ValueKind::Untold;
        }
        if (word == "unsigned") kind = ValueKind::Unsigned;
        name.remove_prefix(std::min(name.size(), word.size() + 1));
    }
    return kind;
}

ValueKind KindOfNumber(std::string_view name) {
    if (name.empty()) return ValueKind::Untold;
    const auto* const found = std::find_if(std::begin(kNames), std::end(kNames),
                                           [name](const NamedKind& named) { return named.name == name; });
    if (found != std::end(kNames)) return found->kind;
    return name.back() == '*' ? ValueKind::Unsigned : KindOfWords(name);
}

bool IsListName(std::string_view name) {
    return name.find_first_of("<[") != std::string_view::npos;
}

bool HasReadableSize(ValueKind kind, std::uint32_t size) {
    if (kind == ValueKind::Float) return size == sizeof(float) || size == sizeof(double);
    return size == 1 || size == 2 || size == 4 || size == 8;
}

std::uint64_t ReadUnsigned(std::string_view bytes) {
    std::uint64_t number = 0;
    for (std::size_t i = bytes.size(); i-- > 0;) number = number << 8 | static_cast<unsigned char>(bytes[i]);
    return number;
}

std::int64_t ReadSigned(std::string_view bytes) {
    const unsigned unused = 64 - 8 * static_cast<unsigned>(bytes.size());
    return static_cast<std::int64_t>(ReadUnsigned(bytes) << unused) >> unused;
}

template <typename Number, typename Bits>
Number NumberOf(std::uint64_t wide) {
    static_assert(sizeof(Number) == sizeof(Bits));
    const auto bits = static_cast<Bits>(wide);
    Number number;
    std::memcpy(&number, &bits, sizeof number);
    return number;
}

TypedValue ReadFraction(std::string_view bytes) {
    const std::uint64_t bits = ReadUnsigned(bytes);
    if (bytes.size() == sizeof(float)) return NumberOf<float, std::uint32_t>(bits);
    return NumberOf<double, std::uint64_t>(bits);
}

}  // namespace

bool IsFraction(const std::string& typeName) {
    return HoldsAny(typeName, {"float", "double"});
}

bool IsTextType(const std::string& typeName) {
    return typeName == "text" || HoldsAny(typeName, {"string", "String", "char*", "char *"});
}

ValueType ValueTypeOf(const std::string& name, std::uint32_t size) {
    if (size == 0 || size == qxformat::kComposite || IsListName(name)) return {};
    if (size == qxformat::kVariableLength || IsTextType(name)) return {ValueKind::Text, size};
    const ValueKind kind = KindOfNumber(CoreOf(name));
    return HasReadableSize(kind, size) ? ValueType{kind, size} : ValueType{};
}

TypedValue ReadValue(ValueType type, std::string_view bytes) {
    if (type.kind == ValueKind::Untold) return {};
    if (type.size != qxformat::kVariableLength && type.size != bytes.size()) return {};
    switch (type.kind) {
        case ValueKind::Bool:
            return ReadUnsigned(bytes) != 0;
        case ValueKind::Signed:
            return ReadSigned(bytes);
        case ValueKind::Unsigned:
            return ReadUnsigned(bytes);
        case ValueKind::Float:
            return ReadFraction(bytes);
        default:
            return bytes;
    }
}

}  // namespace qxlt
