#include <algorithm>

#include "Checks.h"

namespace qxlt {

namespace {

void CheckTop(const ScriptElement& top, Findings& findings) {
    const std::vector<std::string> known = {qxscript::kScenario, qxscript::kSession};
    if (std::find(known.begin(), known.end(), top.name) != known.end()) return;
    const std::string meant = Meant(top.name, known);
    findings.Add(CheckId::UnknownTop, top, top.place,
                 "no kind of script is called " + Quoted(top.name) + ", so that nothing runs",
                 meant.empty() ? qxscript::kScenario : meant);
}

void CheckIgnores(const ScriptText& script, Findings& findings) {
    for (const IgnoreComment& comment : script.Ignores()) {
        if (comment.ids.empty()) {
            findings.Add(CheckId::UnknownIgnored, script, comment.place, "qxlt:ignore without the code of a check");
        }
        for (const std::string& code : comment.ids) {
            if (FindCheck(code) != nullptr) continue;
            findings.Add(CheckId::UnknownIgnored, script, comment.place,
                         "no check has the code " + Quoted(code) + ", so that nothing is silenced", MeantCode(code));
        }
    }
}

}  // namespace

void CheckMarkup(const ScenarioOutline& outline, Findings& findings) {
    if (outline.Top() != nullptr) CheckTop(*outline.Top(), findings);
    for (const ScriptText* const script : outline.Scripts()) {
        CheckIgnores(*script, findings);
        if (!script->Defect()) continue;
        const ScriptDefect& defect = *script->Defect();
        findings.Add(defect.instead.empty() ? CheckId::NotWellFormed : CheckId::RawMarkup, *script, defect.place,
                     "not well-formed, so that nothing is loaded: " + defect.text, defect.instead);
    }
}

}  // namespace qxlt
