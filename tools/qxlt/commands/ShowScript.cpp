#include "ShowScript.h"

#include <utility>

#include "Failure.h"
#include "Inventory.h"
#include "Messages.h"
#include "Output.h"
#include "Progress.h"

namespace qxlt {

namespace {

MethodNames NamesOf(const Inventory& inventory) {
    MethodNames names;
    for (const RecordedMethod& method : inventory.Methods()) {
        names.emplace(method.location.packageName, method.location.callerName);
    }
    return names;
}

// A process that does not run, or records nothing, is no reason to show nothing.
MethodNames RecordedNow(const std::string& process) {
    try {
        return NamesOf(Inventory::Take({process}, PrintFault));
    } catch (const Failure& failure) {
        PrintWarning(failure.what());
        return {};
    }
}

void Print(std::string text) {
    text.pop_back();  // the line's end comes with the output
    Output().Line(std::move(text));
}

}  // namespace

int ShowScript(const CallScript& script, const std::vector<std::string>& processes) {
    MethodNames names;
    for (const std::string& process : processes) names.merge(RecordedNow(process));
    Print(script.Text(names, processes));
    return kDone;
}

int ShowScript(const CallScript& script, const ReplayInput& input) {
    Progress progress;
    const std::vector<std::string> paths =
        input.capture.empty() ? input.dumps : std::vector<std::string>{input.capture};
    const Inventory inventory = Inventory::Read(paths, PrintFault, progress);
    Print(script.Text(NamesOf(inventory)));
    return inventory.Whole() ? kDone : kInputWrong;
}

}  // namespace qxlt
