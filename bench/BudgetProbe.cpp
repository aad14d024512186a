// What scripts/budgets measures, on the machine that it is built for: qx_budget SIDE COUNT.
//
//     heap N      bytes of the heap that N calls take in the store, once their dump is decoded
//     cycles N    nothing; runs N cycles of 1,000 calls, decoded and traced without a match, for who counts
//     instructions
//
// Cycles are like those of qx_ratio; the first one makes the records that the further ones reuse.
#include <malloc.h>

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "BenchDump.h"
#include "QxCycle.h"
#include "StandardCall.h"

namespace {

constexpr int kCallsOfCycle = 1000;

void Check(bool isTrue, const char* what) {
    if (isTrue) return;
    std::fprintf(stderr, "qx_budget: %s\n", what);
    std::exit(1);
}

std::vector<char> Dump(int calls) {
    const std::string bytes = bench::Calls(calls);
    return {bytes.begin(), bytes.end()};
}

std::size_t HeapBytes() {
    const struct mallinfo2 heap = mallinfo2();
    return heap.uordblks + heap.hblkhd;
}

void Heap(int calls) {
    std::vector<char> dump = Dump(calls);
    const std::shared_ptr<IQxData> store = bench::MakeStore();
    QxCycle cycle(nullptr, nullptr, store);
    const std::size_t before = HeapBytes();
    Check(cycle.Decode("bench", dump).Whole(), "the dump does not decode");
    std::printf("%zu\n", HeapBytes() - before);
}

void Cycles(int count) {
    const std::vector<char> dump = Dump(kCallsOfCycle);
    const std::shared_ptr<IQxData> store = bench::MakeStore();
    bench::LoadScript(store,
                      "<Scenario><action name='a'><method name='Other'/><event name='E' tag='NONE' watch='ALWAYS'/>"
                      "</action></Scenario>");
    for (int i = 0; i < count; ++i) {
        std::vector<char> again = dump;
        QxCycle cycle(nullptr, nullptr, store);
        Check(cycle.Decode("bench", again).Whole(), "the dump does not decode");
        cycle.Finish(false);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string side = argc == 3 ? argv[1] : "";
    const int count = argc == 3 ? std::atoi(argv[2]) : 0;
    if (side == "heap" && count > 0) {
        Heap(count);
    } else if (side == "cycles" && count >= 0) {
        Cycles(count);
    } else {
        std::fprintf(stderr, "usage: qx_budget heap|cycles COUNT\n");
        return 2;
    }
    return 0;
}
