#include "CtfFields.h"

#include <algorithm>
#include <cstdio>

namespace qxlt {

namespace {

constexpr unsigned kMostDepth = 16;

bool Is(const bt_field* field, bt_field_class_type type) {
    return bt_field_class_type_is(bt_field_get_class_type(field), type);
}

const char* MemberName(const bt_field_class* structure, std::uint64_t index) {
    return bt_field_class_structure_member_get_name(
        bt_field_class_structure_borrow_member_by_index_const(structure, index));
}

// One that is made of no others; nothing for those.
std::optional<ImportedValue> PlainOf(const bt_field* field) {
    const bt_field_class* const type = bt_field_borrow_class_const(field);
    if (Is(field, BT_FIELD_CLASS_TYPE_UNSIGNED_INTEGER)) {
        return IntegerValue(bt_field_integer_unsigned_get_value(field),
                            bt_field_class_integer_get_field_value_range(type), false);
    }
    if (Is(field, BT_FIELD_CLASS_TYPE_SIGNED_INTEGER)) {
        return IntegerValue(static_cast<std::uint64_t>(bt_field_integer_signed_get_value(field)),
                            bt_field_class_integer_get_field_value_range(type), true);
    }
    if (Is(field, BT_FIELD_CLASS_TYPE_BIT_ARRAY)) {
        return IntegerValue(bt_field_bit_array_get_value_as_integer(field), bt_field_class_bit_array_get_length(type),
                            false);
    }
    if (Is(field, BT_FIELD_CLASS_TYPE_BOOL)) return BoolValue(bt_field_bool_get_value(field) != BT_FALSE);
    if (Is(field, BT_FIELD_CLASS_TYPE_SINGLE_PRECISION_REAL)) {
        return FloatValue(bt_field_real_single_precision_get_value(field));
    }
    if (Is(field, BT_FIELD_CLASS_TYPE_DOUBLE_PRECISION_REAL)) {
        return FloatValue(bt_field_real_double_precision_get_value(field));
    }
    if (Is(field, BT_FIELD_CLASS_TYPE_STRING)) return TextValue(bt_field_string_get_value(field));
    return std::nullopt;
}

std::string Joined(const std::string& way, const std::string& name) {
    return way.empty() ? name : way + "." + name;
}

// Adds the plain values in the field, until there are enough.
void Flatten(const std::string& way, const bt_field* field, unsigned depth, NamedValues& values) {
    if (field == nullptr || depth > kMostDepth || values.size() >= kMostElements) return;
    if (std::optional<ImportedValue> plain = PlainOf(field)) {
        values.emplace_back(way, std::move(*plain));
        return;
    }
    if (Is(field, BT_FIELD_CLASS_TYPE_STRUCTURE)) {
        const bt_field_class* const type = bt_field_borrow_class_const(field);
        for (std::uint64_t i = 0; i < bt_field_class_structure_get_member_count(type); ++i) {
            Flatten(Joined(way, MemberName(type, i)), bt_field_structure_borrow_member_field_by_index_const(field, i),
                    depth + 1, values);
        }
        return;
    }
    const std::vector<const bt_field*> elements = ElementsOf(field);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        Flatten(Joined(way, std::to_string(i)), elements[i], depth + 1, values);
    }
    Flatten(way, ContentOf(field), depth + 1, values);
}

// What the elements of an array are when there is none to see.
ImportedType ElementType(const bt_field* array) {
    const bt_field_class* const type =
        bt_field_class_array_borrow_element_field_class_const(bt_field_borrow_class_const(array));
    const bt_field_class_type kind = bt_field_class_get_type(type);
    const bool isSigned = bt_field_class_type_is(kind, BT_FIELD_CLASS_TYPE_SIGNED_INTEGER);
    if (isSigned || bt_field_class_type_is(kind, BT_FIELD_CLASS_TYPE_UNSIGNED_INTEGER)) {
        return IntegerValue(0, bt_field_class_integer_get_field_value_range(type), isSigned).type;
    }
    if (kind == BT_FIELD_CLASS_TYPE_SINGLE_PRECISION_REAL) return FloatValue(0.0F).type;
    if (kind == BT_FIELD_CLASS_TYPE_DOUBLE_PRECISION_REAL) return FloatValue(0.0).type;
    return TextValue("").type;
}

// Nothing when the elements are no plain values of one type.
std::optional<ImportedValue> ListOf(const bt_field* array) {
    std::vector<ImportedValue> values;
    for (const bt_field* const element : ElementsOf(array)) {
        std::optional<ImportedValue> value = PlainOf(element);
        if (!value || (!values.empty() && !IsSame(value->type, values.front().type))) return std::nullopt;
        values.push_back(std::move(*value));
    }
    return ListValue(values.empty() ? ElementType(array) : values.front().type, values);
}

// The length of the array that is named NAME comes ahead of it as _NAME_length.
bool IsLengthOf(const std::string& name, const std::string& array) {
    return name == "_" + array + "_length" || name == "__" + array + "_length";
}

}  // namespace

