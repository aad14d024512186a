// A traced value as the type of its place in a call site tells to read it: a number, a text, true or false.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

namespace qxlt {

enum class ValueKind : std::uint8_t { Untold, Bool, Signed, Unsigned, Float, Text };

// How the bytes of a value are read.
struct ValueType {
    ValueKind kind = ValueKind::Untold;
    std::uint32_t size = 0;  // the bytes that a value has; of a counted one the size mark
};

// Names of types are the program's own: those of C, C++ and their usual libraries are known, and everything else that
// is counted is a text unless it is named like a list. `size` is a size word of the trace format; a composite is no
// value.
ValueType ValueTypeOf(const std::string& name, std::uint32_t size);

// Whether values of that type are numbers with a fraction, and texts.
bool IsFraction(const std::string& typeName);
bool IsTextType(const std::string& typeName);

// std::monostate: the type does not tell. A text lies in the bytes that were handed over.
using TypedValue = std::variant<std::monostate, bool, std::int64_t, std::uint64_t, float, double, std::string_view>;

// Reads the bytes as the process had them, the least significant first. Nothing is told of bytes that are not as many
// as the type has.
TypedValue ReadValue(ValueType type, std::string_view bytes);

}  // namespace qxlt
