#include "ScriptPlaces.h"

#include "Messages.h"
#include "QxSubscriptions.h"

namespace qxlt {

std::string ScriptPlace::Text() const {
    return Place(file, line);
}

const std::string& AttributeOf(const IQxData::_HSScriptPtr& element, const std::string& name) {
    static const std::string none;
    const std::string* const found = qxscript::FindAttribute(element, name);
    return found == nullptr ? none : *found;
}

}  // namespace qxlt
