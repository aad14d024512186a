// Captures as files, and what a replay makes of them.
#pragma once

#include <string>
#include <vector>

#include "Child.h"
#include "DumpWriter.h"
#include "Workplace.h"

inline std::string CaptureFile(const std::string& processes) {
    return "{\"version\":1,\"processes\":{" + processes + "}}\n";
}

// Of a run that began at that time.
inline std::string CaptureFile(const std::string& processes, const std::string& since) {
    return "{\"version\":1,\"processes\":{" + processes + "},\"since\":" + since + "}\n";
}

// A call of location 3, which was described in an earlier dump.
inline std::string LaterCall(int volume) {
    return dump::Thread(3, dump::StreamItem(dump::kBefore, dump::Before(105, 3, dump::Int(volume, 4))) +
                               dump::StreamItem(dump::kAfter, dump::After(2)));
}

inline std::vector<std::string> Values(const std::string& jsonLines) {
    std::vector<std::string> values;
    for (const std::string& line : Lines(jsonLines)) {
        const std::size_t at = line.find("\"value\":\"") + 9;
        values.push_back(line.substr(at, line.find('"', at) - at));
    }
    return values;
}

// A capture whose second cycle lost something.
inline std::string LossyCapture(const Workplace& place) {
    place.Write("capture/capture.json", CaptureFile("\"m\":7,\"n\":8"));
    place.Write("capture/000001/m.qxdump", VolumeDump({1}));
    place.Write("capture/000001/m.qxloss",
                R"({"recorded":3,"delivered":1,"open":2,"overwritten":0,"refused":0,"dropped":0,"exitsDropped":0})");
    place.Write("capture/000002/m.qxdump", VolumeDump({2}) + dump::Packet(9, "x"));
    place.Write("capture/000002/m.qxloss",
                R"({"recorded":9,"delivered":4,"open":1,"overwritten":3,"refused":2,"dropped":1,"exitsDropped":6})");
    place.Write("capture/000002/n.qxloss",
                R"({"recorded":5,"delivered":0,"open":0,"overwritten":0,"refused":5,"dropped":0,"exitsDropped":0})");
    return place.At("capture");
}
