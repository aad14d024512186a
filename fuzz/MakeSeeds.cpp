// Writes the first inputs of the fuzzers: MakeSeeds DIRECTORY. Each fuzzer gets a folder of its name. They are made of
// dumps of the dump writer, of real ones (seeds/), and of the scenarios of the tests and examples.
#include <bzlib.h>

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "DumpWriter.h"
#include "RandomTrace.h"

namespace {

namespace fs = std::filesystem;
using dump::Bytes;

const fs::path kSource = QX_SOURCE_DIR;

// Each fuzzer's input is cut by FuzzInput: a block stands behind its two-byte length.
constexpr std::size_t kMaxBlock = 60000;

Bytes Block(const Bytes& bytes) {
    const Bytes block = bytes.substr(0, kMaxBlock);
    return dump::Fixed16(static_cast<unsigned>(block.size())) + block;
}

Bytes Number(unsigned value) {
    return Bytes(1, static_cast<char>(value));
}

Bytes Read(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The files with that ending below the directory, sorted by path.
std::vector<fs::path> Files(const fs::path& directory, const std::string& ending) {
    std::vector<fs::path> files;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
        if (entry.is_regular_file() && entry.path().extension() == ending) files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::vector<Bytes> Contents(const std::vector<fs::path>& files) {
    std::vector<Bytes> contents;
    for (const fs::path& file : files) contents.push_back(Read(file));
    return contents;
}

// What the compressed items of a real dump hold, one behind the other: plain mutation only breaks what is packed.
Bytes Unpacked(const Bytes& dump) {
    constexpr char kStart[] = "BZh1";
    constexpr std::size_t kMaxItem = 1 << 20;
    Bytes unpacked;
    for (std::size_t at = dump.find(kStart); at != Bytes::npos; at = dump.find(kStart, at + 1)) {
        Bytes packed = dump.substr(at);
        Bytes item(kMaxItem, '\0');
        auto size = static_cast<unsigned>(item.size());
        // What follows the item's own stream is left alone.
        if (BZ2_bzBuffToBuffDecompress(item.data(), &size, packed.data(), static_cast<unsigned>(packed.size()), 0, 0) ==
            BZ_OK) {
            unpacked.append(item, 0, size);
        }
    }
    return unpacked;
}

Bytes ScenarioItems() {
    using namespace dump;
    return StreamItem(kBefore, Before(10, 1, Int(3, 4) + Variable("xaxbx"))) +
           StreamItem(kAfter, After(1, Variable("q") + Int(2, 4))) +
           StreamItem(kBefore, Before(10, 2, Int(3, 4) + Variable("y") + Int(12, 2))) +
           StreamItem(kLog, LogRecord(4, 1, Int(1, 4) + Variable(Bytes(200, 'z')))) + Marker();
}

Bytes ScenarioDump() {
    using namespace dump;
    return Persistent(
               {Item(kHeader, Header(7, "fuzzed")),
                Item(kDescriptor, Descriptor("P").Member("x", 4).Member("y", kVariableSize)),
                Item(kLocation,
                     Location(1).Name("a").Arg("int", kIn, 4).Arg("string", kInOut, kVariableSize).Returns("int", 4)),
                Item(kLocation, Location(2).Name("b").Arg("P", kIn, kCompositeSize).Arg("int", kIn, 2)),
                Item(kIpcCaller, IpcCaller(1, 2, "c")), Item(kProxy, Proxy(300))}) +
           Properties(5, Item(kThreadName, ThreadName("main"))) + Thread(5, {ScenarioItems()});
}

// One thread's stream in as many fragments as it needs: those after the first hold the end of its last item.
Bytes LongStream(const Bytes& stream) {
    constexpr std::size_t kPiece = 30000;
    Bytes packets = dump::Thread(5, stream.substr(0, kPiece));
    for (std::size_t at = kPiece; at < stream.size(); at += kPiece) {
        const Bytes piece = stream.substr(at, kPiece);
        const auto size = static_cast<unsigned>(piece.size());
        packets += dump::Packet(dump::kThread, dump::Fragment(5, size, size, piece));
    }
    return packets;
}

class Seeds final {
public:
    explicit Seeds(fs::path directory) : m_directory(std::move(directory)) {}

    void AddMade() const {
        AddDump("made", ScenarioDump());
        AddDump("made-compressed", dump::Compressed(ScenarioDump()) + dump::Flush());
        for (unsigned seed = 1; seed <= 6; ++seed) {
            AddDump("made-random-" + std::to_string(seed), RandomTrace(seed, 12).Dump());
        }
        AddItems();
        AddBuffers();
    }

    // What mutations do not come upon: each limit of a dump passed, and headers so long that their 16 bits wrap. All of
    // it is packed, since an input is short.
    void AddLimits() const {
        using namespace dump;
        const auto add = [this](const std::string& name, const Bytes& inner) {
            AddDump("limit-" + name, Compressed(inner) + Flush());
        };
        const Bytes noSize = LongVarint(0, 65535);
        add("packet-header", Number(kPersistent) + noSize);
        add("stream-header", LongStream(Number(kTime) + noSize));
        add("compressed-header", CompressedRun(Number(kPacked) + noSize, 30000) + Flush());
        add("short-item", Thread(5, Number(kLog) + LongVarint(2, 9) + "ab"));
        Bytes deep;
        for (int i = 0; i < 10; ++i) deep = Persistent(Item(kPacked, Bzip2(deep + Flush())));
        add("nesting", deep);
        Bytes overlapping;
        for (int i = 0; i < 60; ++i) overlapping += Packet(kThread, Fragment(5, 0, 60000, Bytes()));
        add("joined", overlapping + Bytes(60000, '\0'));
        Location empties(1);
        for (int i = 0; i < 3000; ++i) empties.Arg("", kIn, 0);
        const Bytes call = StreamItem(kBefore, Before(1, 1)) + StreamItem(kBefore, Before(1, 1, "more"));
        add("lines", Persistent(Item(kLocation, empties)) + Thread(5, {call, call, call}));
    }

    void AddReal() const {
        const std::vector<Bytes> dumps = Contents(Files(kSource / "fuzz/seeds", ".qxdump"));
        std::vector<Bytes> unpacked;
        for (const Bytes& dump : dumps) {
            unpacked.push_back(Unpacked(dump));
            const std::string name = "real-" + std::to_string(unpacked.size());
            AddDump(name, dump);
            AddDump(name + "-unpacked", unpacked.back());
        }
        for (const fs::path& script : Files(kSource / "examples/scenarios", ".xml")) {
            const std::string name = "real-" + script.stem().string();
            AddCapture(name, Read(script), dumps);
            AddAgainst(name, Read(script), dumps.front());
            AddScript(name, Read(script));
        }
        AddCycles("real-sequence", unpacked);
    }

    // Of each folder of scenarios: its scripts, and its dumps as the cycles of one capture.
    void AddScenarios() const {
        for (const fs::directory_entry& folder : fs::directory_iterator(kSource / "tests/scenarios")) {
            if (!folder.is_directory()) continue;
            const std::vector<Bytes> dumps = Contents(Files(folder.path(), ".qxdump"));
            const std::string name = "scenario-" + folder.path().filename().string();
            AddCycles(name, dumps);
            for (const fs::path& script : Files(folder.path(), ".xml")) {
                const std::string itsName = name + "-" + script.stem().string();
                AddCapture(itsName, Read(script), dumps);
                AddAgainst(itsName, Read(script), dumps.front());
                AddScript(itsName, Read(script));
            }
        }
    }

    // FleetFuzzer takes how it shows, and steps: here 0 for a topic and a message, 1 for an event with its number and
    // call, 3 for a status with what was dropped and how far it is, 4 for time that passes.
    void AddFleet() const {
        const Bytes id = Bytes(32, 'b') + ":" + Bytes(16, 'c');
        const Bytes event =
            R"({"id":"tv%202:)" + id +
            R"(:7","device":"tv 2","time":"2026-11-22T10:00:00.5Z","cycle":3,"event":"E","value":"\ufffd",)"
            R"("valueHex":"ff","call":{"callerName":"f","in":[[{"name":"","hex":"01","int":1}]],)"
            R"("ret":[[]],"duration":5}})";
        const Bytes status = R"({"device":"tv 2","boot":")" + id.substr(0, 32) + R"(","run":")" + id.substr(33) +
                             R"(","state":"gone","time":null,"taken":9,"waiting":1,"dropped":2,"droppedIds":[[")" + id +
                             R"(",1,2]],"health":{"cycles":5}})";
        const Bytes messages = Number(0) + Block("f/tv%202/events/E") + Block(event) + Number(0) +
                               Block("f/tv%202/status") + Block(status);
        const Bytes call = Block("{\"callerName\":\"f\"}");
        const Bytes numbers = Number(1) + Number(3) + call + Number(1) + Number(9) + call + Number(3) + Number(4) +
                              Number(20) + Number(2) + Number(6);
        const Bytes passing = Number(4 + 15 * 8);
        for (unsigned shown = 0; shown < 4; ++shown) {
            Write("FleetFuzzer", "made-" + std::to_string(shown),
                  Number(shown) + messages + numbers + passing + Number(6) + messages + numbers + Number(5 + 8) +
                      messages + Number(5) + passing);
        }
    }

    void AddSamples() const {
        for (const fs::path& script : Files(kSource / "tests/system/qxlt/samples", ".xml")) {
            AddScript("sample-" + script.stem().string(), Read(script));
        }
    }

    // ImportFuzzer takes the text of the tasks, and behind a byte 0 what is printed.
    void AddRecordings() const {
        const std::string tasks =
            "SESS timestamp=1.0 pid=70 sid=a exename=\"/bin/tuner\"\nTASK timestamp=1.0 tid=71 pid=70\n"
            "FORK timestamp=1.0 pid=72 ppid=70\n";
        const std::string printed =
            "reading 70.dat\n"
            "    1.000010000     70: [entry] SetVolume(1) depth: 1\n"
            "    1.000010000     70: [args ] length = 24\n"
            "  args[0] i32: 0x00000055\n"
            "  args[1] str: two\nlines\n"
            "  args[2] f64: 0x4034000000000000\n"
            "    1.000090000     70: [exit ] SetVolume(1) depth: 1\n"
            "    1.000090000     70: [retval] length = 4\n"
            "  retval i32: 0xffffffff\n"
            "    1.000091000     70: [lost 12 records]\n"
            "reading 71.dat\n"
            "    1.000020000     71: [entry] GetVolume(1) depth: 0\n";
        const std::string whole = tasks + '\0' + printed;
        Write("ImportFuzzer", "made", Bytes(whole.begin(), whole.end()));
    }

