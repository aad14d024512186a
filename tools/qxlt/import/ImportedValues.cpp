#include "ImportedValues.h"

#include <algorithm>
#include <cstring>

namespace qxlt {

namespace {

using qx::host::AppendCount;
using qx::host::AppendNumber;
using qx::host::AppendText;

ImportedValue PlainValue(const std::string& type, std::uint32_t size, std::uint64_t bits) {
    ImportedValue value;
    value.type.name = type;
    value.type.members = {{"", type, size}};
    AppendNumber(value.bytes, bits, size);
    return value;
}

template <typename Bits, typename Number>
Bits BitsOf(Number number) {
    static_assert(sizeof(Bits) == sizeof(Number));
    Bits bits = 0;
    std::memcpy(&bits, &number, sizeof bits);
    return bits;
}

}  // namespace

ImportedValue IntegerValue(std::uint64_t number, std::uint64_t bits, bool isSigned) {
    std::uint32_t size = 1;
    while (size < 8 && bits > std::uint64_t{size} * 8) size *= 2;
    return PlainValue((isSigned ? "int" : "uint") + std::to_string(std::uint64_t{size} * 8) + "_t", size, number);
}

ImportedValue FloatValue(float number) {
    return PlainValue("float", sizeof number, BitsOf<std::uint32_t>(number));
}

ImportedValue FloatValue(double number) {
    return PlainValue("double", sizeof number, BitsOf<std::uint64_t>(number));
}

ImportedValue BoolValue(bool value) {
    return PlainValue("bool", 1, value ? 1 : 0);
}

ImportedValue TextValue(const std::string& text) {
    ImportedValue value;
    value.type.name = "string";
    value.type.members = {{"", "string", ImportedType::kCounted}};
    AppendText(value.bytes, text);
    return value;
}

bool IsPlain(const ImportedType& type) {
    return !type.isList && type.members.size() == 1 && type.members.front().name.empty();
}

bool IsSame(const ImportedType& one, const ImportedType& other) {
    return one.name == other.name && one.isList == other.isList && one.members.size() == other.members.size();
}

ImportedValue ListValue(const ImportedType& element, const std::vector<ImportedValue>& elements) {
    ImportedValue list;
    list.type = element;
    list.type.name += "[]";
    list.type.isList = true;
    const std::size_t count = std::min(elements.size(), kMostElements);
    AppendCount(list.bytes, count);
    for (std::size_t i = 0; i < count; ++i) list.bytes += elements[i].bytes;
    return list;
}

ImportedValue StructValue(const std::string& typeName, const NamedValues& members) {
    ImportedValue whole;
    whole.type.name = ImportedName(typeName);
    for (const auto& [name, value] : members) {
        ImportedType::Plain member = value.type.members.front();
        member.name = ImportedName(name);
        whole.type.members.push_back(std::move(member));
        whole.bytes += value.bytes;
    }
    return whole;
}

}  // namespace qxlt
