#include "QxCycle.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Diagnostics.h"
#include "DumpWriter.h"
#include "IQxEventObserver.h"
#include "QxData.h"
#include "dlog.h"

namespace {

using namespace dump;

// A store that lists when processes become current and calls arrive, and can fail.
class SteppingStore final : public QxData {
public:
    void AppendCurrentProcess(std::string name) override {
        steps.push_back("process " + name);
        QxData::AppendCurrentProcess(name);
    }
    void AppendCallLocation(_HSCallLocation& location) override {
        steps.push_back("location " + std::to_string(location.locId));
        if (onLocation) onLocation();
        QxData::AppendCallLocation(location);
    }
    unsigned long long AppendBeforeCall(HSCall& call) override {
        steps.push_back("call of " + std::to_string(call.pid));
        return QxData::AppendBeforeCall(call);
    }
    void clearCalls() override {
        steps.emplace_back("clearCalls");
        QxData::clearCalls();
    }

    std::vector<std::string> steps;
    std::function<void()> onLocation;
};

std::vector<char> Dump(const Bytes& bytes) {
    return {bytes.begin(), bytes.end()};
}

Bytes Site(unsigned locId = 3) {
    return Persistent({Item(kLocation, Location(locId).Name("SetVolume").Arg("int", kIn, 4))});
}

Bytes OneCall(int value) {
    return Thread(5, {StreamItem(kBefore, Before(105, 3, Int(value, 4))), StreamItem(kAfter, After(2))});
}

// A dump inside so many others.
Bytes NestedDeep(int levels) {
    Bytes dump = Site();
    for (int i = 0; i < levels; ++i) dump = Persistent({Item(kPacked, Bzip2(dump))});
    return dump;
}

class QxCycleTest : public testing::Test {
protected:
    using Steps = std::vector<std::string>;

    QxCycleTest() {
        m_store->AppendProcessName(7, "a");
        m_store->AppendProcessName(9, "b");
        IQxData::_HSScript* slot = nullptr;
        m_store->GetScript(&slot);
        *slot = Element("Scenario", {});
        (*slot)->children.push_back(Element("action", {{"name", "volume"}}));
        auto& parts = (*slot)->children[0]->children;
        parts.push_back(Element("method", {{"name", "SetVolume"}}));
        parts.push_back(Element("event", {{"name", "VOLUME"}, {"tag", "IN"}, {"value", "0"}, {"type", "INT"}}));
    }

    static IQxData::_HSScriptPtr* Element(const std::string& name,
                                          std::vector<std::pair<std::string, std::string>> attributes) {
        auto* const element = new IQxData::_HSScriptPtr;
        element->name = name;
        element->attributes = std::move(attributes);
        return element;
    }

    static int OnEvent(std::string name, std::string value, IQxData::HSCall call, void* context) {
        static_cast<QxCycleTest*>(context)->m_events.push_back(name + "=" + value + " of " + std::to_string(call.pid));
        return 0;
    }

    QxCycle::Decoded Decode(QxCycle& cycle, const std::string& process, const Bytes& bytes) {
        std::vector<char> dump = Dump(bytes);
        return cycle.Decode(process, dump);
    }

    const Diagnostics m_diagnostics{Info};
    std::shared_ptr<SteppingStore> m_store = std::make_shared<SteppingStore>();
    std::vector<std::string> m_events;
    QxCycle m_cycle{OnEvent, this, m_store};
};

}  // namespace

TEST_F(QxCycleTest, MakesTheProcessCurrentBeforeDecoding) {
    Decode(m_cycle, "a", Site() + OneCall(1));
    Decode(m_cycle, "b", Site() + OneCall(2));
    EXPECT_EQ(m_store->steps, (Steps{"process a", "location 3", "call of 7", "process b", "location 3", "call of 9"}));
}

TEST_F(QxCycleTest, MakesTheProcessCurrentForAnEmptyDump) {
    const QxCycle::Decoded decoded = Decode(m_cycle, "b", "");
    EXPECT_EQ(m_store->steps, Steps{"process b"});
    EXPECT_EQ(m_store->GetCurrentPID(), 9);
    EXPECT_TRUE(decoded.Whole());
    EXPECT_EQ(decoded.stoppedAt, 0u);
    EXPECT_EQ(m_cycle.Parser().Data(), nullptr);
}

TEST_F(QxCycleTest, TellsHowADumpDecoded) {
    const Bytes good = Site() + OneCall(1);
    const QxCycle::Decoded whole = Decode(m_cycle, "a", good);
    EXPECT_TRUE(whole.Whole());
    EXPECT_EQ(whole.stoppedAt, good.size());
    const QxCycle::Decoded damaged = Decode(m_cycle, "a", Site() + Packet(99, "?") + OneCall(1));
    EXPECT_FALSE(damaged.parsed);
    EXPECT_TRUE(damaged.extracted);
    EXPECT_FALSE(damaged.Whole());
    EXPECT_EQ(damaged.stoppedAt, Site().size());
}

