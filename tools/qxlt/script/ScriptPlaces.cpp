#include "ScriptPlaces.h"

#include "Messages.h"
#include "QxSubscriptions.h"
#include "Vocabulary.h"

namespace qxlt {

std::string ScriptPlace::Text() const {
    return Place(file, line);
}

const std::string& EventNameOf(const IQxData::_HSScriptPtr& event) {
    static const std::string none;
    const std::string* const found = qxscript::FindAttribute(event, TextOf(QxEventWords::kName));
    return found == nullptr ? none : *found;
}

}  // namespace qxlt
