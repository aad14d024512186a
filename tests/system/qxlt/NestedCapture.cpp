#include "NestedCapture.h"

#include "Captures.h"
#include "DumpWriter.h"

using namespace dump;

namespace {

Bytes Descriptions() {
    return Persistent(
        {Item(kDescriptor, Descriptor("Point").Member("x", 4).Member("y", 4)),
         Item(kLocation, Location(3).Name("SetVolume").Arg("int", kIn, 4)),
         Item(kLocation, Location(4).Name("Play").Arg("std::string", kIn, kVariableSize).Returns("int", 4)),
         Item(kLocation, Location(5).Name("Log").Arg("bool", 0, 1).Arg("double", 0, 8)),
         Item(kLocation, Location(6).Name("Move").Arg("Point", kIn, kCompositeSize).Arg("uint8_t", kOut, 1))});
}

Bytes Double(double value) {
    return {reinterpret_cast<const char*>(&value), sizeof value};
}

}  // namespace

// A log record opens a marker of its own, so that the calls that hold it end in streams of their own.
std::string NestedCapture(const Workplace& place) {
    place.Write("capture/capture.json", CaptureFile("\"m\":7"));
    place.Write("capture/000001/m.qxdump",
                Descriptions() + Properties(3, Item(kThreadName, ThreadName("mixer"))) +
                    Thread(3, {StreamItem(kBefore, Before(105, 4, Variable("hd\"mi"))),
                               StreamItem(kBefore, Before(1000, 3, Int(85, 4))), StreamItem(kAfter, After(2)),
                               StreamItem(kAfter, After(3, Int(-1, 4))),
                               StreamItem(kBefore, Before(95, 6, Int(1, 4) + Int(2, 4))),
                               StreamItem(kAfter, After(1, Int(255, 1))), Marker(),
                               StreamItem(kLog, LogRecord(3110, 5, Int(1, 1) + Double(2.5)))}));
    place.Write("capture/000002/m.qxdump",
                Thread(4, {StreamItem(kBefore, Before(300, 3, Int(20, 4))), StreamItem(kAfter, After(4))}));
    place.Write("capture/000002/m.qxloss",
                R"({"recorded":9,"delivered":4,"open":0,"overwritten":3,"refused":2,"dropped":0,"exitsDropped":0})");
    return place.At("capture");
}