TEST_F(QxCycleTest, TellsThatStreamsWereDamaged) {
    const Bytes bytes = Site() + Thread(5, {StreamItem(kAfter, After(2))});
    const QxCycle::Decoded decoded = Decode(m_cycle, "a", bytes);
    EXPECT_TRUE(decoded.parsed);
    EXPECT_FALSE(decoded.extracted);
    EXPECT_EQ(decoded.stoppedAt, bytes.size());
}

TEST_F(QxCycleTest, CountsTheBytesThatWereNotDecoded) {
    const Bytes call = StreamItem(kBefore, Before(105, 3, Int(1, 4))) + StreamItem(kAfter, After(2));
    const Bytes strayExit = StreamItem(kAfter, After(2));
    const Bytes unknown = Packet(99, "?");
    const Bytes cut = StreamItem(kBefore, Before(105, 3, Int(1, 4))).substr(0, 3);
    const Bytes noise = "\xFF!xyz";  // no item has this tag
    const Bytes name = Item(kThreadName, ThreadName("a"));
    const Bytes bad = Item(kProxy, "ab");
    const Bytes damaged = Item(kPacked, "no bzip2");
    const struct {
        const char* what;
        Bytes dump;
        std::size_t count;
    } rows[] = {
        {"nothing", "", 0},
        {"whole", Site() + Thread(5, call), 0},
        {"from a damaged packet on", Site() + unknown + OneCall(1), unknown.size() + OneCall(1).size()},
        {"a stream that is cut", Site() + Thread(5, call + cut), cut.size()},
        {"one stream cut beside a whole one", Site() + Thread(5, cut) + Thread(6, call), cut.size()},
        {"up to the next run", Site() + Thread(5, call + noise + Marker() + call), noise.size()},
        {"up to the end, without a next run", Site() + Thread(5, call + noise), noise.size()},
        // The marker that joining put ahead of the second stream is not the dump's.
        {"behind damage in a stream", Site() + Thread(5, call + strayExit + call) + Thread(6, call),
         strayExit.size() + call.size() + call.size()},
        {"inside what is compressed", Compressed(Site() + unknown) + Flush(), unknown.size()},
        {"the end of an item that began before", Site() + Packet(kThread, Fragment(5, 6, 6, call)), 6},
        {"an end that is not there, either", Site() + Packet(kThread, Fragment(5, 6, 6, "abc")), 3},
        {"the end of a compressed one", Packet(kCompressed, CompressedFragment(6, 6, call)) + Flush(), 6},
        {"a stream that is replaced",
         Site() + Thread(5, call) + PrefixedPacket(2, kThread, Fragment(5, 0, 4, Marker() + Marker())), call.size()},
        {"what stands behind the bytes of a fragment", Packet(kThread, Fragment(5, 0, 0, "") + "padding"), 0},
        {"what stands behind the end of a list", Persistent(name + Bytes("\0more", 5)), 0},
        // With the packet's own header, which counts with the packet.
        {"from a bad item on, not what stands before it", Persistent(name + bad + name) + Flush(),
         2 + bad.size() + name.size() + Flush().size()},
        {"from a bad property on", Properties(5, name + bad + name), 2 + 2 + bad.size() + name.size()},
        {"a compressed item that is damaged", Persistent(damaged), damaged.size()},
        {"one before a bad item", Persistent(damaged + name + bad), 2 + damaged.size() + bad.size()},
        {"one in a stream", Thread(5, damaged + strayExit), damaged.size() + strayExit.size()},
        {"one in a run", CompressedRun(name + damaged + name, 100) + Flush(), damaged.size()},
        {"from a bad item in a run on", CompressedRun(name + bad + name, 100) + Flush(),
         bad.size() + name.size() + Flush().size()},
        {"a run that is cut", CompressedRun(name + Cut(name, 3), 5) + Flush(), 3},
        {"a run that waits", Site() + CompressedRun(name, 100), name.size()},
        {"a packed dump that nests too deep", Site() + NestedDeep(9), Bzip2(Site()).size() + 2 + 2},
        // Its thread is over when it comes: the streams are decoded in the order of their ids.
        {"a fragment for a thread that is over",
         Thread(5, StreamItem(kPacked, Bzip2(Thread(4, name)))) + Thread(4, Marker()), name.size()},
        {"what stays from a dump inside", Persistent(Item(kPacked, Bzip2(CompressedRun(bad + name, 100) + Flush()))),
         bad.size() + name.size() + Flush().size()},
    };
    for (const auto& row : rows) {
        QxCycle cycle(nullptr, nullptr, std::make_shared<QxData>());
        EXPECT_EQ(Decode(cycle, "a", row.dump).bytesNotDecoded, row.count) << row.what;
    }
}

