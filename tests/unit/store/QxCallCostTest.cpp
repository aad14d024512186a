#include "QxCallCost.h"

#include <malloc.h>

#include "Decoding.h"
#include "Expose.h"
#include "QxFormat.h"
#include "RandomTrace.h"

// Tags of exposed members stand outside unnamed namespaces.
struct BudgetCallBytes {
    friend constexpr auto Private(BudgetCallBytes);
};
template struct Expose<BudgetCallBytes, &QxDumpBudget::m_callBytes>;

namespace {

using namespace dump;
using QxCallCostTest = Decoding;

TEST_F(QxCallCostTest, CountsKeysRecordsPairsAndTexts) {
    IQxData::HSCall call;
    EXPECT_EQ(qxcost::Of(call), 192u);
    call.args.in = {{}, {{"", ""}}};
    EXPECT_EQ(qxcost::Of(call), 192u + 64 + 64 + 128);
    call.args.out = {{{std::string(15, 'n'), std::string(16, 'v')}}};
    EXPECT_EQ(qxcost::Of(call), 192u + 64 + 64 + 128 + 64 + 128 + 16 + 32);
    EXPECT_EQ(qxcost::OfPair(16, 65535), 128u + 16 + 32 + 65535 + 32);
    EXPECT_EQ(qxcost::OfEvent("name", std::string(20, 'v'), call), 96u + 20 + 32 + qxcost::Of(call));
}

// What decoding takes from the allowance, bit by bit and ahead, is what the calls that it stores count for.
TEST_F(QxCallCostTest, DecodingTakesWhatTheCallsCountFor) {
    QxDebugPrint::GetInstance()->SetLevel(Silent);
    for (std::uint32_t seed = 1; seed <= 5; ++seed) {
        const RandomTrace trace(seed, 500);
        store->clearCalls();
        EXPECT_EQ(Decode(trace.Dump()), 1);
        std::uint64_t cost = 0;
        for (const auto& call : Calls()) cost += qxcost::Of(call.second);
        const std::uint64_t allowed = qxformat::kMaxCallBytes + 64 * trace.Dump().size();
        EXPECT_EQ(allowed - parser.Budget().*Private(BudgetCallBytes()), cost) << "seed " << seed;
    }
}

// Nor is it less than what they take.
TEST_F(QxCallCostTest, CallsTakeNoMoreThanTheyCountFor) {
    QxDebugPrint::GetInstance()->SetLevel(Silent);
    const auto plain = std::make_shared<QxData>();
    const RandomTrace trace(3, 5000);
    ExactBytes bytes(trace.Dump());
    QxParser decoder(nullptr, nullptr);
    decoder.Parse(bytes.Pair(), plain);
    decoder.Extract();
    std::uint64_t cost = 0;
    for (const auto& call : *plain->GetCallIMap()) cost += qxcost::Of(call.second);
    const std::size_t with = mallinfo2().uordblks;
    plain->clearCalls();
    EXPECT_LE(with - mallinfo2().uordblks, cost);
}

TEST_F(QxCallCostTest, OneDumpFillsNoMoreThanItsAllowance) {
    const std::string dump = Compressed(
        Persistent({dump::Item(kDescriptor, Descriptor("T", true).Member(std::string(60, 'n'), kVariableSize)),
                    dump::Item(kLocation, Location(1).Arg("T", kIn, kCompositeSize))}) +
        [] {
            std::string values;
            for (int i = 0; i < 100000; ++i) values += Variable(std::string(60, 'v'));
            std::string calls;
            for (int i = 0; i < 10; ++i)
                calls += Persistent(dump::Item(kBefore, Before(1, 1, Container(100000, values))));
            return calls;
        }());
    ASSERT_LT(dump.size(), 2000u);
    EXPECT_EQ(Parse(dump + Flush()), 1) << "refused inside";
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many bytes of calls", DLOG_ERROR), 1);
    std::uint64_t cost = 0;
    for (const auto& call : Calls()) cost += qxcost::Of(call.second);
    EXPECT_LE(cost, 256 * std::uint64_t{1048576} + 64 * dump.size());
    EXPECT_EQ(Calls().size(), 8u) << "the calls before stay";
}

// A call of the least bytes takes no more than its share, so that plain bytes never hold too many.
TEST_F(QxCallCostTest, ACallOfTheLeastBytesFitsItsShare) {
    const std::string item = StreamItem(kBefore, Before(1, 1));
    EXPECT_EQ(item.size(), qxformat::kBytesPerCall);
    EXPECT_LE(qxcost::kCall, qxformat::kCallBytesPerByte * qxformat::kBytesPerCall);
    EXPECT_LE(qxcost::kCall * qxformat::kMaxCalls, qxformat::kMaxCallBytes);
}

}  // namespace
