// Calls of one thread after the other come back in the order of time.
#include "CallSpool.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "Failure.h"
#include "Workplace.h"

namespace {

using qxlt::CallSpool;
using Packed = qxlt::ImportedCapture::Packed;
using testing::ElementsAre;

Packed Call(std::uint16_t thread, std::uint64_t time, std::uint64_t end, const std::string& in = "") {
    Packed call;
    call.thread = thread;
    call.record.site = 3;
    call.record.time = time;
    call.record.in = in;
    if (end != 0) call.record.exit = {end, "out", "result"};
    return call;
}

std::string TextOf(const Packed& call) {
    std::string text = std::to_string(call.thread) + " " + std::to_string(call.record.time) + " " + call.record.in;
    if (call.record.exit) {
        text +=
            " " + std::to_string(call.record.exit->time) + " " + call.record.exit->out + " " + call.record.exit->result;
    }
    return text;
}

std::vector<std::string> Merged(CallSpool& spool) {
    std::vector<std::string> calls;
    spool.Merge([&calls](const Packed& call) { calls.push_back(TextOf(call)); });
    return calls;
}

TEST(CallSpool, BringsThreadsIntoTheOrderOfTime) {
    const Workplace place;
    CallSpool spool(place.Path());
    spool.Add(20, Call(1, 10, 20, "a"));
    spool.Add(40, Call(1, 5, 40, "b"));
    spool.EndThread();
    spool.EndThread();
    spool.Add(30, Call(2, 29, 30));
    spool.Add(50, Call(2, 31, 0, "open"));
    EXPECT_THAT(Merged(spool),
                ElementsAre("1 10 a 20 out result", "2 29  30 out result", "1 5 b 40 out result", "2 31 open"));
}

TEST(CallSpool, HoldsValuesOfEverySize) {
    const Workplace place;
    CallSpool spool(place.Path());
    std::vector<std::string> expected;
    for (const std::size_t size : std::vector<std::size_t>{0, 1, 4000, 4096, 5000, 60000, 2000000}) {
        const Packed call = Call(1, size, size + 1, std::string(size, 'x'));
        spool.Add(size + 1, call);
        expected.push_back(TextOf(call));
    }
    EXPECT_EQ(Merged(spool), expected);
}

TEST(CallSpool, ATimeThatGoesBackKeepsItsPlaceInTheThread) {
    const Workplace place;
    CallSpool spool(place.Path());
    spool.Add(50, Call(1, 1, 50));
    spool.Add(20, Call(1, 2, 20));
    spool.EndThread();
    spool.Add(30, Call(2, 3, 30));
    EXPECT_THAT(Merged(spool), ElementsAre("2 3  30 out result", "1 1  50 out result", "1 2  20 out result"));
}

TEST(CallSpool, LeavesNoFile) {
    const Workplace place;
    CallSpool spool(place.Path());
    spool.Add(1, Call(1, 1, 1));
    EXPECT_TRUE(std::filesystem::is_empty(place.Path()));
    EXPECT_EQ(Merged(spool).size(), 1u);
}

TEST(CallSpool, NeedsADirectory) {
    const Workplace place;
    EXPECT_THROW(CallSpool(place.At("none")), qxlt::Failure);
}

}  // namespace
