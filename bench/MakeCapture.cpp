// Writes the capture of a run: qx_bench_capture DIRECTORY CALLS. Cycles of 20,000 calls of one thread, each with two
// integers and a text of 16 bytes going in and an integer coming out. bench/compare reads it with the tool.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "DumpWriter.h"

namespace {

using namespace dump;

constexpr unsigned kPid = 7;
constexpr unsigned kLocation = 9;
constexpr int kCallsOfCycle = 20000;
constexpr std::uint64_t kTimeOfCall = 1100;
constexpr std::size_t kRunSize = 4000;

std::string Heading() {
    return Persistent(
        {Item(dump::kHeader, Header(kPid, "bench")), Item(dump::kLocation, Location(kLocation)
                                                                               .Name("SetTitle")
                                                                               .Arg("int", kIn, 4)
                                                                               .Arg("int", kIn, 4)
                                                                               .Arg("string", kIn, kVariableSize)
                                                                               .Returns("int", 4))});
}

// The calls from `first` on, up to `end`. Each run begins with an absolute time, the others with what passed since the
// exit before.
std::string Cycle(int first, int end) {
    std::string bytes = Heading();
    std::string run;
    for (int i = first; i < end; ++i) {
        const std::uint64_t delta = run.empty() ? static_cast<std::uint64_t>(i) * kTimeOfCall : kTimeOfCall - 1000;
        run += StreamItem(kBefore, Before(delta, kLocation, Int(i, 4) + Int(-i, 4) + Variable("sixteen bytes ok"))) +
               StreamItem(kAfter, After(1, Int(i, 4)));
        if (run.size() < kRunSize && i + 1 < end) continue;
        bytes += Thread(1, run);
        run.clear();
    }
    return bytes;
}

void Write(const std::filesystem::path& path, const std::string& content) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: qx_bench_capture DIRECTORY CALLS\n");
        return 2;
    }
    const std::filesystem::path directory = argv[1];
    const int calls = std::atoi(argv[2]);
    Write(directory / "capture.json", R"({"version":1,"processes":{"bench":7}})");
    for (int first = 0; first < calls; first += kCallsOfCycle) {
        const std::string number = std::to_string(1000001 + first / kCallsOfCycle).substr(1);
        Write(directory / number / "bench.qxdump", Cycle(first, std::min(first + kCallsOfCycle, calls)));
    }
    return 0;
}