// Stream bytes are not held to their packet: the same bytes may stand in several streams, and be packets as well.
TEST_F(QxCycleTest, CountsBytesOnceThatFragmentsShare) {
    const Bytes noise = "\xFF!xyz";
    // Each packet ends before the stream bytes that it claims, which are those behind the last one.
    const auto claim = [](unsigned tid) { return Packet(kThread, Fragment(tid, 0, 5, "")); };
    EXPECT_EQ(Decode(m_cycle, "a", claim(1) + noise).bytesNotDecoded, noise.size());
    const Bytes before = PrefixedPacket(11, kThread, Fragment(2, 0, 0, ""));
    EXPECT_EQ(Decode(m_cycle, "b", before + claim(1) + noise).bytesNotDecoded, noise.size());
}

// Streams stay when one of them holds damage, and are decoded once more with the next dump.
TEST_F(QxCycleTest, CountsBytesOnceThatStayForTheNextDump) {
    const Bytes call = StreamItem(kBefore, Before(105, 3, Int(1, 4))) + StreamItem(kAfter, After(2));
    const Bytes strayExit = StreamItem(kAfter, After(2));
    const std::uint64_t stays = strayExit.size() + call.size();
    EXPECT_EQ(Decode(m_cycle, "a", Site() + Thread(5, strayExit + call)).bytesNotDecoded, stays);
    const Bytes own = Thread(6, call);
    EXPECT_EQ(Decode(m_cycle, "b", Site() + own).bytesNotDecoded, call.size());
    EXPECT_EQ(m_cycle.Dumps()[0].bytesNotDecoded, stays);
    EXPECT_EQ(m_cycle.Dumps()[1].bytesNotDecoded, call.size());
}

// A run stays, too, and what is unpacked from it anew is what was unpacked from it before.
TEST_F(QxCycleTest, CountsBytesOnceOfARunThatStays) {
    const Bytes unknown = Packet(99, "?");
    const Bytes bad = Item(kProxy, "ab");
    const Bytes run = CompressedRun(Item(kPacked, Bzip2(Site() + unknown)) + bad, 1000);
    EXPECT_EQ(Decode(m_cycle, "a", run + Flush()).bytesNotDecoded, unknown.size() + bad.size() + Flush().size());
    const Bytes more = CompressedRun("abc", 3);
    EXPECT_EQ(Decode(m_cycle, "b", more + Flush()).bytesNotDecoded, 3 + Flush().size());
    EXPECT_EQ(m_cycle.Dumps()[0].bytesNotDecoded, unknown.size() + bad.size() + Flush().size());
}

TEST_F(QxCycleTest, TakesBackWhatALaterDumpDecodes) {
    const Bytes unknown = Packet(99, "?");
    const Bytes packed = Item(kPacked, Bzip2(Site() + unknown));
    EXPECT_EQ(Decode(m_cycle, "a", Site() + CompressedRun(packed, 1000)).bytesNotDecoded, packed.size());
    EXPECT_EQ(m_cycle.Dumps()[0].bytesNotDecoded, packed.size());
    Decode(m_cycle, "empty", "");
    EXPECT_EQ(Decode(m_cycle, "b", Site()).bytesNotDecoded, 0u);
    EXPECT_EQ(m_cycle.Dumps()[0].bytesNotDecoded, unknown.size()) << "what the run brought is still the first dump's";
    EXPECT_EQ(m_cycle.Dumps()[1].bytesNotDecoded, 0u);
}

TEST_F(QxCycleTest, KeepsWhatStoodBeforeTheDamage) {
    Decode(m_cycle, "a", Site() + OneCall(1) + Packet(99, "?"));
    EXPECT_EQ(m_store->GetCallIMap()->size(), 1u);
    EXPECT_EQ(RecordingLog::Count("Exception : 0", DLOG_ERROR), 1);
}

TEST_F(QxCycleTest, PrintsWhatADumpRaisesAndGoesOn) {
    m_store->onLocation = [] { throw std::runtime_error("no room"); };
    const QxCycle::Decoded decoded = Decode(m_cycle, "a", Site());
    EXPECT_FALSE(decoded.parsed);
    EXPECT_FALSE(decoded.extracted);
    EXPECT_EQ(RecordingLog::Messages(DLOG_ERROR), Steps{"[QxCycle::Decode] Dump dropped, process: a, error: no room"});
    m_store->onLocation = nullptr;
    EXPECT_TRUE(Decode(m_cycle, "b", Site() + OneCall(2)).Whole());
    EXPECT_EQ(m_store->GetCallIMap()->size(), 1u);
}

