// Writes the dumps of the scenario folders: `qx_make_scenario_dumps DIRECTORY`. The dumps are kept beside the
// scenarios, so that a folder is complete by itself; this program says what is in them, and a test that they are what
// it writes.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "DumpWriter.h"

namespace {

using dump::Bytes;
using Files = std::map<std::string, Bytes>;  // by the path below the scenarios' directory

// The methods of the traced process, by their location numbers.
constexpr std::uint32_t kSetVolume = 1;  // (int)
constexpr std::uint32_t kSetInput = 2;   // (text)
constexpr std::uint32_t kGetState = 3;   // (out int, out text) -> int
constexpr std::uint32_t kMoveTo = 4;     // (Point)
constexpr std::uint32_t kSetName = 5;    // (int, text) -> text
constexpr std::uint32_t kNotice = 6;     // a log record with a text

constexpr unsigned kThreadId = 7;
constexpr unsigned kMediaPid = 412;

Bytes Descriptions(const Bytes& process = "media-server") {
    using namespace dump;
    return Persistent({Item(kHeader, Header(kMediaPid, process)),
                       Item(kDescriptor, Descriptor("Point").Member("x", 4).Member("y", 4)),
                       Item(kLocation, Location(kSetVolume).Name("SetVolume").Arg("int", kIn, 4)),
                       Item(kLocation, Location(kSetInput).Name("SetInput").Arg("text", kIn, kVariableSize)),
                       Item(kLocation, Location(kGetState)
                                           .Name("GetState")
                                           .Arg("int", kOut, 4)
                                           .Arg("text", kOut, kVariableSize)
                                           .Returns("int", 4)),
                       Item(kLocation, Location(kMoveTo).Name("MoveTo").Arg("Point", kIn, kCompositeSize)),
                       Item(kLocation, Location(kSetName)
                                           .Name("SetName")
                                           .Arg("int", kIn, 4)
                                           .Arg("text", kIn, kVariableSize)
                                           .Returns("text", kVariableSize)),
                       Item(kLocation, Location(kNotice).Name("Notice").Arg("text", kIn, kVariableSize))});
}

// A call that takes 2 ms, 100 units after the one before it.
Bytes Call(std::uint32_t location, const Bytes& entry, const Bytes& exit = Bytes()) {
    return dump::StreamItem(dump::kBefore, dump::Before(100, location, entry)) +
           dump::StreamItem(dump::kAfter, dump::After(2, exit));
}

Bytes SetVolume(std::int64_t volume) {
    return Call(kSetVolume, dump::Int(volume, 4));
}

Bytes SetInput(const Bytes& input) {
    return Call(kSetInput, dump::Variable(input));
}

Bytes GetState(std::int64_t volume, const Bytes& input, std::int64_t result) {
    return Call(kGetState, Bytes(), dump::Int(volume, 4) + dump::Variable(input) + dump::Int(result, 4));
}

Bytes MoveTo(std::int64_t x, std::int64_t y) {
    return Call(kMoveTo, dump::Int(x, 4) + dump::Int(y, 4));
}

Bytes SetName(std::int64_t number, const Bytes& name, const Bytes& former) {
    return Call(kSetName, dump::Int(number, 4) + dump::Variable(name), dump::Variable(former));
}

Bytes Notice(const Bytes& text) {
    return dump::StreamItem(dump::kLog, dump::LogRecord(100, kNotice, dump::Variable(text)));
}

Bytes Dump(const std::vector<Bytes>& calls) {
    return Descriptions() + dump::Thread(kThreadId, dump::Join(calls));
}

Bytes Volumes(const std::vector<int>& volumes) {
    std::vector<Bytes> calls;
    for (const int volume : volumes) calls.push_back(SetVolume(volume));
    return Dump(calls);
}

Bytes Inputs(const std::vector<Bytes>& inputs) {
    std::vector<Bytes> calls;
    for (const Bytes& input : inputs) calls.push_back(SetInput(input));
    return Dump(calls);
}

Files WatchModes() {
    return {{"always/1.qxdump", Volumes({5, 5, 7})},
            {"no-watch/1.qxdump", Volumes({1, 2})},
            {"changed/1.qxdump", Volumes({5, 5, 7, 5})},
            {"changed-over-cycles/1.qxdump", Volumes({5, 6})},
            {"changed-over-cycles/2.qxdump", Volumes({6, 6})},
            {"changed-over-cycles/3.qxdump", Volumes({5})},
            {"rising-edge/1.qxdump", Volumes({5, 12, 15, 3, 20})},
            {"rising-edge-over-cycles/1.qxdump", Volumes({12})},
            {"rising-edge-over-cycles/2.qxdump", Volumes({13, 9, 14})}};
}

Files Conditions() {
    return {{"equal/1.qxdump", Volumes({9, 10, 11})},
            {"not-equal/1.qxdump", Volumes({9, 10, 11})},
            {"greater/1.qxdump", Volumes({80, 81, -1})},
            {"less/1.qxdump", Volumes({0, 1, -5})},
            {"range/1.qxdump", Volumes({0, 1, 3, 5, 6})},
            {"equal-any/1.qxdump", Inputs({"tv", "on", "off", "true"})},
            {"equal-all/1.qxdump", Inputs({"on", "off"})},
            {"not-equal-all/1.qxdump", Inputs({"hdmi", "tv", "usb"})},
            {"all-of-nothing/1.qxdump", Inputs({"anything", ""})},
            {"last-operand-decides/1.qxdump", Inputs({"on", "true"})},
            {"wrong-type/1.qxdump", Inputs({"5", "15"})},
            {"wrong-range/1.qxdump", Volumes({5, 7})}};
}

Files Values() {
    return {{"tag-in/1.qxdump", Dump({SetName(1, "kitchen", "bath"), SetName(-2, "", "kitchen")})},
            {"tag-out/1.qxdump", Dump({GetState(40, "hdmi", 0), GetState(41, "usb", 1)})},
            {"tag-ret/1.qxdump", Dump({GetState(40, "hdmi", 0), GetState(41, "usb", -1)})},
            {"tag-none/1.qxdump", Volumes({1, 2})},
            {"no-tag/1.qxdump", Volumes({1})},
            {"unknown-type/1.qxdump", Volumes({1, 2})},
            {"index-out-of-range/1.qxdump", Volumes({1})},
            {"composite/1.qxdump", Dump({MoveTo(3, 4), MoveTo(-1, 9)})},
            {"not-utf8/1.qxdump", Inputs({"caf\xE9", "caf\xC3\xA9", Bytes("a\0b", 3)})}};
}

Files Fields() {
    return {{"filter-and-datakey/1.qxdump", Inputs({"x;id=42;y", "id=7", "x;y"})},
            {"datakey-without-join/1.qxdump", Inputs({"id=42;rest", "name"})},
            {"datakey-past-the-end/1.qxdump", Inputs({"id", "id=1", "id=1;name=tv"})},
            {"filter-without-datakey/1.qxdump", Inputs({"id=42", "name=1"})},
            {"keyword/1.qxdump", Inputs({"off", "on", "On"})},
            {"keyword-of-field/1.qxdump", Inputs({"state=on;", "state=off;"})}};
}

Files Scripts() {
    return {{"two-scripts/1.qxdump", Dump({SetVolume(90), SetInput("usb")})},
            {"actions-in-name-order/1.qxdump", Volumes({1})},
            {"action-without-name/1.qxdump", Dump({SetVolume(1), SetInput("usb")})},
            {"method-subscribed-twice/1.qxdump", Volumes({1})},
            {"shared-event-name/1.qxdump", Dump({SetInput("usb"), SetVolume(1), SetInput("usb"), SetInput("tv")})},
            {"session/1.qxdump", Volumes({1})},
            {"event-in-error/1.qxdump", Volumes({1, 2})}};
}

Files Dumps() {
    const Bytes good = Volumes({5});
    const Bytes damaged = good + dump::Packet(9, "x") + dump::Thread(kThreadId, SetVolume(7));
    return {{"log-record/1.qxdump", Dump({Notice("low battery"), Notice("ready")})},
            {"compressed/1.qxdump", dump::Compressed(Volumes({5, 6})) + dump::Flush()},
            {"damaged-among-good/1.qxdump", good},
            {"damaged-among-good/2.qxdump", damaged},
            {"damaged-among-good/3.qxdump", Volumes({6})},
            {"capture/000001/media-server.qxdump", Volumes({99})},
            {"capture/000002/media-server.qxdump", dump::Thread(kThreadId, SetVolume(6))},
            {"capture/000002/tuner.qxdump", Descriptions("tuner") + dump::Thread(kThreadId, SetInput("dvb"))},
            {"capture/000004/tuner.qxdump", dump::Thread(kThreadId, SetInput("usb"))}};
}

Files AllFiles() {
    Files all;
    for (const Files& some : {WatchModes(), Conditions(), Values(), Fields(), Scripts(), Dumps()}) {
        all.insert(some.begin(), some.end());
    }
    return all;
}

bool Write(const std::filesystem::path& path, const Bytes& bytes) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream file(path, std::ios::binary);
    file << bytes;
    file.close();
    if (!file) std::fprintf(stderr, "%s cannot be written\n", path.c_str());
    return !file.fail();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: qx_make_scenario_dumps DIRECTORY\n");
        return 2;
    }
    bool written = true;
    for (const auto& [name, bytes] : AllFiles())
        written = Write(std::filesystem::path(argv[1]) / name, bytes) && written;
    return written ? 0 : 1;
}
