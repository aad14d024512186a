#include "Decoding.h"

namespace {

using namespace dump;
using QxAfterCallTest = Decoding;

TEST_F(QxAfterCallTest, CompletesTheNewestOpenCall) {
    Item(kLocation, Location(3).Arg("a", kInOut, 1).Arg("b", kOut, 2).Returns("int", 4));
    store->SetThreadTime(100);
    Item(kBefore, Before(5, 3, "x"));
    const std::string payload = After(2, "yzz" + Int(7, 4));
    EXPECT_EQ(Item(kAfter, payload), static_cast<int>(payload.size()));
    const IQxData::HSCall& call = OnlyCall();
    EXPECT_EQ(call.time, 105u);
    EXPECT_EQ(call.exitTime, 2105u);
    EXPECT_EQ(store->GetThreadTime(), 2105u);
    EXPECT_EQ(call.args.in, std::vector<IQxData::HSICallArg>{Plain("x")});
    EXPECT_EQ(call.args.out, (std::vector<IQxData::HSICallArg>{Plain("y"), Plain("zz")}));
    EXPECT_EQ(call.args.ret, std::vector<IQxData::HSICallArg>{Plain(Int(7, 4))});
    EXPECT_EQ(store->GetLocationMarker(), 0u);
}

TEST_F(QxAfterCallTest, PairsAsBrackets) {
    Item(kLocation, Location(3));
    Item(kBefore, Before(1, 3));
    Item(kBefore, Before(1, 3));
    Item(kAfter, After(1));
    EXPECT_EQ(Calls().begin()->second.exitTime, 0u);
    EXPECT_EQ(Calls().rbegin()->second.exitTime, 1002u);
    Item(kAfter, After(1));
    EXPECT_EQ(Calls().begin()->second.exitTime, 2002u);
}

TEST_F(QxAfterCallTest, CompletesALogRecordThatCameBetween) {
    Item(kLocation, Location(3));
    Item(kBefore, Before(1, 3));
    Item(kLog, LogRecord(1, 3));
    Item(kAfter, After(1));
    EXPECT_EQ(Calls().begin()->second.exitTime, 0u);
    EXPECT_EQ(Calls().rbegin()->second.exitTime, 1002u);
}

TEST_F(QxAfterCallTest, NeedsACall) {
    EXPECT_EQ(Item(kAfter, After(1)), kCallNotFound);
    Item(kLocation, Location(3));
    Item(kBefore, Before(1, 3));
    store->clearCalls();
    EXPECT_EQ(Item(kAfter, After(1)), kCallNotFound);
    EXPECT_EQ(store->GetLocationMarker(), 0u) << "its key is used up";
}

TEST_F(QxAfterCallTest, SkipsACallOfAnUnknownLocation) {
    Item(kBefore, Before(1, 99));
    EXPECT_EQ(Item(kAfter, After(2, "abc")), 4);
    EXPECT_EQ(Logged("[QxAfterCall::Append] locData.locId returned 0.. skipping..", DLOG_INFO), 1);
    EXPECT_EQ(OnlyCall().exitTime, 0u);
    EXPECT_EQ(store->GetLocationMarker(), 0u);
    EXPECT_EQ(store->GetThreadTime(), 2001u);
}

TEST_F(QxAfterCallTest, PrintsItsOwnWording) {
    Item(kLocation, Location(1).Arg("a", kOut, kVariableSize));
    Item(kLocation, Location(2).Arg("a", kOut, 0));
    Item(kLocation, Location(3).Arg("a", kOut, 4));
    Item(kBefore, Before(1, 1));
    EXPECT_EQ(Item(kAfter, After(1)), kInvalidSize);
    EXPECT_EQ(Logged("[QxAfterCall::Append] count not expected, asize:0, payload.size():1, count:2", DLOG_ERROR), 1);
    Item(kBefore, Before(1, 2));
    EXPECT_EQ(Item(kAfter, After(1)), 1);
    EXPECT_EQ(Logged("[QxAfterCall::Append] asize not expected asize:0 ", DLOG_ERROR), 1);
    Item(kBefore, Before(1, 3));
    EXPECT_EQ(Item(kAfter, After(1, "abc")), kInvalidSize);
    EXPECT_EQ(Logged("[QxAfterCall::Append] asize:4, payload.size():4, count:1", DLOG_ERROR), 1);
}

TEST_F(QxAfterCallTest, PrintsItsOwnWordingForTheReturnValue) {
    Item(kLocation, Location(1).Returns("s", kVariableSize));
    Item(kLocation, Location(2).Returns("i", 4));
    Item(kBefore, Before(1, 1));
    EXPECT_EQ(Item(kAfter, After(1)), kInvalidSize);
    EXPECT_EQ(Logged("[QxAfterCall::Append] count not expected, rsize:0, payload.size():1, count:2", DLOG_ERROR), 1);
    Item(kBefore, Before(1, 2));
    EXPECT_EQ(Item(kAfter, After(1, "abc")), kInvalidSize);
    EXPECT_EQ(Logged("[QxAfterCall::Append] rsize:4, payload.size():4, count:1", DLOG_ERROR), 1);
}

TEST_F(QxAfterCallTest, AReturnValueOfNoSizeIsNone) {
    Item(kLocation, Location(1).Returns("s", kVariableSize));
    Item(kBefore, Before(1, 1));
    EXPECT_EQ(Item(kAfter, After(1, Variable(""))), 2);
    EXPECT_TRUE(OnlyCall().args.ret.empty());
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxAfterCallTest, ReadsACompositeReturnValue) {
    Item(kDescriptor, Descriptor("P").Member("x", 1));
    Item(kLocation, Location(1).Returns("P", kCompositeSize));
    Item(kBefore, Before(1, 1));
    Item(kAfter, After(1, "p"));
    const IQxData::HSICallArg point = {{"x", "q"}};
    EXPECT_EQ(OnlyCall().args.ret, std::vector<IQxData::HSICallArg>{point});
}

TEST_F(QxAfterCallTest, AFailingItemLeavesTheRecordAsItWas) {
    auto plain = std::make_shared<QxData>();
    std::pair<int, char*> nothing(0, nullptr);
    parser.Parse(nothing, plain);
    Item(kLocation, Location(1).Arg("a", kOut, 1).Returns("i", 4));
    Item(kBefore, Before(1, 1));
    EXPECT_EQ(Item(kAfter, After(1, "abc")), kInvalidSize);
    const IQxData::HSCall& call = plain->GetCallIMap()->begin()->second;
    EXPECT_EQ(call.exitTime, 0u);
    EXPECT_TRUE(call.args.out.empty());
}

TEST_F(QxAfterCallTest, AnEmptyStackStandsForTheCallOfKeyNothing) {
    Item(kLocation, Location(3));
    Item(kBefore, Before(0, 3));
    store->ResetLocationMarker();
    EXPECT_EQ(Item(kAfter, After(2)), 1);
    EXPECT_EQ(OnlyCall().exitTime, 2000u);
}

TEST_F(QxAfterCallTest, RefusesEveryPrefix) {
    Item(kLocation, Location(3).Arg("a", kOut, 2).Arg("b", kOut, kVariableSize).Returns("i", 2));
    const std::string whole = After(300, "xy" + Variable("z") + "rr");
    for (std::size_t size = 0; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        store->clearCalls();
        Item(kBefore, Before(1, 3));
        EXPECT_EQ(Item(kAfter, Cut(whole, size)), kInvalidSize);
        EXPECT_EQ(OnlyCall().exitTime, 0u);
        EXPECT_EQ(store->GetLocationMarker(), 0u) << "its key is used up";
    }
}

TEST_F(QxAfterCallTest, AMarkedValueIsReadByItsLength) {
    Item(kLocation, Location(3).Returns("string", kVariableSize));
    Item(kBefore, Before(1, 3));
    Item(kAfter, After(1, Variable("abc")));
    EXPECT_EQ(OnlyCall().args.ret, std::vector<IQxData::HSICallArg>{Plain("abc")});
}

TEST_F(QxAfterCallTest, BytesBehindTheLastValueAreIgnored) {
    Item(kLocation, Location(3));
    Item(kBefore, Before(1, 3));
    EXPECT_EQ(Item(kAfter, After(1, "left")), 5);
    EXPECT_EQ(OnlyCall().exitTime, 1001u);
}

}  // namespace
