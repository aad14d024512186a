// Values of imported calls, typed as the recorder would have typed them.
#pragma once

#include <qx/dumps.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace qxlt {

using ImportedValue = qx::host::Value;
using ImportedType = qx::host::ValueType;

// What of a value, or of all values of a call, is kept: beyond it they have no place in a dump.
inline constexpr std::size_t kMostElements = 1000;
inline constexpr std::size_t kMostValues = 64;
inline constexpr std::size_t kMostNameBytes = 255;

// As much of a name as is kept.
inline std::string ImportedName(const std::string& name) {
    return name.substr(0, kMostNameBytes);
}

// A whole number of 8, 16, 32 or 64 bits: as many as the given ones fit into.
ImportedValue IntegerValue(std::uint64_t number, std::uint64_t bits, bool isSigned);

ImportedValue FloatValue(float number);
ImportedValue FloatValue(double number);
ImportedValue BoolValue(bool value);
ImportedValue TextValue(const std::string& text);

// A list of plain values of one type, named by it: "int32_t[]". Elements past kMostElements are left out. Requires:
// all have the type; a text is plain, too.
ImportedValue ListValue(const ImportedType& element, const std::vector<ImportedValue>& elements);

// Whether values of these two types may stand in one list, and whether a value may stand in any.
bool IsSame(const ImportedType& one, const ImportedType& other);
bool IsPlain(const ImportedType& type);

// A composite of named plain values.
using NamedValues = std::vector<std::pair<std::string, ImportedValue>>;
ImportedValue StructValue(const std::string& typeName, const NamedValues& members);

}  // namespace qxlt
