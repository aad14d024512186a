#include "QxEventRoom.h"

#include <gtest/gtest.h>

#include "Diagnostics.h"
#include "DumpWriter.h"
#include "ExactBytes.h"
#include "QxCallCost.h"
#include "QxCycle.h"
#include "QxData.h"
#include "QxXMLLoader.h"
#include "dlog.h"

namespace {

constexpr std::uint64_t kRoom = std::uint64_t{256} << 20;

class QxEventRoomTest : public testing::Test {
protected:
    static std::string Line(int count) {
        return "[QxEventRoom::End] Too many events to keep, raised only: " + std::to_string(count);
    }

    Diagnostics m_diagnostics{Major};
};

TEST_F(QxEventRoomTest, HasRoomForAllOutsideAPass) {
    QxEventRoom room;
    EXPECT_TRUE(room.TryTake(UINT64_MAX / 2));
    EXPECT_TRUE(room.TryTake(UINT64_MAX / 2));
}

TEST_F(QxEventRoomTest, HasSoMuchInAPassAndNoMore) {
    for (const std::uint64_t dumpBytes : {0u, 1000u}) {
        RecordingLog::Clear();
        QxEventRoom room;
        room.Begin(dumpBytes);
        EXPECT_FALSE(room.TryTake(kRoom + 64 * dumpBytes + 1)) << "and takes nothing";
        EXPECT_TRUE(room.TryTake(kRoom + 64 * dumpBytes));
        EXPECT_FALSE(room.TryTake(1));
        EXPECT_TRUE(RecordingLog::Lines().empty());
        room.End();
        EXPECT_EQ(RecordingLog::Count(Line(2), DLOG_ERROR), 1);
        EXPECT_TRUE(room.TryTake(kRoom * 2)) << "the pass is over";
        room.Begin(0);
        EXPECT_TRUE(room.TryTake(kRoom)) << "each pass begins anew";
        room.End();
        EXPECT_EQ(RecordingLog::Lines().size(), 1u);
    }
}

TEST_F(QxEventRoomTest, SaysAtLevelMajorWhatWasNotKept) {
    QxDebugPrint::GetInstance()->SetLevel(Fatal);
    {
        QxEventRoom room;
        room.Begin(0);
        room.TryTake(kRoom + 1);
    }
    EXPECT_TRUE(RecordingLog::Lines().empty());
    QxDebugPrint::GetInstance()->SetLevel(Major);
    {
        QxEventRoom room;
        room.Begin(0);
        room.TryTake(kRoom + 1);
    }
    EXPECT_EQ(RecordingLog::Count(Line(1), DLOG_ERROR), 1);
}

// A store that counts what its event table would hold, and forgets it.
class CountingStore final : public QxData {
public:
    void AppendEvent(std::string name, std::string value, HSCall call) override {
        kept += qxcost::OfEvent(name, value, call);
        ++events;
    }

    std::uint64_t kept = 0;
    int events = 0;
};

int CountEvent(std::string, std::string, IQxData::HSCall, void* context) {
    ++*static_cast<int*>(context);
    return 0;
}

TEST_F(QxEventRoomTest, EventsBeyondAreRaisedAndNotKept) {
    using namespace dump;
    constexpr int kEvents = 40;
    constexpr std::uint32_t kPairs = 80000;
    const auto store = std::make_shared<CountingStore>();
    std::string script = "<Scenario><action name='a'><method name='SetVolume'/>";
    for (int i = 0; i < kEvents; ++i) script += "<event name='e" + std::to_string(i) + "' tag='NONE'/>";
    ExactBytes text(script + "</action></Scenario>");
    ASSERT_TRUE(QxXMLLoader::Parse(text.Pair(), store));
    const std::string bytes = Persistent({Item(kDescriptor, Descriptor("T", true).Member("m", 0)),
                                          Item(kLocation, Location(1).Arg("T", kIn, kCompositeSize)),
                                          Item(kBefore, Before(1, 1, Varint(kPairs)))});
    std::vector<char> dumped(bytes.begin(), bytes.end());
    int raised = 0;
    QxCycle cycle(CountEvent, &raised, store);
    ASSERT_TRUE(cycle.Decode("p", dumped).Whole());
    const std::uint64_t cost = qxcost::OfEvent("e0", "NONE", store->GetCallIMap()->begin()->second);
    cycle.Finish(false);
    EXPECT_EQ(raised, kEvents);
    EXPECT_EQ(store->events, static_cast<int>((kRoom + 64 * bytes.size()) / cost));
    EXPECT_LT(store->events, kEvents);
    EXPECT_LE(store->kept, kRoom + 64 * bytes.size());
    EXPECT_EQ(RecordingLog::Count(Line(kEvents - store->events), DLOG_ERROR), 1);
}

}  // namespace