TEST_F(QxCycleTest, PrintsWhatIsNoStandardException) {
    m_store->onLocation = [] { throw 42; };
    EXPECT_FALSE(Decode(m_cycle, "a", Site()).Whole());
    EXPECT_EQ(RecordingLog::Messages(DLOG_ERROR), Steps{"[QxCycle::Decode] Dump dropped, process: a, error: unknown"});
}

TEST_F(QxCycleTest, PrintsAtLevelMajor) {
    QxDebugPrint::GetInstance()->SetLevel(Fatal);
    m_store->onLocation = [] { throw std::runtime_error("no room"); };
    Decode(m_cycle, "a", Site());
    EXPECT_TRUE(RecordingLog::Lines().empty());
    QxDebugPrint::GetInstance()->SetLevel(Major);
    Decode(m_cycle, "a", Site());
    EXPECT_EQ(RecordingLog::Lines().size(), 1u);
}

TEST_F(QxCycleTest, DropsJoinedStreamsOfADumpThatThrew) {
    m_store->onLocation = [] { throw std::runtime_error("no room"); };
    Decode(m_cycle, "a", OneCall(1) + Site());
    m_store->onLocation = nullptr;
    Decode(m_cycle, "b", Site(4));
    EXPECT_TRUE(m_store->GetCallIMap()->empty());
}

TEST_F(QxCycleTest, PrimingKeepsCallsAndRaisesNoEvents) {
    Decode(m_cycle, "a", Site() + OneCall(1));
    m_cycle.Finish(true);
    EXPECT_TRUE(m_events.empty());
    EXPECT_EQ(m_store->GetCallIMap()->size(), 1u);
}

TEST_F(QxCycleTest, FinishTracesAndDropsCalls) {
    Decode(m_cycle, "a", Site() + OneCall(85));
    Decode(m_cycle, "b", Site() + OneCall(86));
    m_store->steps.clear();
    m_cycle.Finish(false);
    EXPECT_EQ(m_events, (Steps{"VOLUME=85 of 7", "VOLUME=86 of 9"}));
    EXPECT_EQ(m_store->steps, Steps{"clearCalls"});
    EXPECT_TRUE(m_store->GetCallIMap()->empty());
}

TEST_F(QxCycleTest, FinishDropsCallsAlsoWhenTracingThrows) {
    class Failing final : public IQxEventObserver {
    public:
        void OnCall(unsigned long long, const IQxData::HSCall&, const std::string&) override { throw std::bad_alloc(); }
    } failing;
    m_cycle.Parser().SetObserver(&failing);
    Decode(m_cycle, "a", Site() + OneCall(1));
    EXPECT_THROW(m_cycle.Finish(false), std::bad_alloc);
    EXPECT_TRUE(m_store->GetCallIMap()->empty());
}

TEST_F(QxCycleTest, FinishSaysThatNothingWasParsed) {
    m_cycle.Finish(false);
    EXPECT_EQ(RecordingLog::Messages(), Steps{"m_instance is NULL"});
    EXPECT_EQ(RecordingLog::Count("m_instance is NULL", DLOG_INFO), 1);
    RecordingLog::Clear();
    m_cycle.Finish(true);
    EXPECT_EQ(RecordingLog::Messages(), Steps{"Clear Fail:m_instance is NULL"});
    EXPECT_EQ(RecordingLog::Count("Clear Fail:m_instance is NULL", DLOG_INFO), 1);
}

// Calls of the cycles before stay for the next one that parses a dump.
TEST_F(QxCycleTest, FinishWithoutADumpLeavesCallsInPlace) {
    Decode(m_cycle, "a", Site() + OneCall(1));
    m_cycle.Finish(true);
    QxCycle next(OnEvent, this, m_store);
    Decode(next, "a", "");
    next.Finish(false);
    EXPECT_TRUE(m_events.empty());
    EXPECT_EQ(m_store->GetCallIMap()->size(), 1u);
}

TEST_F(QxCycleTest, NothingButTheStoreSurvives) {
    const Bytes stream = Before(105, 3, Int(1, 4));
    Decode(m_cycle, "a", Site() + Thread(5, Cut(StreamItem(kBefore, stream), 4)));
    QxCycle next(OnEvent, this, m_store);
    EXPECT_TRUE(Decode(next, "a", Site() + OneCall(2)).Whole());
    EXPECT_EQ(m_store->GetCallIMap()->size(), 1u);
}

TEST_F(QxCycleTest, WorksWithoutACallback) {
    QxCycle silent(nullptr, nullptr, m_store);
    Decode(silent, "a", Site() + OneCall(1));
    silent.Finish(false);
    EXPECT_TRUE(m_store->GetCallIMap()->empty());
}
