// A condition on one value of a call, as it is written on the command line, and the event of a scenario that says it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "QxEventWords.h"

namespace qxlt {

struct WhereCondition {
    std::string text;                              // as it was written
    qxscript::Tag tag = qxscript::Tag::In;         // where the value stands,
    std::uint32_t index = 0;                       // and as which of them
    qxscript::Type type = qxscript::Type::String;  // as what it is read
    // The event's attributes but for its name.
    std::vector<std::pair<QxEventWords::Attribute, std::string>> attributes;

    // The value as conditions call it: "in.0", "out.1", "ret".
    std::string Value() const;
};

// Reads "in.0 > 80", "ret == 'on' or ret == 'off'" and the like: a value (in.N, out.N, ret), an operator (== != < > <=
// >= contains) and what the value is compared with, a number or a text in quotes; several of these about the same value
// with "and" or "or" between them. Throws a Failure (cannot start) for other texts, and for conditions that no event of
// a scenario can say, with the reason.
WhereCondition ReadWhere(const std::string& text);

}  // namespace qxlt
