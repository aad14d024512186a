#include "RecordedSample.h"

#include "DumpWriter.h"

using namespace dump;

namespace {

Bytes Descriptions() {
    return Persistent(
        {Item(kHeader, Header(412, "media-server")),
         Item(kDescriptor, Descriptor("Point").Member("x", 4).Member("y", 4)),
         Item(kLocation, Location(3).Name("SetVolume").Arg("int", kIn, 4)),
         Item(kLocation, Location(4).Name("GetLevel").Arg("int", kIn, 4).Arg("int", kOut, 4).Returns("bool", 1)),
         Item(kLocation, Location(5).Name("SetSource", "input").Source("input.cpp").Arg("string", kIn, kVariableSize)),
         Item(kLocation, Location(6).Name("Move", "").Arg("Point", kInOut, kCompositeSize).Arg("double", 0, 8)),
         Item(kLocation, Location(7).Name("Idle")),
         Item(kLocation, Location(8).Name("VolumePeak").Arg("int", 0, 4).Arg("string", 0, kVariableSize))});
}

Bytes Call(std::uint32_t location, const Bytes& in = Bytes(), const Bytes& out = Bytes()) {
    return StreamItem(kBefore, Before(5, location, in)) + StreamItem(kAfter, After(2, out));
}

}  // namespace

std::string RecordedDump() {
    const Bytes from = Int(1, 4) + Int(2, 4);
    const Bytes to = Int(3, 4) + Int(4, 4);
    return Descriptions() + Properties(3, Item(kThreadName, ThreadName("mixer"))) +
           Thread(3, {Call(3, Int(85, 4)), Call(3, Int(20, 4)), Call(4, Int(7, 4), Int(9, 4) + Int(1, 1)),
                      Call(5, Variable("hdmi")), Call(6, from, to),
                      StreamItem(kLog, LogRecord(5, 8, Int(99, 4) + Variable("loud")))});
}
