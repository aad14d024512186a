// The bytes that are not decoded, of damaged dumps made at random: each counts once, for the dump that brought it, as
// the model has it that follows every single byte.
#include <gtest/gtest.h>

#include <numeric>
#include <random>

#include "DumpWriter.h"
#include "LossModel.h"
#include "QxCycle.h"
#include "QxDebugPrint.h"
#include "RandomTrace.h"

namespace {

using namespace dump;

// Dumps of whole and damaged pieces of all kinds.
class DamagedDumps final {
public:
    explicit DamagedDumps(std::uint32_t seed) : m_random(seed) {}

    unsigned Pick(unsigned below) { return static_cast<unsigned>(m_random() % below); }

    // Packets, with dumps inside of them down to so many levels.
    Bytes Dump(unsigned levels) {
        Bytes dump;
        for (unsigned packets = 1 + Pick(6); packets > 0; --packets) dump += OnePacket(levels);
        return dump;
    }

    // Some bytes changed, or the end cut off.
    Bytes Damaged(Bytes bytes) {
        for (unsigned changes = Pick(3); changes > 0; --changes) {
            bytes[Pick(static_cast<unsigned>(bytes.size()))] = static_cast<char>(m_random());
        }
        if (Pick(5) == 0) bytes.resize(1 + Pick(static_cast<unsigned>(bytes.size())));
        return bytes;
    }

private:
    Bytes OnePacket(unsigned levels) {
        const unsigned tid = 1 + Pick(4);
        switch (Pick(9)) {
            case 0:
            case 1:
                return Thread(tid, Items(levels, true));
            case 2: {
                const Bytes stream = Items(levels, true);
                const auto size = static_cast<unsigned>(stream.size());
                return Packet(kThread, Fragment(tid, Pick(size + 1), size, stream) + Bytes(Pick(4), '?'));
            }
            case 3: {
                const Bytes stream = Items(levels, true);
                const auto size = static_cast<unsigned>(stream.size());
                return PrefixedPacket(1 + Pick(size), kThread, Fragment(tid, 0, size, stream));
            }
            case 4:
                return Persistent(Items(levels, false) + Bytes(Pick(3), '\0'));
            case 5:
                return Properties(tid, Items(levels, false));
            case 6:
                return CompressedRun(Items(levels, false), 1 + Pick(60));
            case 7:
                return Packet(kCompressed, CompressedFragment(Pick(3), Pick(9), Bytes(9, '\x3F'))) + Flush();
            default:
                return Pick(4) == 0 ? Packet(kThread, Fragment(tid, 0, Pick(20), "")) : Flush();
        }
    }

    Bytes Items(unsigned levels, bool inStream) {
        Bytes items;
        for (unsigned count = 1 + Pick(4); count > 0; --count) {
            items += inStream && Pick(12) == 0 ? Bytes("\xFF!xyz").substr(0, 1 + Pick(5)) : OneItem(levels, inStream);
            if (inStream && Pick(6) == 0) items += Marker();
        }
        return items;
    }

    Bytes OneItem(unsigned levels, bool inStream) {
        const auto item = [&](unsigned tag, const Bytes& payload) {
            return inStream ? StreamItem(tag, payload) : Item(tag, payload);
        };
        switch (Pick(12)) {
            case 0:
                return item(kProxy, "ab");
            case 1:
                return item(kAfter, After(1));
            case 2:
                return item(kPacked, "no bzip2");
            case 3:
            case 4:
            case 5:
                return levels == 0 ? item(kProxy, Proxy(5)) : item(kPacked, Bzip2(Dump(levels - 1)));
            case 6:
                return item(kBefore, Before(1, 3));
            case 7:
                return item(kThreadName, ThreadName(Bytes(150, 'n')));
            default:
                return item(kThreadName, ThreadName("name"));
        }
    }

    std::mt19937 m_random;
};

class NotDecodedTest : public testing::Test {
protected:
    void SetUp() override { QxDebugPrint::GetInstance()->SetLevel(Silent); }
    void TearDown() override { QxDebugPrint::GetInstance()->SetLevel(Info); }

    // What was not decoded of each dump of a cycle; expects that it is what the model says.
    std::vector<std::uint64_t> Compare(const std::vector<Bytes>& dumps) {
        LossModel model(std::make_shared<QxData>());
        QxCycle cycle(nullptr, nullptr, std::make_shared<QxData>());
        for (const Bytes& dump : dumps) {
            std::vector<char> bytes(dump.begin(), dump.end());
            if (!model.Decode(dump)) {
                ++m_tooMuch;
                return {0};
            }
            cycle.Decode("p", bytes);
        }
        std::vector<std::uint64_t> counts;
        for (const QxCycle::Decoded& decoded : cycle.Dumps()) counts.push_back(decoded.bytesNotDecoded);
        EXPECT_EQ(counts, model.NotDecoded());
        return counts;
    }

    int m_tooMuch = 0;  // cycles that could not be compared
};

TEST_F(NotDecodedTest, DamagedDumpsAreCountedAsTheModelHasIt) {
    constexpr std::uint32_t kCycles = 1500;
    std::uint64_t lost = 0;
    for (std::uint32_t seed = 1; seed <= kCycles; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        DamagedDumps make(seed);
        std::vector<Bytes> dumps;
        for (unsigned count = 1 + make.Pick(3); count > 0; --count) dumps.push_back(make.Damaged(make.Dump(2)));
        const std::vector<std::uint64_t> counts = Compare(dumps);
        lost = std::accumulate(counts.begin(), counts.end(), lost);
        if (HasFailure()) return;
    }
    EXPECT_GT(lost, 20u * kCycles) << "they do lose something";
    EXPECT_LT(m_tooMuch, 200);
}

TEST_F(NotDecodedTest, DamagedTracesAreCountedAsTheModelHasIt) {
    for (std::uint32_t seed = 1; seed <= 40; ++seed) {
        SCOPED_TRACE("seed " + std::to_string(seed));
        DamagedDumps make(seed);
        const Bytes trace = RandomTrace(seed, 20).Dump();
        EXPECT_EQ(Compare({trace}), std::vector<std::uint64_t>{0}) << "nothing of a whole one is left out";
        for (int times = 0; times < 4; ++times) Compare({make.Damaged(trace), make.Damaged(make.Dump(1)), trace});
        if (HasFailure()) return;
    }
}

// Without anything packed there are no more bytes than those of the dump.
TEST_F(NotDecodedTest, NoDumpLosesMoreThanItHolds) {
    for (std::uint32_t seed = 1; seed <= 500; ++seed) {
        DamagedDumps make(seed);
        const Bytes dump = make.Damaged(make.Dump(0));
        ASSERT_LE(Compare({dump}).front(), dump.size()) << "seed " << seed;
    }
}

}  // namespace
