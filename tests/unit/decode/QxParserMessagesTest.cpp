// The level of every message of the decoding layer: printed once at its level, and not at all one level below.
#include <functional>

#include "Decoding.h"
#include "QxCompCallArg.h"

namespace {

using namespace dump;
using namespace std::string_literals;

class QxParserMessagesTest;

struct Row {
    int level;
    std::string message;
    std::function<void(QxParserMessagesTest&)> cause;
};

class QxParserMessagesTest : public Decoding, public testing::WithParamInterface<Row> {
public:
    using Decoding::Decode;
    using Decoding::Item;

    void Locate(const dump::Location& location) { EXPECT_GE(Item(kLocation, location), 0); }
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.message;
}

Row OfItem(int level, const std::string& message, unsigned tag, const std::string& payload) {
    return {level, message, [=](QxParserMessagesTest& test) { test.Item(tag, payload); }};
}

// An item that refers to location 1.
Row OfCall(int level, const std::string& message, const dump::Location& location, unsigned tag,
           const std::string& values) {
    return {level, message, [=](QxParserMessagesTest& test) {
                test.Locate(location);
                test.Item(kBefore, Before(1, 1, tag == kBefore ? values : ""));
                if (tag == kAfter) test.Item(kAfter, After(1, values));
            }};
}

Row OfLog(int level, const std::string& message, const dump::Location& location, const std::string& values) {
    return {level, message, [=](QxParserMessagesTest& test) {
                test.Locate(location);
                test.Item(kLog, LogRecord(1, 1, values));
            }};
}

Row OfDump(int level, const std::string& message, const std::string& bytes) {
    return {level, message, [=](QxParserMessagesTest& test) { test.Decode(bytes); }};
}

// A call with an argument of the layout "T0", after the layouts were described.
Row OfComposite(int level, const std::string& message, const std::vector<Descriptor>& layouts,
                const std::string& value) {
    return {level, message, [=](QxParserMessagesTest& test) {
                for (const Descriptor& layout : layouts) EXPECT_GE(test.Item(kDescriptor, layout), 0);
                test.Locate(Location(1).Arg("T0", kIn, kCompositeSize));
                test.Item(kBefore, Before(1, 1, value));
            }};
}

// A layout whose value says how deep it goes, and one of two members at each of 60 levels.
std::vector<Descriptor> LayoutThatNamesItself() {
    return {Descriptor("T0").Member("n", kVariableSize, "T0")};
}
std::string NestedValues(int levels) {
    std::string bytes;
    for (int i = 1; i < levels; ++i) bytes += Varint(kCompositeSize);
    return bytes + Variable("x");
}
std::vector<Descriptor> TreeOfLayouts() {
    std::vector<Descriptor> layouts;
    for (int i = 0; i < 60; ++i) {
        const std::string next = "T" + std::to_string(i + 1);
        layouts.push_back(
            Descriptor("T" + std::to_string(i)).Member("a", kCompositeSize, next).Member("b", kCompositeSize, next));
    }
    return layouts;
}

std::string NestedDumps(int levels) {
    std::string dump = Flush();
    for (int i = 0; i < levels; ++i) dump = Persistent(dump::Item(kPacked, Bzip2(dump)));
    return dump;
}

// Items that hold a text one byte too long, after what stands before it.
const std::string kLong = "\x05" + "abcd"s;

const Row kRows[] = {
    OfDump(Major, "Exception : 0", Packet(3, "")),
    OfDump(Major, "Exception : 1", "\x02"),
    OfDump(Major, "Exception : 2", Thread(1, StreamItem(kAfter, After(1)))),
    OfDump(Info, "QxParser::Payload throw PERR_INVALID_TAG, tag = [3]", Packet(3, "")),
    OfItem(Info, "QxParser::ParseItem throw PERR_INVALID_TAG, tag = [B]", 11, ""),
    OfDump(Major, "[QxParser::Packet] Read past the end, offset: 1, bytes: 1, size: 1", "\x02"),
    OfDump(Fatal, "[QxThreadBuffer::Extract] size not expected, size:5, threadit->second.size():4",
           Thread(1, "\x06\x05")),
    OfDump(Major, "[QxThreadBuffer::Extract] Stream ends inside an item header, offset: 2, size: 3", Thread(1, "\x06")),
    OfDump(Fatal, "QxThreadProperties::Parse excetpion", Properties(1, "\x06" + kLong)),
    OfDump(Fatal,
           "[QxCompressedBuffer::Extract] count + size not expected, count: 2, size:5, m_compressedBuffer.size():6",
           CompressedRun("\x06" + kLong, 100) + Flush()),
    OfDump(Major, "[QxCompressedBuffer::Extract] Data ends inside an item header, offset: 0, size: 1",
           CompressedRun("\x06", 100) + Flush()),
    OfItem(Info, "boost::exception occurs !! IGNORE THIS PACKET", kPacked, "abc"),
    OfDump(Major, "[QxParser::ParseNested] Compressed dumps nest deeper than 8", NestedDumps(9)),
    OfItem(Major, "[QxHeader::Append] Invalid size for process, size+offset: 8, payload.size: 7", kHeader,
           Fixed16(1) + kLong),
    OfItem(Major, "[QxHeader::Append] Invalid size for qxVersion, size+offset: 9, payload.size: 8", kHeader,
           Fixed16(1) + "\0"s + kLong),
    OfItem(Major, "[QxHeader::Append] Invalid size for swBuildString, size+offset: 10, payload.size: 9", kHeader,
           Fixed16(1) + "\0\0"s + kLong),
    OfItem(Major, "[QxHeader::Append] Invalid size for swVersionModel, size+offset: 11, payload.size: 10", kHeader,
           Fixed16(1) + "\0\0\0"s + kLong),
    OfItem(Fatal, "Throwing Invalid size.. QxHeader Append", kHeader, Header(1, "p") + "x"),
    OfItem(Major, "[QxThreadData::Append] Invalid size+count: 6, payload.size: 5", kThreadName, kLong),
    OfItem(Major, "[QxIPCCaller::Append] Invalid size+offset: 9, payload.size: 8", kIpcCaller, "\x01\x00\x00"s + kLong),
    OfItem(Major, "[QxIPCCaller::Append] Throwing Invalid Size..", kIpcCaller, IpcCaller(1, 0, "c") + "x"),
    OfItem(Major, "[QxProxyMarker::Append] Throwing Invalid Size..", kProxy, "\x05x"),
    OfItem(Major, "[QxCallLocation::Append] Invalid size for srcCodeFileRaw, size+offset: 7, payload.size: 6",
           kLocation, "\0"s + kLong),
    OfItem(Major, "[QxCallLocation::Append] Invalid size for argType,  argTypeSize+offset: 12, payload.size: 11",
           kLocation, "\0\0\x03\x01\x01\x04"s + kLong),
    OfItem(Major, "[QxCallLocation::Append] Invalid size for args.retType, size+offset: 10, payload.size: 9", kLocation,
           "\0\0\x03\0"s + kLong),
    OfItem(Major, "[QxCallLocation::Append] Invalid size for callerName, size+offset: 12, payload.size: 11", kLocation,
           "\0\0\x03\0\0\0"s + kLong),
    OfItem(Major, "[QxCallLocation::Append] Invalid size for packageName, size+offset: 13, payload.size: 12", kLocation,
           "\0\0\x03\0\0\0\0"s + kLong),
    OfItem(Major, "[QxCallLocation::Append] Throwing Invalid Size..", kLocation, std::string(Location(1)) + "x"),
    OfItem(Fatal, "QxCompCallArg, Append.. Throwing Invalid size..", kDescriptor, std::string(Descriptor("T")) + "x"),
    {Fatal, "[ReadStringArg] pBuffer is NULL",
     [](QxParserMessagesTest&) {
         std::string out;
         ReadStringArg(nullptr, 1, out);
     }},
    OfComposite(Major, "[QxCompCallParser::ParseComposite] Composites nest deeper than 64", LayoutThatNamesItself(),
                NestedValues(65)),
    OfComposite(Major, "[QxCompCallParser::Parse] One value holds too many argument pairs", TreeOfLayouts(), ""),
    OfCall(Major, "[QxBeforeCall::Append] count not expected asize:0, payload.size():2, count:3",
           Location(1).Arg("a", kIn, kVariableSize), kBefore, ""),
    OfCall(Major, "[QxBeforeCall::Append] asize not expected asize:0 ", Location(1).Arg("a", kIn, 0), kBefore, ""),
    OfCall(Major, "[QxBeforeCall::Append] asize:4, payload.size():5, count:2", Location(1).Arg("a", kIn, 4), kBefore,
           "abc"),
    OfCall(Major, "[QxAfterCall::Append] count not expected, asize:0, payload.size():1, count:2",
           Location(1).Arg("a", kOut, kVariableSize), kAfter, ""),
    OfCall(Major, "[QxAfterCall::Append] asize not expected asize:0 ", Location(1).Arg("a", kOut, 0), kAfter, ""),
    OfCall(Major, "[QxAfterCall::Append] asize:4, payload.size():4, count:1", Location(1).Arg("a", kOut, 4), kAfter,
           "abc"),
    OfCall(Major, "[QxAfterCall::Append] count not expected, rsize:0, payload.size():1, count:2",
           Location(1).Returns("s", kVariableSize), kAfter, ""),
    OfCall(Major, "[QxAfterCall::Append] rsize:4, payload.size():4, count:1", Location(1).Returns("i", 4), kAfter,
           "abc"),
    OfCall(Info, "[QxAfterCall::Append] locData.locId returned 0.. skipping..", Location(2), kAfter, ""),
    OfLog(Info, "[QxLogItem::Append] locData.locId returned 0.. skipping..", Location(2), ""),
    OfLog(Major, "[QxLogItem::Append] count not expected asize:0, payload.size():2, count:3",
          Location(1).Arg("a", 0, kVariableSize), ""),
    OfLog(Info, "[QxLogItem::Append] asize not expected asize:0 ", Location(1).Arg("a", 0, 0), ""),
    OfLog(Major, "[QxLogItem::Append] asize:4, payload.size():5, count:2", Location(1).Arg("a", 0, 4), "abc"),
};

TEST_P(QxParserMessagesTest, IsPrintedOnceAtItsLevel) {
    QxDebugPrint::GetInstance()->SetLevel(GetParam().level);
    GetParam().cause(*this);
    EXPECT_EQ(Logged(GetParam().message, GetParam().level == Info ? DLOG_INFO : DLOG_ERROR), 1);
}

TEST_P(QxParserMessagesTest, IsNotPrintedOneLevelBelow) {
    QxDebugPrint::GetInstance()->SetLevel(GetParam().level - 1);
    GetParam().cause(*this);
    EXPECT_EQ(RecordingLog::Count(GetParam().message), 0);
}

INSTANTIATE_TEST_SUITE_P(All, QxParserMessagesTest, testing::ValuesIn(kRows));

using QxParserExtractTest = Decoding;

TEST_F(QxParserExtractTest, WritesItsExceptionLineWhateverTheLevel) {
    QxDebugPrint::GetInstance()->SetLevel(Silent);
    EXPECT_EQ(Decode(Thread(1, StreamItem(kAfter, After(1)))), 0);
    const std::vector<RecordingLog::Line> lines = RecordingLog::Lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].tag, "QXLT");
    EXPECT_EQ(lines[0].Function(), "Extract");
    EXPECT_EQ(lines[0].text.rfind("QX_LOG_TRACKER: Extract(", 0), 0u);
    EXPECT_EQ(lines[0].text.substr(lines[0].text.find(") > ")), ") > Exception!!!");
}

}  // namespace