const bt_field* ContentOf(const bt_field* field) {
    if (field == nullptr) return nullptr;
    if (Is(field, BT_FIELD_CLASS_TYPE_VARIANT)) return bt_field_variant_borrow_selected_option_field_const(field);
    if (Is(field, BT_FIELD_CLASS_TYPE_OPTION)) return bt_field_option_borrow_field_const(field);
    return nullptr;
}

std::vector<const bt_field*> ElementsOf(const bt_field* array) {
    std::vector<const bt_field*> elements;
    if (array == nullptr || !Is(array, BT_FIELD_CLASS_TYPE_ARRAY)) return elements;
    const std::uint64_t length = std::min<std::uint64_t>(bt_field_array_get_length(array), kMostElements);
    for (std::uint64_t i = 0; i < length; ++i) {
        elements.push_back(bt_field_array_borrow_element_field_by_index_const(array, i));
    }
    return elements;
}

ImportedValue ValueOf(const std::string& name, const bt_field* field) {
    if (std::optional<ImportedValue> plain = PlainOf(field)) return std::move(*plain);
    if (const bt_field* const content = ContentOf(field)) return ValueOf(name, content);
    if (Is(field, BT_FIELD_CLASS_TYPE_ARRAY)) {
        if (std::optional<ImportedValue> list = ListOf(field)) return std::move(*list);
    }
    NamedValues members;
    Flatten("", field, 0, members);
    // A value takes its place in the list, whatever is in it.
    return members.empty() ? TextValue("") : StructValue(name, members);
}

const bt_field* FieldOf(const bt_field* structure, const std::string& name) {
    if (structure == nullptr || !Is(structure, BT_FIELD_CLASS_TYPE_STRUCTURE)) return nullptr;
    return bt_field_structure_borrow_member_field_by_name_const(structure, name.c_str());
}

std::optional<std::uint64_t> NumberOf(const bt_field* field) {
    if (field == nullptr) return std::nullopt;
    if (Is(field, BT_FIELD_CLASS_TYPE_UNSIGNED_INTEGER)) return bt_field_integer_unsigned_get_value(field);
    if (!Is(field, BT_FIELD_CLASS_TYPE_SIGNED_INTEGER)) return std::nullopt;
    return static_cast<std::uint64_t>(bt_field_integer_signed_get_value(field));
}

std::optional<std::string> TextOf(const bt_field* field) {
    if (field == nullptr || !Is(field, BT_FIELD_CLASS_TYPE_STRING)) return std::nullopt;
    return bt_field_string_get_value(field);
}

std::string NameOf(const bt_field* field) {
    if (const std::optional<std::string> text = TextOf(field)) return *text;
    const std::optional<std::uint64_t> number = NumberOf(field);
    if (!number) return std::string();
    char text[24];
    std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(*number));
    return text;
}

std::vector<std::string> FieldNames(const bt_field* structure) {
    std::vector<std::string> names;
    if (structure == nullptr || !Is(structure, BT_FIELD_CLASS_TYPE_STRUCTURE)) return names;
    const bt_field_class* const type = bt_field_borrow_class_const(structure);
    for (std::uint64_t i = 0; i < bt_field_class_structure_get_member_count(type); ++i) {
        std::string name = MemberName(type, i);
        if (!names.empty() && IsLengthOf(names.back(), name)) names.pop_back();
        names.push_back(std::move(name));
    }
    return names;
}

}  // namespace qxlt
