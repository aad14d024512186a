// Dumps of calls whose values fit their declarations, written as the fuzz bytes tell, through whole cycles with a
// scenario: what plain mutation seldom gets through the checks of sizes.
#include "FuzzPlatform.h"
#include "FuzzTrace.h"
#include "QxCycle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    FuzzTrace trace(input);
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    LoadScenario(store, kFuzzScenario);
    for (bool primes = true; !input.Empty(); primes = false) {
        QxCycle cycle(IgnoreEvent, nullptr, store);
        for (int dumps = input.Byte() % 3; dumps >= 0; --dumps) {
            const std::string dump = trace.Dump();
            std::vector<char> bytes(dump.begin(), dump.end());
            cycle.Decode("fuzzed", bytes);
        }
        cycle.Finish(primes);
    }
    return 0;
}
