// JSON objects by name alone, for headers that hand them on. Only what makes or reads one includes Json.h: compiling
// the JSON library takes longer than most of the tool's sources.
#pragma once

#include <memory>
#include <nlohmann/json_fwd.hpp>

namespace qxlt {

using JsonObject = nlohmann::ordered_json;

// An object that is kept and handed on as it is; never null where one is asked for.
using SharedJson = std::shared_ptr<const JsonObject>;

}  // namespace qxlt
