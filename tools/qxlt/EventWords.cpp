#include "EventWords.h"

#include "QxScriptScenario.h"

namespace qxlt {

std::vector<std::string> EventWords::Operands() const {
    const std::string& text = (*this)["conditionValue"];
    if (!IsRange() && !Has("conditionType")) return {text};
    std::vector<std::string> operands;
    split(text, IsRange() ? "," : "&", operands);
    return operands;
}

}  // namespace qxlt
