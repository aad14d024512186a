// Decoding against traces made at random: what comes out is what went in, call for call.
#include "RandomTrace.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "ExactBytes.h"
#include "QxData.h"
#include "QxDebugPrint.h"
#include "QxParser.h"

namespace {

constexpr int kSeeds = 60;
constexpr int kCallsPerSeed = 2000;

std::string Shown(const IQxData::HSCall& call) {
    return "tid " + std::to_string(call.tid) + " locId " + std::to_string(call.locId) + " time " +
           std::to_string(call.time) + " exit " + std::to_string(call.exitTime) + " in " +
           std::to_string(call.args.in.size()) + " out " + std::to_string(call.args.out.size()) + " ret " +
           std::to_string(call.args.ret.size());
}

bool Equal(const IQxData::HSCall& left, const IQxData::HSCall& right) {
    return left.pid == right.pid && left.locId == right.locId && left.extra == right.extra && left.tid == right.tid &&
           left.time == right.time && left.exitTime == right.exitTime && left.args.in == right.args.in &&
           left.args.out == right.args.out && left.args.ret == right.args.ret;
}

void ExpectDecodes(const RandomTrace& trace, const std::shared_ptr<IQxData>& store) {
    store->AppendProcessName(RandomTrace::kPid, "random");
    store->AppendCurrentProcess("random");
    ExactBytes bytes(trace.Dump());
    QxParser parser(nullptr, nullptr);
    ASSERT_EQ(parser.Parse(bytes.Pair(), store), 1);
    ASSERT_EQ(parser.Extract(), 1);
    const auto& calls = *store->GetCallIMap();
    ASSERT_EQ(calls.size(), trace.Calls().size());
    for (auto got = calls.begin(), want = trace.Calls().begin(); got != calls.end(); ++got, ++want) {
        ASSERT_EQ(got->first, want->first);
        ASSERT_TRUE(Equal(got->second, want->second)) << Shown(got->second) << "\nwanted " << Shown(want->second);
    }
}

class RandomTraceTest : public testing::Test {
protected:
    void SetUp() override { QxDebugPrint::GetInstance()->SetLevel(Silent); }
    void TearDown() override { QxDebugPrint::GetInstance()->SetLevel(Info); }
};

TEST_F(RandomTraceTest, DecodesToWhatWentIn) {
    std::size_t calls = 0;
    for (std::uint32_t seed = 1; seed <= kSeeds; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        const RandomTrace trace(seed, kCallsPerSeed);
        ExpectDecodes(trace, std::make_shared<QxData>());
        if (HasFatalFailure()) return;
        calls += trace.Calls().size();
    }
    EXPECT_GE(calls, 100000u);
}

// Records of calls that have left the store are filled anew with those of the next dump.
TEST_F(RandomTraceTest, DecodesTheSameIntoAStoreThatHadOtherCalls) {
    const auto store = std::make_shared<QxData>();
    for (std::uint32_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE(seed);
        ExpectDecodes(RandomTrace(seed, static_cast<int>(20 + seed * 37 % 400)), store);
        store->clearCalls();
    }
}

// A class derived from the store is reached through the exported operations alone.
class OtherStore final : public QxData {};

TEST_F(RandomTraceTest, DecodesTheSameThroughTheExportedOperations) {
    for (std::uint32_t seed = 1; seed <= 3; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        ExpectDecodes(RandomTrace(seed, kCallsPerSeed), std::make_shared<OtherStore>());
        if (HasFatalFailure()) return;
    }
}

}  // namespace
