#include "Checks.h"

namespace qxlt {

namespace {

void CheckTop(const ScriptText& script, Findings& findings) {
    const ScriptElement* const top = script.Top();
    if (top == nullptr || top->name == kScenarioTop || top->name == kSessionTop) return;
    const std::string meant = Meant(top->name, {kScenarioTop, kSessionTop});
    findings.Add(CheckId::UnknownTop, *top, top->place,
                 "no kind of script is called " + Quoted(top->name) + ", so that nothing runs",
                 meant.empty() ? kScenarioTop : meant);
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

void CheckTexts(const ScenarioOutline& outline, Findings& findings) {
    for (const ScriptText* const script : outline.Scripts()) {
        CheckTop(*script, findings);
        CheckIgnores(*script, findings);
        if (!script->Defect()) continue;
        findings.Add(CheckId::NotWellFormed, *script, script->Defect()->place,
                     "not well-formed, so that nothing is loaded: " + script->Defect()->text);
    }
}

}  // namespace qxlt