private:
    void Write(const std::string& fuzzer, const std::string& name, const Bytes& bytes) const {
        fs::create_directories(m_directory / fuzzer);
        std::ofstream(m_directory / fuzzer / ("seed-" + name), std::ios::binary) << bytes;
    }

    void AddDump(const std::string& name, const Bytes& dump) const {
        Write("DumpFuzzer", name, dump);
        Write("CompressedFuzzer", name, Number(0) + dump);
        AddAgainst(name, "<Scenario/>", dump);
        AddCycles(name, {dump, dump});
    }

    // CycleFuzzer takes, for each cycle, the number of its dumps less one and the dumps.
    void AddCycles(const std::string& name, const std::vector<Bytes>& dumps) const {
        Bytes bytes;
        for (const Bytes& dump : dumps) bytes += Number(0) + Block(dump);
        Write("CycleFuzzer", name, bytes);
    }

    // ItemFuzzer takes tags and payloads.
    void AddItems() const {
        using namespace dump;
        const auto item = [](unsigned tag, const Bytes& payload) { return Number(tag) + Block(payload); };
        const Bytes described =
            item(kDescriptor, Descriptor("P").Member("x", 4).Member("y", kVariableSize)) +
            item(kDescriptor, Descriptor("Q", true).Member("p", kCompositeSize, "P")) +
            item(kLocation, Location(1).Arg("int", kIn, 4).Arg("P", kInOut, kCompositeSize).Returns("int", 4)) +
            item(kLocation, Location(2).Arg("string", kIn, kVariableSize).Arg("Q", kOut, kCompositeSize));
        const Bytes point = Int(3, 4) + Variable("text");
        Write("ItemFuzzer", "made",
              item(kHeader, Header(7, "fuzzed")) + described + item(kThreadName, ThreadName("main")) +
                  item(kBefore, Before(9, 1, Int(7, 4) + point)) + item(kAfter, After(9, point + Int(2, 4))) +
                  item(kBefore, Before(9, 2, Variable("b"))) + item(kAfter, After(9, Container(2, point + point))) +
                  item(kLog, LogRecord(9, 2, Variable("c"))));
        Write("ItemFuzzer", "made-others",
              item(kIpcCaller, IpcCaller(1, 2, "c")) + item(kProxy, Proxy(300)) + item(kTime, Bytes()) +
                  item(kPacked, Bzip2(ScenarioDump())));
    }

    // BufferFuzzer takes the kind of the buffer, then whether a prefix follows and a payload.
    void AddBuffers() const {
        using namespace dump;
        const Bytes stream = ScenarioItems();
        const auto size = static_cast<unsigned>(stream.size());
        Write("BufferFuzzer", "made-thread", Number(0) + Number(0) + Block(Fragment(5, 0, size, stream)));
        Write("BufferFuzzer", "made-persistent", Number(1) + Number(0) + Block(Item(kProxy, Proxy(300))));
        Write("BufferFuzzer", "made-properties",
              Number(2) + Number(0) + Block(Fixed16(5) + Item(kThreadName, ThreadName("main"))));
        const Bytes packed = Item(kPacked, Bzip2(ScenarioDump()));
        Write("BufferFuzzer", "made-compressed",
              Number(3) + Number(0) + Block(CompressedFragment(0, static_cast<unsigned>(packed.size()), packed)));
    }

    // CheckFuzzer takes options before the script.
    void AddScript(const std::string& name, const Bytes& script) const {
        Write("ScriptFuzzer", name, script);
        Write("CheckFuzzer", name, Number(0) + script);
        Write("CheckFuzzer", name + "-twice", Number(1 + 4) + Block(script) + script);
    }

    void AddAgainst(const std::string& name, const Bytes& script, const Bytes& dump) const {
        Write("CheckFuzzer", name + "-against", Number(2) + Block(dump) + script);
    }

    // CaptureFuzzer takes options, here that a script and a description follow, and the entries: folder (the number of
    // a cycle), name (that of the first process's dump or losses), kind (a file) and content.
    void AddCapture(const std::string& name, const Bytes& script, const std::vector<Bytes>& dumps) const {
        const Bytes losses =
            R"({"recorded":9,"delivered":4,"open":1,"overwritten":3,"refused":2,"dropped":1,"exitsDropped":6})";
        Bytes bytes = Number(32) + Block(script);
        unsigned cycle = 0;
        for (const Bytes& dump : dumps) bytes += Number(++cycle) + Number(0) + Number(0) + Block(dump);
        bytes += Number(1) + Number(4) + Number(0) + Block(losses);
        Write("CaptureFuzzer", name, bytes);
        const Bytes description = R"({"version":1,"processes":{"fuzzed":412,"b":70}})";
        bytes.replace(0, 1, Number(1 + 2 + 4 + 32 + 64 + 128));
        bytes.insert(1 + 2 + script.size(), Block(description));
        Write("CaptureFuzzer", name + "-explained", bytes);
    }

    const fs::path m_directory;
};

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) return std::fputs("usage: MakeSeeds DIRECTORY\n", stderr), 2;
    const Seeds seeds(argv[1]);
    seeds.AddMade();
    seeds.AddLimits();
    seeds.AddReal();
    seeds.AddScenarios();
    seeds.AddSamples();
    seeds.AddFleet();
    seeds.AddRecordings();
    return 0;
}
