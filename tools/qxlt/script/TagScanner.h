// Finds where the attributes of a start tag stand in a script's text: the XML parser tells names and values only.
#pragma once

#include <string>
#include <vector>

#include "ScriptText.h"
#include "TextWalker.h"

namespace qxlt {

// Where one attribute stands, in the order of the text.
struct AttributePlace {
    std::string name;
    TextPlace place;
    TextPlace valuePlace;
};

// The attributes of the tag that begins at `offset` of the text, whose place is `start`. Empty when no such tag stands
// there, as with one that comes out of an entity, or when the encoding is another one. Requires: the parser has taken
// the tag as well-formed.
std::vector<AttributePlace> ScanTag(const std::string& text, std::size_t offset, TextPlace start,
                                    const std::string& element, TextEncoding encoding);

}  // namespace qxlt
