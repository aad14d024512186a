// The numbers in a script, read with the conversions that the evaluation of events uses, for those who ask before it.
#pragma once

#include <optional>
#include <string>

namespace qxlt {

struct ScriptNumber {
    long long value;
    std::string rest;  // what follows it and is ignored, but for blanks
};

// An operand of a comparison; none when the evaluation would refuse it.
std::optional<ScriptNumber> ReadOperand(const std::string& text);

// An index; none when the evaluation would refuse it, and for a negative one, which is in no list.
std::optional<ScriptNumber> ReadIndex(const std::string& text);

}  // namespace qxlt
