// Script texts through all that `qxlt check` does with them; at times two scripts at once, and against a dump. Of such
// a dump the scenario to start from is made as well, which has to be a text that can be loaded.
#include <cstdlib>

#include "CheckCommand.h"
#include "FuzzFolder.h"
#include "FuzzInput.h"
#include "FuzzTool.h"
#include "Recording.h"
#include "ScriptText.h"
#include "StarterScript.h"

namespace {

constexpr unsigned kJson = 1, kAgainst = 2, kTwoScripts = 4;

void MakeStarter(const std::string& dump) {
    qxlt::Progress progress;
    const qxlt::Recording recording = qxlt::Recording::Read({dump}, qxlt::PrintFault, progress);
    if (qxlt::ScriptText("starter.xml", qxlt::StarterScript(recording).Text()).Defect()) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const FuzzFolder folder;
    FuzzInput input(data, size);
    const unsigned options = input.Byte();
    std::vector<std::string> arguments = {"--format", (options & kJson) != 0 ? "json" : "text"};
    if ((options & kAgainst) != 0) {
        const std::string dump = folder.Write("recorded.qxdump", input.SizedBlock());
        MakeStarter(dump);
        arguments.insert(arguments.end(), {"--against", dump});
    }
    if ((options & kTwoScripts) != 0) arguments.push_back(folder.Write("first.xml", input.SizedBlock()));
    arguments.push_back(folder.Write("last.xml", input.Rest()));
    RunFuzzedCommand(qxlt::AddCheck, arguments);
    return 0;
}
