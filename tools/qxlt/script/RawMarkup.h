// Finds the commonest reason for which a script is not well-formed: an ampersand or a less-than sign that stands in an
// attribute as it is. The XML parser only tells where it stopped.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "TextWalker.h"

namespace qxlt {

struct RawMarkup {
    char byte;            // '&' or '<'
    TextPlace place;      // where it stands
    std::string instead;  // the attribute as it must be written
};

// What a parser stumbled over that stopped at the offset `stop` of the text, or, when it does not know the entity of a
// reference, at the tag that holds it. `begin` lies before the tag, behind what was read. None when the mistake is
// another one: a quote that is missing, for example, makes an attribute of several lines.
std::optional<RawMarkup> FindRawMarkup(const std::string& text, std::size_t begin, std::size_t stop,
                                       TextEncoding encoding);

}  // namespace qxlt
