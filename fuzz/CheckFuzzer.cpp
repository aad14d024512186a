// Script texts through all that `qxlt check` does with them; at times two scripts at once, and against a dump. Of such
// a dump the scenario to start from is made as well: a text that can be loaded, whose every event fires in that dump.
#include <cstdlib>
#include <set>

#include "CommandList.h"
#include "FuzzFolder.h"
#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "FuzzTool.h"
#include "Inventory.h"
#include "Replayer.h"
#include "StarterScript.h"

namespace {

constexpr unsigned kJson = 1, kAgainst = 2, kTwoScripts = 4;

bool AllFire(const std::string& script, const std::string& dump) {
    const qxlt::JoinedScripts scripts({script});
    qxlt::ReplayInput input;
    input.process = "fuzzed=" + std::to_string(kFuzzPid);
    input.dumps = {dump};
    std::set<std::string> fired;
    qxlt::Progress progress;
    const auto keep = [&fired](const qxlt::EventView& view) { fired.insert(view.event); };
    qxlt::Replayer(scripts, input, keep, qxlt::PrintFault, progress).Run();
    qxlt::ForgetEvents();
    const std::vector<std::string>& events = scripts.Events();
    return fired == std::set<std::string>(events.begin(), events.end());
}

void MakeStarter(const FuzzFolder& folder, const std::string& dump) {
    qxlt::Progress progress;
    const qxlt::Inventory inventory = qxlt::Inventory::Read({dump}, qxlt::PrintFault, progress);
    const std::string text = qxlt::StarterScript(inventory).Text();
    if (!AllFire(folder.Write("starter.xml", {text.begin(), text.end()}), dump)) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const FuzzFolder folder;
    FuzzInput input(data, size);
    const unsigned options = input.Byte();
    std::vector<std::string> arguments = {"--format", (options & kJson) != 0 ? "json" : "text"};
    if ((options & kAgainst) != 0) {
        const std::string dump = folder.Write("recorded.qxdump", input.SizedBlock());
        MakeStarter(folder, dump);
        arguments.insert(arguments.end(), {"--against", dump});
    }
    if ((options & kTwoScripts) != 0) arguments.push_back(folder.Write("first.xml", input.SizedBlock()));
    arguments.push_back(folder.Write("last.xml", input.Rest()));
    RunFuzzedCommand(qxlt::AddCheck, arguments);
    return 0;
}
