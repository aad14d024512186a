#include <chrono>

#include "Decoding.h"

namespace {

using namespace dump;
using QxBeforeCallTest = Decoding;

TEST_F(QxBeforeCallTest, StoresTheCallAndOpensIt) {
    Item(kLocation, Location(3).Arg("int", kIn, 4).Arg("int", kOut, 4).Arg("string", kInOut, kVariableSize));
    store->SetCurrentThread(9);
    store->SetThreadTime(100);
    const std::string payload = Before(5, 3, Int(85, 4) + Variable("abc") + "ignored");
    EXPECT_EQ(Item(kBefore, payload), static_cast<int>(payload.size()));
    const IQxData::HSCall& call = OnlyCall();
    EXPECT_EQ(Calls().begin()->first, 105000u);
    EXPECT_EQ(call.pid, kPid);
    EXPECT_EQ(call.tid, 9);
    EXPECT_EQ(call.locId, 3u);
    EXPECT_EQ(call.extra, 0u);
    EXPECT_EQ(call.time, 105u);
    EXPECT_EQ(call.exitTime, 0u);
    EXPECT_EQ(call.args.in, (std::vector<IQxData::HSICallArg>{Plain(Int(85, 4)), Plain("abc")}));
    EXPECT_TRUE(call.args.out.empty());
    EXPECT_EQ(store->GetThreadTime(), 105u);
    EXPECT_EQ(store->GetLocationMarker(), 105000u);
}

TEST_F(QxBeforeCallTest, ReadsAVariableValue) {
    Item(kLocation, Location(3).Arg("string", kIn, kVariableSize));
    // The bytes 0x60 0x61 0x62 are kept as "abc".
    Item(kBefore, Before(1, 3, "\x03\x60\x61\x62"));
    EXPECT_EQ(OnlyCall().args.in.at(0).at(0).second, "abc");
}

TEST_F(QxBeforeCallTest, StoresACallOfAnUnknownLocationWithoutArguments) {
    EXPECT_EQ(Item(kBefore, Before(5, 99, "whatever")), 10);
    EXPECT_EQ(OnlyCall().locId, 99u);
    EXPECT_TRUE(OnlyCall().args.in.empty());
}

TEST_F(QxBeforeCallTest, TimeDeltasHaveSixtyFourBits) {
    Item(kBefore, Before(0x123456789ABCull, 1));
    EXPECT_EQ(OnlyCall().time, 0x123456789ABCull);
}

TEST_F(QxBeforeCallTest, SkipsAValueOfSizeNothingWithALine) {
    Item(kLocation, Location(3).Arg("a", kIn, 0).Arg("b", kIn, 1).Arg("c", kIn, kVariableSize).Arg("d", kIn, 0));
    Item(kBefore, Before(1, 3, std::string("x\0", 2)));
    EXPECT_EQ(OnlyCall().args.in, std::vector<IQxData::HSICallArg>{Plain("x")});
    EXPECT_EQ(Logged("[QxBeforeCall::Append] asize not expected asize:0 ", DLOG_ERROR), 3);
}

TEST_F(QxBeforeCallTest, RefusesAValueThatIsCut) {
    Item(kLocation, Location(3).Arg("a", kIn, 4));
    store->SetThreadTime(10);
    EXPECT_EQ(Item(kBefore, Before(1, 3, "abc")), kInvalidSize);
    EXPECT_EQ(Logged("[QxBeforeCall::Append] asize:4, payload.size():5, count:2", DLOG_ERROR), 1);
    EXPECT_TRUE(Calls().empty());
    EXPECT_EQ(store->GetThreadTime(), 11u) << "the time base has advanced all the same";
}

TEST_F(QxBeforeCallTest, RefusesALengthThatIsCut) {
    Item(kLocation, Location(3).Arg("a", kIn, kVariableSize));
    EXPECT_EQ(Item(kBefore, Before(1, 3)), kInvalidSize);
    EXPECT_EQ(Logged("[QxBeforeCall::Append] count not expected asize:0, payload.size():2, count:3", DLOG_ERROR), 1);
    EXPECT_EQ(Item(kBefore, Before(1, 3,
                                   "\x05"
                                   "abc")),
              kInvalidSize);
    EXPECT_EQ(Logged("[QxBeforeCall::Append] asize:5, payload.size():6, count:3", DLOG_ERROR), 1);
}

TEST_F(QxBeforeCallTest, ReadsCompositesByTheirTypesLayout) {
    Item(kDescriptor, Descriptor("P").Member("x", 1).Member("y", 1));
    Item(kLocation, Location(3).Arg("P", kIn, kCompositeSize).Arg("Q", kIn, kCompositeSize).Arg("a", kIn, 1));
    Item(kBefore, Before(1, 3, "pqr"));
    const IQxData::HSICallArg point = {{"x", "q"}, {"y", "r"}};
    EXPECT_EQ(OnlyCall().args.in, (std::vector<IQxData::HSICallArg>{point, {}, Plain("r")}));
}

TEST_F(QxBeforeCallTest, SizesBeyondSixteenBitsPassOverAllButReadTheLowBits) {
    Item(kLocation, Location(3).Arg("a", kIn, 65536 + 2).Arg("b", kIn, 1));
    Item(kBefore, Before(1, 3, std::string(65536 + 2, 'x') + "y"));
    EXPECT_EQ(OnlyCall().args.in, (std::vector<IQxData::HSICallArg>{Plain("xx"), Plain("y")}));
}

TEST_F(QxBeforeCallTest, RefusesEveryPrefix) {
    Item(kLocation, Location(3).Arg("a", kIn, 2).Arg("b", kIn, kVariableSize));
    ExpectNoPrefixIsAccepted(kBefore, Before(300, 3, "xy" + Variable("z")));
}

TEST_F(QxBeforeCallTest, TheWorkFollowsTheValuesNotTheDeclaredArguments) {
    Location location(3);
    for (int i = 0; i < 65535; ++i) location.Arg("", 0, 4);
    ASSERT_GE(Item(kLocation, location), 0);
    QxDebugPrint::GetInstance()->SetLevel(Silent);
    const auto start = std::chrono::steady_clock::now();
    auto plain = std::make_shared<QxData>();
    std::pair<int, char*> nothing(0, nullptr);
    parser.Parse(nothing, plain);
    ASSERT_GE(Item(kLocation, location), 0);
    std::vector<char> payload = {1, 3};
    for (int i = 0; i < 20000; ++i) parser.ParseItem(kBefore, payload);
    EXPECT_EQ(plain->GetCallIMap()->size(), 20000u);
    // A walk over all arguments would be 1.3 billion steps.
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(20));
}

}  // namespace
