// Decoding of dumps, in calls per second. The second argument of each pair of rows chooses the store: 0 the library's
// own, 1 another class, which is written and read through the exported operations and their copies.
#include <benchmark/benchmark.h>

#include <cstdlib>

#include "BenchDump.h"
#include "QxParser.h"

namespace {

constexpr int kCalls = 10000;

void Decode(benchmark::State& state, const std::string& bytes) {
    const std::shared_ptr<IQxData> store =
        state.range(0) == 0 ? bench::MakeStore<QxData>() : bench::MakeStore<bench::CopyingStore>();
    std::string copy = bytes;
    std::pair<int, char*> dump(static_cast<int>(copy.size()), copy.data());
    QxParser parser(nullptr, nullptr);
    for (auto _ : state) {
        const bool whole = parser.Parse(dump, store) != 0 && parser.Extract() != 0;
        state.PauseTiming();
        if (!whole || store->GetCallIMap()->size() != kCalls) std::abort();
        store->clearCalls();
        state.ResumeTiming();
    }
    state.SetItemsProcessed(state.iterations() * kCalls);
    state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes.size()));
}

void DecodeInts(benchmark::State& state) {
    Decode(state, bench::CallDump(bench::kIntLocation, kCalls));
}
void DecodeTexts(benchmark::State& state) {
    Decode(state, bench::CallDump(bench::kTextLocation, kCalls));
}
void DecodeComposites(benchmark::State& state) {
    Decode(state, bench::CallDump(bench::kPointLocation, kCalls));
}
void DecodeCompressed(benchmark::State& state) {
    Decode(state, dump::Compressed(bench::CallDump(bench::kIntLocation, kCalls)) + dump::Flush());
}

BENCHMARK(DecodeInts)->ArgName("copying")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(DecodeTexts)->ArgName("copying")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(DecodeComposites)->ArgName("copying")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(DecodeCompressed)->ArgName("copying")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
