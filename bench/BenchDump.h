// The dumps and stores that the benchmarks work on.
#pragma once

#include <memory>
#include <string>
#include <utility>

#include "DumpWriter.h"
#include "IQxData.h"
#include "IQxLogTracker.h"
#include "QxData.h"
#include "QxDebugPrint.h"
#include "QxXMLLoader.h"

namespace bench {

constexpr unsigned kIntLocation = 3, kTextLocation = 4, kPointLocation = 5;

// Another class than QxData: the library reads and writes it through the exported operations alone, which copy.
class CopyingStore final : public QxData {};

template <typename Store = QxData>
std::shared_ptr<IQxData> MakeStore() {
    QxDebugPrint::GetInstance()->SetLevel(Fatal);
    auto store = std::make_shared<Store>();
    store->AppendProcessName(7, "bench");
    store->AppendCurrentProcess("bench");
    return store;
}

inline std::string Locations() {
    using namespace dump;
    return Persistent(
        {Item(kLocation,
              Location(kIntLocation).Name("SetVolume").Arg("int", kIn, 4).Arg("bool", kIn, 1).Returns("int", 4)),
         Item(kLocation, Location(kTextLocation).Name("OpenStream").Arg("string", kIn, kVariableSize)),
         Item(kDescriptor, Descriptor("Point").Member("x", 4).Member("y", 4).Member("name", kVariableSize, "string")),
         Item(kLocation, Location(kPointLocation).Name("Move").Arg("Point", kIn, kCompositeSize))});
}

// An entry and its exit 1000 later. `delta` is the time since the call before.
inline std::string Call(unsigned location, int number, std::uint64_t delta) {
    using namespace dump;
    if (location == kTextLocation) {
        return StreamItem(kBefore, Before(delta, location, Variable("file:///media/track-" + std::to_string(number)))) +
               StreamItem(kAfter, After(1));
    }
    if (location == kPointLocation) {
        return StreamItem(kBefore, Before(delta, location, Int(number, 4) + Int(-number, 4) + Variable("corner"))) +
               StreamItem(kAfter, After(1));
    }
    return StreamItem(kBefore, Before(delta, location, Int(number % 101, 4) + Int(number % 2, 1))) +
           StreamItem(kAfter, After(1, Int(number, 4)));
}

// A dump of `calls` calls of one location, in fragments as a recorder cuts them. Each fragment begins a new run, whose
// first time is absolute.
inline std::string CallDump(unsigned location, int calls) {
    std::string bytes = Locations();
    std::string run;
    for (int i = 0; i < calls; ++i) {
        run += Call(location, i, run.empty() ? static_cast<std::uint64_t>(i) * 1100 : 100);
        if (run.size() < 4000 && i + 1 < calls) continue;
        bytes += dump::Thread(1, run);
        run.clear();
    }
    return bytes;
}

inline void LoadScript(const std::shared_ptr<IQxData>& store, std::string xml) {
    std::pair<int, char*> text(static_cast<int>(xml.size()), xml.data());
    QxXMLLoader::Parse(text, store);
}

}  // namespace bench
