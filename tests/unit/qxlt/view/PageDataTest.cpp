// A run as a page reads it.
#include "PageData.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

#include "DumpWriter.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;

class PageDataTest : public testing::Test {
protected:
    PageDataTest() { m_location.callerName = "Set<b>"; }

    PageData Data(const RunStart& start = {}) {
        return {[this](const std::string& line) { m_lines.push_back(line); }, "a<b", start, m_reasons};
    }

    CallView Call(std::uint64_t time, std::uint64_t exitTime) {
        m_call.tid = 3;
        m_call.time = time;
        m_call.exitTime = exitTime;
        return {m_call, m_location, m_process, time * 1000, 7};
    }

    // What NestedRun makes of it.
    static NestedItem Item(NestedItem::Kind kind, const CallView& call, std::string entry) {
        NestedItem item;
        item.kind = kind;
        item.thread = {call.process, *call.maker, call.call.tid};
        item.times = {call.call.time, call.call.exitTime, *call.key};
        item.entry = std::move(entry);
        return item;
    }

    FiringReasons m_reasons;
    IQxData::HSCall m_call;
    IQxData::_HSCallLocation m_location;
    std::string m_process = "m";
    std::vector<std::string> m_lines;
};

TEST_F(PageDataTest, WritesEachThingOnceAndCountsFromTheFirst) {
    PageData data = Data({5, 5, 1772368200000000007});
    for (const std::uint64_t time : {10u, 20u}) {
        const CallView call = Call(time, time + 4);
        const std::string held = data.Hold(call)->entry;
        data.Enter(Item(NestedItem::Kind::Call, call, held), {0, time + 3});
    }
    data.Finish();
    EXPECT_THAT(m_lines, ElementsAre(R"([{"capture":"a\u003cb","start":"5","clock":"1772368200000000007"})",
                                     R"(,{"method":"Set\u003cb>","source":""})", R"(,{"base":"10"})",
                                     R"(,{"thread":"","process":"m","pid":7,"tid":3})",
                                     R"(,{"call":0,"in":[],"lane":0,"at":0,"took":4,"drawn":3,"depth":0})",
                                     R"(,{"call":0,"in":[],"lane":0,"at":10,"took":4,"drawn":3,"depth":0})", "]"));
}

TEST_F(PageDataTest, TellsWhichCallRaisedAnEvent) {
    PageData data = Data();
    for (const std::uint64_t time : {10u, 10u}) {
        CallView call = Call(time, 0);
        call.key = *call.key + m_lines.size();
        data.Enter(Item(NestedItem::Kind::Call, call, data.Hold(call)->entry), {0, time});
    }
    const CallView first = Call(10, 0);
    NestedItem event = Item(NestedItem::Kind::Event, first, data.Hold(EventView{2, "E", "<v>", first}));
    event.times.key += 1;  // one line stood there before the first call
    data.Enter(event, {0, 10});
    EXPECT_EQ(m_lines.back(), R"(,{"event":"E","value":"\u003cv>","cycle":2,"why":"","lane":0,"at":0,"of":0})");
    event.times.time = 11;
    data.Enter(event, {0, 11});
    EXPECT_EQ(m_lines.back(), R"(,{"event":"E","value":"\u003cv>","cycle":2,"why":"","lane":0,"at":1})");
}

TEST_F(PageDataTest, WritesGapsAndWhatIsBeforeTheFirst) {
    PageData data = Data();
    const CallView call = Call(10, 0);
    data.Enter(Item(NestedItem::Kind::Call, call, data.Hold(call)->entry), {0, 10});
    std::optional<LossCounts> counts{LossCounts()};
    counts->overwritten = 3;
    NestedItem loss = Item(NestedItem::Kind::Loss, Call(4, 9), data.Hold(DumpNews{2, m_process, counts, 0, 0}));
    data.Enter(loss, {0, 4});
    EXPECT_EQ(m_lines.back(), R"(,{"lost":"overwritten 3","cycle":2,"process":"m","pid":7,"at":-6,"lasts":5})");
}

// A method that returns nothing has no result; a call that ended without that of its method has none, too, and says so.
TEST_F(PageDataTest, TellsThatAResultIsMissing) {
    PageData data = Data();
    m_location.args.retType = "result<int>";
    m_location.args.retSize = dump::kCompositeSize;
    m_call.args.ret.resize(1);
    EXPECT_EQ(data.Hold(Call(10, 12))->entry, R"({"call":0,"in":[],"ret":null})");
    m_call.args.ret[0].emplace_back("", std::string("\x02\x01\x01\x01", 4));
    EXPECT_EQ(data.Hold(Call(10, 12))->entry, R"({"call":0,"in":[],"ret":"1"})");
}

}  // namespace
