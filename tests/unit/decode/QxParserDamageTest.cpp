// Dumps that end too early or hold a wrong byte: what stands before the damage still comes out.
#include <algorithm>
#include <stdexcept>

#include "Decoding.h"
#include "RandomTrace.h"

namespace {

using namespace dump;

// What a store holds after a decode, each kind in an order of its own.
struct Records {
    std::vector<std::string> atOnce;  // of headers, locations, descriptors, threads, in the order of storing
    std::vector<std::string> calls;   // sorted
};

std::string Shown(const std::vector<IQxData::HSICallArg>& values) {
    std::string shown;
    for (const auto& value : values) {
        for (const auto& pair : value) shown += pair.first + '=' + pair.second + ',';
        shown += ';';
    }
    return shown;
}

std::string Shown(const IQxData::HSCall& call) {
    return std::to_string(call.tid) + ' ' + std::to_string(call.locId) + ' ' + std::to_string(call.time) + ' ' +
           std::to_string(call.exitTime) + " in " + Shown(call.args.in) + " out " + Shown(call.args.out) + " ret " +
           Shown(call.args.ret);
}

Records RecordsOf(ListingStore& store) {
    Records records;
    for (const auto& header : store.headers) records.atOnce.push_back("header " + header.texts[0]);
    for (const auto& location : store.locations) records.atOnce.push_back("location " + location.callerName);
    for (const auto& desc : store.descriptors) records.atOnce.push_back("descriptor " + desc.first);
    for (const auto& thread : store.threads) records.atOnce.push_back("thread " + thread.name);
    std::sort(records.atOnce.begin(), records.atOnce.end());
    for (const auto& call : *store.GetCallIMap()) records.calls.push_back(Shown(call.second));
    std::sort(records.calls.begin(), records.calls.end());
    return records;
}

// As the tracking cycle decodes a dump, with a new parser.
Records Decoded(const std::string& bytes) {
    const auto store = std::make_shared<ListingStore>();
    store->AppendProcessName(7, "traced");
    store->AppendCurrentProcess("traced");
    ExactBytes exact(bytes);
    QxParser parser(nullptr, nullptr);
    try {
        parser.Parse(exact.Pair(), store);
        parser.Extract();
    } catch (const std::length_error&) {
        // A size drawn out beyond its payload; the tracking cycle drops the rest of such a dump.
    }
    RecordingLog::Clear();
    return RecordsOf(*store);
}

bool Includes(const std::vector<std::string>& all, const std::vector<std::string>& some) {
    return std::includes(all.begin(), all.end(), some.begin(), some.end());
}

std::string JoinFirst(const std::vector<std::string>& packets, std::size_t count) {
    return Join(std::vector<std::string>(packets.begin(), packets.begin() + static_cast<std::ptrdiff_t>(count)));
}

// The number of packets that end at or before `offset`.
std::size_t WholePackets(const std::vector<std::string>& packets, std::size_t offset) {
    std::size_t end = 0;
    std::size_t count = 0;
    while (count < packets.size() && (end += packets[count].size()) <= offset) ++count;
    return count;
}

std::string Descriptions() {
    return Persistent(
        {dump::Item(kHeader, Header(7, "traced")),
         dump::Item(kLocation, Location(1).Name("Set").Arg("int", kInOut, 4).Returns("P", kCompositeSize)),
         dump::Item(kLocation, Location(2).Name("Say").Arg("string", kIn, kVariableSize)),
         dump::Item(kDescriptor, Descriptor("P").Member("x", 2).Member("s", kVariableSize))});
}

// Every buffer, every item; one thread's stream is cut into fragments inside an item.
std::vector<std::string> RealisticPackets() {
    const std::string set =
        StreamItem(kBefore, Before(5, 1, Int(1, 4))) + StreamItem(kAfter, After(1, Int(2, 4) + "ab" + Variable("q")));
    const std::string say =
        StreamItem(kBefore, Before(7, 2, Variable(std::string(150, 's')))) + StreamItem(kAfter, After(2));
    const std::string stream = set + say + set;
    const std::size_t cut = set.size() + 20;
    const auto tail = static_cast<unsigned>(set.size() + say.size() - StreamItem(kAfter, After(2)).size() - cut);
    const auto rest = static_cast<unsigned>(stream.size() - cut);
    const std::string inner = Persistent(dump::Item(kLocation, Location(9).Name("Packed"))) +
                              Thread(2, StreamItem(kBefore, Before(3, 9)) + StreamItem(kAfter, After(3)));
    return {Descriptions(),
            Properties(3, dump::Item(kThreadName, ThreadName("main")) + dump::Item(kIpcCaller, IpcCaller(1, 2, "c"))),
            Packet(kThread, Fragment(3, 0, static_cast<unsigned>(cut), Cut(stream, cut))),
            Compressed(inner),
            Flush(),
            Packet(kThread, Fragment(3, tail, rest, stream.substr(cut))),
            Thread(4, StreamItem(kProxy, Proxy(5)) + StreamItem(kLog, LogRecord(9, 2, Variable("l"))))};
}

class QxParserDamageTest : public testing::Test {
protected:
    Diagnostics m_diagnostics;
};

TEST_F(QxParserDamageTest, TheWholeDumpGivesEverything) {
    const Records records = Decoded(Join(RealisticPackets()));
    EXPECT_EQ(records.atOnce.size(), 6u);
    EXPECT_EQ(records.calls.size(), 5u);
}

TEST_F(QxParserDamageTest, EveryPrefixGivesWhatItsWholePacketsHold) {
    const std::vector<std::string> packets = RealisticPackets();
    const std::string whole = Join(packets);
    for (std::size_t size = 0; size <= whole.size(); ++size) {
        SCOPED_TRACE(size);
        const Records expected = Decoded(JoinFirst(packets, WholePackets(packets, size)));
        const Records records = Decoded(Cut(whole, size));
        ASSERT_TRUE(Includes(records.atOnce, expected.atOnce));
        ASSERT_TRUE(Includes(records.calls, expected.calls));
    }
}

TEST_F(QxParserDamageTest, EveryChangedByteLeavesWhatStandsBeforeIt) {
    const std::vector<std::string> packets = {
        Persistent(dump::Item(kLocation, Location(1).Source("v").Name("Set", "p").Arg("P", kIn, kCompositeSize)) +
                   dump::Item(kDescriptor, Descriptor("P").Member("s", kVariableSize))),
        Properties(3, dump::Item(kThreadName, ThreadName("m"))),
        Thread(3, StreamItem(kBefore, Before(5, 1, Variable("q"))) + StreamItem(kAfter, After(1))),
        Persistent(dump::Item(kHeader, Header(7, "t")))};
    const std::string whole = Join(packets);
    for (std::size_t at = 0; at < whole.size(); ++at) {
        const Records before = Decoded(JoinFirst(packets, WholePackets(packets, at)));
        for (unsigned value = 0; value < 256; ++value) {
            SCOPED_TRACE("byte " + std::to_string(at) + " is " + std::to_string(value));
            const Records records = Decoded(Change(whole, at, value));
            ASSERT_TRUE(Includes(records.atOnce, before.atOnce));
        }
    }
}

// Streams are decoded in order of their threads. The call before is closed: an exit that the damage sets free would
// complete it otherwise.
TEST_F(QxParserDamageTest, ADamagedStreamLeavesTheThreadsBeforeIt) {
    const std::string head =
        Descriptions() + Thread(3, StreamItem(kBefore, Before(5, 2, Variable("q"))) + StreamItem(kAfter, After(1)));
    const std::vector<std::string> expected = Decoded(head).calls;
    ASSERT_EQ(expected.size(), 1u);
    const std::string stream =
        Marker() + StreamItem(kBefore, Before(6, 2, Variable("r"))) + StreamItem(kAfter, After(1));
    for (std::size_t at = 0; at < stream.size(); ++at) {
        for (unsigned value = 0; value < 256; ++value) {
            SCOPED_TRACE("byte " + std::to_string(at) + " is " + std::to_string(value));
            ASSERT_TRUE(Includes(Decoded(head + Thread(8, Change(stream, at, value))).calls, expected));
        }
    }
}

// Only ends, and stays inside: what comes out of it depends on the damage.
TEST_F(QxParserDamageTest, RandomTracesSurviveCutsAndChanges) {
    QxDebugPrint::GetInstance()->SetLevel(Silent);
    for (std::uint32_t seed = 1; seed <= 2; ++seed) {
        const RandomTrace trace(seed, 40);
        const std::string& whole = trace.Dump();
        for (std::size_t at = 0; at < whole.size(); at += 61) {
            ASSERT_LE(Decoded(Cut(whole, at)).calls.size(), whole.size());
            Decoded(Change(whole, at, static_cast<unsigned char>(whole[at]) ^ 0x81u));
        }
    }
}

}  // namespace
