// A sequence of dumps through whole cycles with a scenario: the first cycle primes, each further one is traced and
// drops its calls. A cycle holds up to three dumps, whose decoders carry state over.
#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "QxCycle.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    LoadScenario(store, kFuzzScenario);
    for (bool primes = true; !input.Empty(); primes = false) {
        QxCycle cycle(IgnoreEvent, nullptr, store);
        for (int dumps = input.Byte() % 3; dumps >= 0; --dumps) {
            std::vector<char> dump = input.SizedBlock();
            cycle.Decode("fuzzed", dump);
        }
        cycle.Finish(primes);
    }
    return 0;
}
