#include "ScriptPlaces.h"

#include <algorithm>

#include "Common.h"

namespace qxlt {

std::string ScriptPlace::Text() const {
    return Place(file, line);
}

const std::string& AttributeOf(const IQxData::_HSScriptPtr& element, const std::string& name) {
    static const std::string none;
    const auto found = std::find_if(element.attributes.rbegin(), element.attributes.rend(),
                                    [&](const auto& attribute) { return attribute.first == name; });
    return found == element.attributes.rend() ? none : found->second;
}

}  // namespace qxlt
