#include "QxSpareCalls.h"

#include <gtest/gtest.h>

#include "QxCallCost.h"
#include "QxData.h"

namespace {

QxSpareCalls::Map Calls(unsigned long long count, const IQxData::HSCall& call) {
    QxSpareCalls::Map calls;
    for (unsigned long long key = 0; key < count; ++key) calls.emplace(key, call);
    return calls;
}

IQxData::HSCall Full() {
    IQxData::HSCall call;
    call.pid = 1;
    call.locId = 2;
    call.extra = 3;
    call.tid = 4;
    call.time = 5;
    call.exitTime = 6;
    call.args.in = {{{"", "in"}}};
    call.args.out = {{{"", "out"}}};
    call.args.ret = {{{"", "ret"}}};
    return call;
}

TEST(QxSpareCalls, AreNewButForTheirArguments) {
    QxSpareCalls spare;
    QxSpareCalls::Map calls = Calls(1, Full());
    const IQxData::HSICallArg* const block = calls.at(0).args.in.data();
    spare.Refill(calls);
    EXPECT_TRUE(calls.empty());
    QxSpareCalls::Map::node_type node = spare.Take();
    const IQxData::HSCall& call = node.mapped();
    EXPECT_EQ(call.pid, 0);
    EXPECT_EQ(call.locId, 0u);
    EXPECT_EQ(call.extra, 0u);
    EXPECT_EQ(call.tid, 0);
    EXPECT_EQ(call.time, 0u);
    EXPECT_EQ(call.exitTime, 0u);
    EXPECT_TRUE(call.args.out.empty());
    EXPECT_TRUE(call.args.ret.empty());
    EXPECT_EQ(call.args.in.data(), block);
    EXPECT_FALSE(spare.TakeList().empty());
    EXPECT_FALSE(spare.TakeList().empty());
    EXPECT_TRUE(spare.TakeList().empty()) << "a call has two lists besides";
}

TEST(QxSpareCalls, WithoutAnyThereIsStillANewOne) {
    QxSpareCalls spare;
    EXPECT_TRUE(spare.Take().mapped().args.in.empty());
    EXPECT_TRUE(spare.TakeList().empty());
}

TEST(QxSpareCalls, AreAsManyAsTheLastCycleHadUpToABound) {
    QxSpareCalls spare;
    QxSpareCalls::Map many = Calls(QxSpareCalls::kMaxCalls + 10, IQxData::HSCall());
    spare.Refill(many);
    EXPECT_EQ(spare.Size(), QxSpareCalls::kMaxCalls);
    QxSpareCalls::Map few = Calls(3, Full());
    spare.Refill(few);
    EXPECT_EQ(spare.Size(), 3u);
    QxSpareCalls::Map none;
    spare.Refill(none);
    EXPECT_EQ(spare.Size(), 0u);
}

TEST(QxSpareCalls, TakeABoundedNumberOfBytes) {
    QxSpareCalls spare;
    IQxData::HSCall call = Full();
    call.args.in[0][0].second.assign(1000, 'x');
    for (int cycle = 0; cycle < 2; ++cycle) {
        QxSpareCalls::Map many = Calls(QxSpareCalls::kMaxCalls, call);
        spare.Refill(many);
        EXPECT_EQ(spare.Size(), QxSpareCalls::kMaxCost / qxcost::Of(call));
    }
}

TEST(QxSpareCalls, LargeOnesAreNotKept) {
    IQxData::HSCall large = Full();
    large.args.in[0][0].second.assign(QxSpareCalls::kMaxCallCost, 'x');
    QxSpareCalls::Map calls = Calls(2, large);
    QxSpareCalls spare;
    spare.Refill(calls);
    EXPECT_EQ(spare.Size(), 0u);
    EXPECT_TRUE(calls.empty());
}

TEST(QxSpareCalls, OtherRecordsAreBoundAlike) {
    QxSpareCalls spare;
    EXPECT_TRUE(spare.TakeRecords().empty());
    spare.KeepRecords(std::vector<IQxData::HSCall>(QxSpareCalls::kMaxCalls + 1));
    EXPECT_EQ(spare.TakeRecords().size(), QxSpareCalls::kMaxCalls);
    EXPECT_TRUE(spare.TakeRecords().empty());
    IQxData::HSCall call = Full();
    call.args.in[0][0].second.assign(1000, 'x');
    spare.KeepRecords(std::vector<IQxData::HSCall>(QxSpareCalls::kMaxCalls, call));
    EXPECT_EQ(spare.TakeRecords().size(), QxSpareCalls::kMaxCost / qxcost::Of(call));
    call.args.in[0][0].second.assign(QxSpareCalls::kMaxCallCost, 'x');
    spare.KeepRecords({Full(), call, Full()});
    EXPECT_EQ(spare.TakeRecords().size(), 1u);
    std::vector<IQxData::HSCall> roomy(2);
    roomy.reserve(100);
    spare.KeepRecords(std::move(roomy));
    EXPECT_LT(spare.TakeRecords().capacity(), 100u);
}

TEST(QxSpareCalls, OtherRecordsStayFromCycleToCycleWithCalls) {
    QxSpareCalls spare;
    spare.KeepRecords({Full()});
    QxSpareCalls::Map calls = Calls(2, Full());
    spare.Refill(calls);
    EXPECT_EQ(spare.TakeRecords().size(), 1u);
    spare.KeepRecords({Full()});
    QxSpareCalls::Map none;
    spare.Refill(none);
    EXPECT_TRUE(spare.TakeRecords().empty());
    spare.KeepRecords({Full()});
    spare.Clear();
    EXPECT_TRUE(spare.TakeRecords().empty());
}

// Whatever the store had before, what a client adds is what it gets.
TEST(QxSpareCalls, TheStoreGivesWhatItWasGiven) {
    QxData store;
    IQxData::HSCall call = Full();
    store.AppendBeforeCall(call);
    store.clearCalls();
    IQxData::HSCall plain;
    plain.time = 7;
    const unsigned long long key = store.AppendBeforeCall(plain);
    IQxData::HSCall out;
    store.GetCall(key, out);
    EXPECT_TRUE(out.args.in.empty());
    EXPECT_TRUE(out.args.out.empty());
    EXPECT_TRUE(out.args.ret.empty());
    EXPECT_EQ(out.exitTime, 0u);
}

}  // namespace
