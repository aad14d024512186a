#include "Checks.h"

namespace qxlt {

void CheckPackages(const ScenarioOutline& outline, Findings& findings) {
    for (const ScenarioAction& action : outline.Actions()) {
        for (const ScriptElement* const method : action.methods) {
            if (method->attributes.empty()) continue;
            const ScriptAttribute& name = MethodName(*method);
            const std::string bare = WithoutPackage(name.value);
            if (bare.empty()) continue;
            findings.Add(
                CheckId::MethodWithPackage, *method, name.valuePlace,
                "calls are matched by the bare name of their method, and " + Quoted(name.value) + " holds a dot",
                Written(name.name, bare));
        }
    }
}

}  // namespace qxlt
