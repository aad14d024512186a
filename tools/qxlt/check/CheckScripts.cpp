#include "Checks.h"

namespace qxlt {

void CheckScripts(const ScenarioOutline& outline, Findings& findings) {
    for (const auto check : {CheckMarkup, CheckElements, CheckActions, CheckEvents, CheckFilters, CheckConditions,
                             CheckSharing, CheckProcesses, CheckTypes, CheckLists}) {
        check(outline, findings);
    }
}

}  // namespace qxlt
