// Small dumps that ask for much: what they make the decoders do, counted in items that reach the store, stays in
// proportion to them.
#include <functional>

#include "Decoding.h"
#include "QxFormat.h"

namespace {

using namespace dump;
using QxDumpWorkTest = Decoding;

constexpr std::uint64_t kMebi = 1048576;
constexpr char kTooMany[] = "[QxDumpBudget::Take] The dump holds too many joined stream bytes";

std::string Repeat(const std::string& bytes, std::size_t times) {
    std::string all;
    for (; times > 0; --times) all += bytes;
    return all;
}

const std::string kName = Item(kThreadName, ThreadName("a"));
const std::string kBad = Item(kProxy, "ab");

std::string Packed(const std::string& dump) {
    return Item(kPacked, Bzip2(dump));
}

// The run stays joined for its last item. Each dump inside that ends a run, an empty one, asks for it again.
TEST_F(QxDumpWorkTest, ARunThatStaysIsDecodedAgainAtTheDumpsCost) {
    const std::string run = CompressedRun(Repeat(kName, 20000) + kBad, 60000) + Flush();
    const std::string again = Packet(kCompressed, CompressedFragment(0, 0, "")) + Flush();
    ASSERT_EQ(again.size(), 6u);
    const std::string dump = Persistent(Packed(run) + Repeat(Packed(again), 500));
    EXPECT_EQ(Parse(dump), 0) << "nothing is left to unpack a further one";
    EXPECT_LE(store->threads.size() * kName.size(), kMebi + 16 * dump.size() + 2 * run.size());
    EXPECT_GT(store->threads.size(), 2 * 20000u) << "it is decoded again as long as that is not too much";
    EXPECT_GT(Logged(kTooMany, DLOG_ERROR), 0);
}

// A dump of its own is charged for what it asks for, not the one that brought the run.
TEST_F(QxDumpWorkTest, ALaterDumpMayNotDecodeALongRunAgain) {
    const std::string run = CompressedRun(Repeat(kName, 300000) + kBad, 60000);
    EXPECT_EQ(Parse(run + Flush()), 0);
    EXPECT_EQ(store->threads.size(), 300000u);
    EXPECT_EQ(Parse(Flush()), 1) << "nobody asks for it";
    EXPECT_EQ(Parse(Packet(kCompressed, CompressedFragment(0, 0, "")) + Flush()), 0);
    EXPECT_EQ(store->threads.size(), 300000u);
    EXPECT_EQ(Logged(kTooMany, DLOG_ERROR), 1);
    EXPECT_EQ(Parse(Flush() + Persistent(kName)), 1) << "and the next dump is decoded";
}

TEST_F(QxDumpWorkTest, StreamsThatStayAreDecodedAgainAtTheNextDumpsCost) {
    const std::string names = Repeat(StreamItem(kThreadName, ThreadName("a")), 15000);
    std::string dump;
    for (unsigned tid = 1; tid <= 30; ++tid) dump += Thread(tid, names);
    EXPECT_EQ(Decode(dump + Thread(31, StreamItem(kAfter, After(1)))), 0);
    const std::size_t first = store->threads.size();
    ASSERT_EQ(first, 30u * 15000);
    const int kDumps = 5;
    for (int i = 0; i < kDumps; ++i) EXPECT_EQ(Decode(Flush()), 0);
    EXPECT_LE((store->threads.size() - first) * 4, kDumps * (kMebi + 16 * Flush().size()));
    EXPECT_GT(store->threads.size(), first);
    EXPECT_EQ(Logged(kTooMany, DLOG_ERROR), kDumps);
}

// Within what a dump may ask for, streams that stayed are decoded again as ever, and what follows them is decoded.
TEST_F(QxDumpWorkTest, ShortStreamsThatStayAreDecodedAgain) {
    EXPECT_EQ(Decode(Thread(1, StreamItem(kThreadName, ThreadName("a"))) + Thread(2, StreamItem(kAfter, After(1)))), 0);
    Item(kLocation, Location(3));
    Item(kBefore, Before(1, 3));  // open, for the exit that had no call
    EXPECT_EQ(Decode(Thread(3, StreamItem(kThreadName, ThreadName("b")))), 1) << "the exit has a call now";
    EXPECT_EQ(store->threads.size(), 3u);
}

// To set out to unpack takes long, also when next to nothing comes out.
TEST_F(QxDumpWorkTest, ManySmallPackedItemsInsideOneAreRefused) {
    const std::string one = Packed(Persistent(kName));
    const std::string inner = Persistent(Repeat(one, 30000));
    const std::string dump = Persistent(Packed(inner));
    EXPECT_EQ(Parse(dump), 1) << "refused inside";
    EXPECT_EQ(Logged(kTooMany, DLOG_ERROR), 1);
    EXPECT_LE(store->threads.size() * qxformat::kPackedItemBytes,
              kMebi + 16 * dump.size() + inner.size() + 30000 * Persistent(kName).size());
    EXPECT_GT(store->threads.size(), 2048u);
}

// As many as fit into the dump's own bytes are never too many.
TEST_F(QxDumpWorkTest, ManySmallPackedItemsOfADumpAreDecoded) {
    const std::string one = Packed(Persistent(kName));
    EXPECT_EQ(Parse(CompressedRun(Repeat(one, 10000), 60000) + Flush()), 1);
    EXPECT_EQ(store->threads.size(), 10000u);
}

}  // namespace
