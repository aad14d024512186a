// The result of a call site as a host's dumps describe it. A call may end without one, by an exception for example, and
// the trace format has only an empty list to say so: a result that is no list itself is described as a list of one at
// most, of the type result<TYPE>.
#pragma once

#include <string>

#include "IQxData.h"

namespace qxlt {

// The type that the program has for the result.
std::string ResultType(const IQxData::_HSCallLocation& location);

// Whether the call returned no result though its call site has one. An empty list is not told from none: it counts as
// a result.
bool LacksResult(const IQxData::_HSCallLocation& location, const IQxData::HSCall& call);

}  // namespace qxlt
