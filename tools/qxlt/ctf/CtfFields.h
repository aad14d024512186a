// Fields of events in CTF as values of calls.
#pragma once

#include <babeltrace2/babeltrace.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "ImportedValues.h"

namespace qxlt {

// A whole number, a truth value or an enumeration is an integer of its width and sign; a fraction a float or double; a
// text a text; an array of plain values of one type a list; all else a composite of the plain values in it, each named
// by its way ("origin.x", "points.2.y").
ImportedValue ValueOf(const std::string& name, const bt_field* field);

// The field of a structure that has that name; null when there is none, or no structure.
const bt_field* FieldOf(const bt_field* structure, const std::string& name);

// As what tells who made a call; nothing for fields of other kinds.
std::optional<std::uint64_t> NumberOf(const bt_field* field);
std::optional<std::string> TextOf(const bt_field* field);

// The field as a name: a text as it stands, a number in hex.
std::string NameOf(const bt_field* field);

// The names of a structure's fields in their order, without those that only tell how long the next one is.
std::vector<std::string> FieldNames(const bt_field* structure);

// What stands in a field that may have one of several, or none; null for other fields.
const bt_field* ContentOf(const bt_field* field);

// Of an array; nothing otherwise.
std::vector<const bt_field*> ElementsOf(const bt_field* array);

}  // namespace qxlt
