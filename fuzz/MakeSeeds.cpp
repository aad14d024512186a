// Writes the first inputs of the fuzzers that take dumps: MakeSeeds DIRECTORY. Each fuzzer gets a folder of its name.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include "DumpWriter.h"
#include "RandomTrace.h"

namespace {

void Write(const std::filesystem::path& directory, const std::string& name, const std::string& bytes) {
    std::filesystem::create_directories(directory);
    std::ofstream(directory / name, std::ios::binary) << bytes;
}

// As CycleFuzzer cuts its input: the number of dumps less one, then each dump behind its two-byte length.
std::string OneCycle(const std::string& dump) {
    return std::string(1, '\0') + dump::Fixed16(static_cast<unsigned>(dump.size())) + dump;
}

std::string ScenarioDump() {
    using namespace dump;
    return Persistent(
               {Item(kHeader, Header(7, "fuzzed")),
                Item(kDescriptor, Descriptor("P").Member("x", 4).Member("y", kVariableSize)),
                Item(kLocation,
                     Location(1).Name("a").Arg("int", kIn, 4).Arg("string", kInOut, kVariableSize).Returns("int", 4)),
                Item(kLocation, Location(2).Name("b").Arg("P", kIn, kCompositeSize).Arg("int", kIn, 2)),
                Item(kIpcCaller, IpcCaller(1, 2, "c")), Item(kProxy, Proxy(300))}) +
           Properties(5, Item(kThreadName, ThreadName("main"))) +
           Thread(5, {StreamItem(kBefore, Before(10, 1, Int(3, 4) + Variable("xaxbx"))),
                      StreamItem(kAfter, After(1, Variable("q") + Int(2, 4))),
                      StreamItem(kBefore, Before(10, 2, Int(3, 4) + Variable("y") + Int(12, 2))),
                      StreamItem(kLog, LogRecord(4, 1, Int(1, 4) + Variable(std::string(200, 'z')))), Marker()});
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return std::fputs("usage: MakeSeeds DIRECTORY\n", stderr), 2;
    const std::filesystem::path root = argv[1];
    const auto write = [&](const std::string& name, const std::string& dump) {
        Write(root / "DumpFuzzer", name, dump);
        Write(root / "CycleFuzzer", name, OneCycle(dump) + OneCycle(dump));
        Write(root / "CompressedFuzzer", name, std::string(1, '\0') + dump);
    };
    write("seed-scenario", ScenarioDump());
    write("seed-compressed", dump::Compressed(ScenarioDump()) + dump::Flush());
    for (unsigned seed = 1; seed <= 6; ++seed)
        write("seed-random-" + std::to_string(seed), RandomTrace(seed, 12).Dump());
    return 0;
}
