// Which calls pass a filter.
#include "TraceFilter.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;

// audio.SetVolume of thread 3, "mixer", of the process "media-server": it took 2000 ns.
bool Passes(const TraceFilter& filter, std::uint64_t exitTime = 3000) {
    IQxData::HSCall call;
    call.tid = 3;
    call.time = 1000;
    call.exitTime = exitTime;
    IQxData::_HSCallLocation location;
    location.callerName = "SetVolume";
    location.packageName = "audio";
    const std::string process = "media-server";
    return filter.Passes({call, location, process, std::nullopt, std::nullopt, "mixer"});
}

TEST(TraceFilter, LetsAllPassWithoutPatterns) {
    EXPECT_TRUE(Passes({}));
    EXPECT_TRUE(Passes({}, 0));
}

TEST(TraceFilter, ComparesMethodsWithAndWithoutPackage) {
    for (const char* const pattern : {"SetVolume", "Set*", "?etVolume", "audio.*", "audio.SetVolume", "*"}) {
        EXPECT_TRUE(Passes({pattern, {}, "", 0})) << pattern;
    }
    for (const char* const pattern : {"Set", "setvolume", "audio", "video.*", "SetVolume2"}) {
        EXPECT_FALSE(Passes({pattern, {}, "", 0})) << pattern;
    }
}

TEST(TraceFilter, TakesAnyOfTheProcesses) {
    EXPECT_TRUE(Passes({"", {"tuner", "media-*"}, "", 0}));
    EXPECT_FALSE(Passes({"", {"tuner", "media"}, "", 0}));
}

TEST(TraceFilter, KnowsThreadsByNameAndNumber) {
    for (const char* const pattern : {"mixer", "mix*", "3"}) EXPECT_TRUE(Passes({"", {}, pattern, 0})) << pattern;
    for (const char* const pattern : {"mix", "4", "03"}) EXPECT_FALSE(Passes({"", {}, pattern, 0})) << pattern;
}

TEST(TraceFilter, TakesCallsThatTookLonger) {
    EXPECT_TRUE(Passes({"", {}, "", 1999}));
    EXPECT_FALSE(Passes({"", {}, "", 2000}));
    EXPECT_FALSE(Passes({"", {}, "", 1}, 0));    // has not returned
    EXPECT_FALSE(Passes({"", {}, "", 1}, 500));  // damaged
}

TEST(TraceFilter, AsksForAllAtOnce) {
    EXPECT_TRUE(Passes({"Set*", {"media*"}, "mixer", 1}));
    EXPECT_FALSE(Passes({"Set*", {"media*"}, "status", 1}));
}

}  // namespace
