#include "Decoding.h"

namespace {

using namespace dump;
using QxLogItemTest = Decoding;

TEST_F(QxLogItemTest, StoresAllArgumentsWhateverTheirFlags) {
    Item(kLocation, Location(3).Arg("a", 0, 1).Arg("b", kOut, 2).Arg("c", kIn, kVariableSize));
    store->SetThreadTime(100);
    const std::string payload = LogRecord(5, 3, "xyy" + Variable("z"));
    EXPECT_EQ(Item(kLog, payload), static_cast<int>(payload.size()));
    EXPECT_EQ(OnlyCall().time, 105u);
    EXPECT_EQ(OnlyCall().args.in, (std::vector<IQxData::HSICallArg>{Plain("x"), Plain("yy"), Plain("z")}));
    EXPECT_EQ(store->GetLocationMarker(), 105000u);
}

TEST_F(QxLogItemTest, SkipsAnUnknownLocation) {
    EXPECT_EQ(Item(kLog, LogRecord(5, 99, "abc")), 5);
    EXPECT_EQ(Logged("[QxLogItem::Append] locData.locId returned 0.. skipping..", DLOG_INFO), 1);
    EXPECT_TRUE(Calls().empty());
    EXPECT_EQ(store->GetLocationMarker(), 0u);
    EXPECT_EQ(store->GetThreadTime(), 5u);
}

TEST_F(QxLogItemTest, SkipsAValueOfSizeNothingAtLevelInfo) {
    Item(kLocation, Location(3).Arg("a", kIn, 0).Arg("b", kIn, 1));
    Item(kLog, LogRecord(5, 3, "x"));
    EXPECT_EQ(OnlyCall().args.in, std::vector<IQxData::HSICallArg>{Plain("x")});
    EXPECT_EQ(Logged("[QxLogItem::Append] asize not expected asize:0 ", DLOG_INFO), 1);
}

TEST_F(QxLogItemTest, KnowsNoComposites) {
    Item(kDescriptor, Descriptor("P").Member("x", 1));
    Item(kLocation, Location(3).Arg("P", kIn, kCompositeSize));
    EXPECT_EQ(Item(kLog, LogRecord(5, 3, "x")), kInvalidSize);
    EXPECT_EQ(Logged("[QxLogItem::Append] asize:16382, payload.size():3, count:2", DLOG_ERROR), 1);
    EXPECT_GT(Item(kLog, LogRecord(5, 3, std::string(16382, 'x'))), 0);
}

TEST_F(QxLogItemTest, PrintsItsOwnWording) {
    Item(kLocation, Location(3).Arg("a", kIn, kVariableSize));
    EXPECT_EQ(Item(kLog, LogRecord(5, 3)), kInvalidSize);
    EXPECT_EQ(Logged("[QxLogItem::Append] count not expected asize:0, payload.size():2, count:3", DLOG_ERROR), 1);
}

TEST_F(QxLogItemTest, RefusesEveryPrefix) {
    Item(kLocation, Location(3).Arg("a", kIn, 2).Arg("b", kIn, kVariableSize));
    ExpectNoPrefixIsAccepted(kLog, LogRecord(300, 3, "xy" + Variable("z")));
}

TEST_F(QxLogItemTest, CallsOfOneDumpAreCounted) {
    // What unpacks gives more calls than the dump's own bytes allow.
    std::string items;
    for (int i = 0; i < 20000; ++i) items += dump::Item(kLog, LogRecord(1, 3));
    QxDebugPrint::GetInstance()->SetLevel(Fatal);
    std::string run;
    for (int i = 0; i < 53; ++i) run += Persistent(items);
    const std::string dump = Persistent(dump::Item(kLocation, Location(3))) + Compressed(run) + Flush();
    Decode(dump);
    EXPECT_EQ(Calls().size(), 1048576u + dump.size() / 4);
}

}  // namespace
