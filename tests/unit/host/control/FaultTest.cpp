// Recordings that their own process, or chance, has damaged: the control reads nothing outside them, always ends, and
// says which one it gave up.
#include <fcntl.h>
#include <qx/recorder.h>
#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "HostTest.h"
#include "QxBytes.h"
#include "QxLayout.h"
#include "QxMetadata.h"
#include "RecordingLog.h"

struct Inner {
    int a = 0;
    std::string b;
};
QX_TRACE_STRUCT(Inner, a, b)

namespace {

using namespace qxlayout;

void RecordSome(int count) {
    for (int i = 0; i < count; ++i) {
        Inner inner{i, std::string(static_cast<std::size_t>(i % 50), 'x')};
        const std::vector<Inner> list(3, inner);
        QX_CALL_RETURNS(call, Inner, "p", "Some", qx::In(list), qx::InOut(inner), qx::In(i));
        QX_LOG("p", "Log", i, "text");
        call.Return(inner);
    }
}

class FaultTest : public HostTest {
protected:
    FaultTest() {
        Run("traced", [] {
            EXPECT_TRUE(qx::recorder::Configure({512, 16, 4096}));
            RecordSome(500);
        });
        m_path = Files(".qxrec").at(0);
        // Without the rings that no thread used.
        m_good = ReadFile(m_path).substr(0, static_cast<std::size_t>(m_geometry.RingOffset(1)));
    }

    // Reads a recording with those bytes, which a dead process left. Decodes what comes out, whatever it is.
    void Read(const std::string& bytes) {
        ::unlink(m_path.c_str());
        qxhost::QxControl control(m_directory);
        control.Watch("traced");
        WriteFile(m_path, bytes);
        ASSERT_EQ(::chmod(m_path.c_str(), 0600), 0);
        std::vector<char> path;
        RecordingLog::Clear();
        m_calls = 0;
        if (control.getQxBufferDump(path, "traced", true)) {
            m_calls = Decode("traced", ReadFile(std::string(path.begin(), path.end()))).calls.size();
        }
        if (RecordingLog::Lines().empty()) return;
        EXPECT_EQ(RecordingLog::Lines()[0].text.find("recording traced."), 0u);
        EXPECT_NE(RecordingLog::Lines()[0].text.find(" is given up: "), std::string::npos);
        ++m_givenUp;
    }

    // The same with some 64-bit word replaced.
    void ReadWith(std::size_t offset, std::uint64_t value) {
        std::string bytes = m_good;
        for (std::size_t i = 0; i < sizeof(value); ++i) bytes[offset + i] = static_cast<char>(value >> (8 * i) & 0xFF);
        Read(bytes);
    }

    const Geometry m_geometry{512, 16, 4096};
    std::string m_path;
    std::string m_good;
    std::size_t m_calls = 0;  // of the last reading
    int m_givenUp = 0;
};

const std::uint64_t kNastyValues[] = {0,          1,           7,          0xFFFF,     0x7FFFFFFF,
                                      0xFFFFFFFF, 0x100000000, 1ULL << 55, 1ULL << 63, ~std::uint64_t{0}};

TEST_F(FaultTest, AGoodOneIsRead) {
    Read(m_good);
    EXPECT_EQ(m_givenUp, 0);
}

TEST_F(FaultTest, EveryWordOfTheHeaderMayBeAnything) {
    for (std::size_t word = 0; word < kHeaderWords; ++word) {
        for (const std::uint64_t value : kNastyValues) ReadWith(word * sizeof(Word), value);
    }
    EXPECT_GT(m_givenUp, 0);
}

TEST_F(FaultTest, EveryWordOfASlotMayBeAnything) {
    for (std::size_t word = 0; word < kSlotWords; ++word) {
        for (const std::uint64_t value : kNastyValues) ReadWith(Geometry::SlotOffset(0) + word * sizeof(Word), value);
    }
    EXPECT_GT(m_givenUp, 0);
}

TEST_F(FaultTest, BothWordsOfAPairMayBeAnything) {
    for (const std::size_t pair :
         {Geometry::SlotOffset(0) + kSlotCommitted * sizeof(Word), Geometry::SlotOffset(0) + kSlotOpened * sizeof(Word),
          kHeaderMetaUsed * sizeof(Word)}) {
        for (const std::uint64_t value : kNastyValues) {
            const std::string before = m_good;
            for (std::size_t i = 0; i < 8; ++i) m_good[pair + i] = static_cast<char>(value >> (8 * i) & 0xFF);
            ReadWith(pair + sizeof(Word), value);
            m_good = before;
        }
    }
    EXPECT_GT(m_givenUp, 0);
}

// A writer that is killed between the two stores of a position leaves the second one behind.
TEST_F(FaultTest, AWriterKilledBetweenTwoStoresLosesNothing) {
    Read(m_good);
    const std::size_t whole = m_calls;
    ASSERT_GT(whole, 0u);
    for (const std::size_t second :
         {Geometry::SlotOffset(0) + kSlotCommittedAgain * sizeof(Word),
          Geometry::SlotOffset(0) + kSlotOpenedAgain * sizeof(Word), kHeaderMetaUsedAgain * sizeof(Word)}) {
        ReadWith(second, 7);
        EXPECT_EQ(m_calls, whole);
    }
    EXPECT_EQ(m_givenUp, 0);
}

TEST_F(FaultTest, EveryWordOfAPageMayBeAnything) {
    for (std::size_t word = 0; word < m_geometry.PageWords(); ++word) {
        for (const std::uint64_t value : kNastyValues) {
            ReadWith(static_cast<std::size_t>(m_geometry.RingOffset(0)) + 5 * 512 + word * sizeof(Word), value);
        }
    }
    EXPECT_GT(m_givenUp, 100);
}

TEST_F(FaultTest, RandomBytesInRingsAndMetadata) {
    std::mt19937 random(1);
    const std::size_t places[] = {0, Geometry::MetaOffset(), static_cast<std::size_t>(m_geometry.RingOffset(0))};
    const std::size_t sizes[] = {Geometry::MetaOffset(), 600, m_geometry.RingSize()};
    for (int round = 0; round < 300; ++round) {
        std::string bytes = m_good;
        const std::size_t place = static_cast<std::size_t>(round) % 3;
        for (int n = 0; n <= round % 20; ++n) {
            bytes[places[place] + random() % sizes[place]] = static_cast<char>(random() & 0xFF);
        }
        Read(bytes);
    }
    EXPECT_GT(m_givenUp, 100);
}

TEST_F(FaultTest, AFileCutAnywhereIsReadUpToThere) {
    const std::size_t end = static_cast<std::size_t>(m_geometry.RingOffset(0)) + m_geometry.RingSize();
    for (std::size_t size = 0; size < end; size += 997) Read(m_good.substr(0, size));
    EXPECT_GT(m_givenUp, 10);
}

TEST_F(FaultTest, OneThatIsGivenUpIsSaidOnceAndDoesNotHinderOthers) {
    ::unlink(m_path.c_str());
    PausingChild bad(m_directory, "traced", [](const PausingChild::Pause& pause) {
        RecordSome(1);
        pause();
    });
    Dump("traced", true);
    const std::string path = Files(".qxrec").at(0);
    const int fd = ::open(path.c_str(), O_RDWR);
    ASSERT_EQ(::ftruncate(fd, 100), 0);
    ::close(fd);
    EXPECT_FALSE(Dump("traced").exists);
    EXPECT_FALSE(Dump("traced").exists);
    EXPECT_EQ(RecordingLog::Lines().size(), 1u);
    Run("traced", [] { RecordSome(2); });
    EXPECT_EQ(Dump("traced").calls.size(), 4u);
    bad.Kill();
    EXPECT_FALSE(Dump("traced").exists);
    EXPECT_FALSE(Dump("traced", true).exists);
    EXPECT_EQ(RecordingLog::Lines().size(), 1u);
    EXPECT_EQ(Files(".qxrec").size(), 2u);
}

// Sets bits in the head of a slot's last item, a head and an int in the first page.
void DamageLastItem(const std::string& path, const Geometry& geometry, std::size_t slot, Word bits) {
    const int fd = ::open(path.c_str(), O_RDWR);
    const auto at = [fd](std::uint64_t offset) {
        Word word = 0;
        EXPECT_EQ(::pread(fd, &word, sizeof(word), static_cast<off_t>(offset)), 8);
        return word;
    };
    const Word committed = at(Geometry::SlotOffset(slot) + kSlotCommitted * sizeof(Word));
    EXPECT_LE(committed, geometry.PageCapacity());
    const std::uint64_t place = geometry.RingOffset(slot) + (kPageHeaderWords + committed - 2) * sizeof(Word);
    const Word head = at(place) | bits;
    EXPECT_EQ(::pwrite(fd, &head, sizeof(head), static_cast<off_t>(place)), 8);
    ::close(fd);
}

class BrokenOffTest : public HostTest {
protected:
    // Dumps what a process records in two parts, of which the last item is damaged then.
    BrokenOffTest()
        : m_child(m_directory, "traced", [](const PausingChild::Pause& pause) {
              EXPECT_TRUE(qx::recorder::Configure({kGeometry.pageSize, kGeometry.pageCount}));
              RecordSome(1);
              QX_CALL(call, "p", "Open", qx::In(1));
              pause();
              RecordSome(2);
              QX_LOG("p", "Log", 1);
              pause();
          }) {
        EXPECT_EQ(Dump("traced", true).calls.size(), 2u);
        m_child.Continue();
        Damage(kMaxId << kIdShift);
    }

    void Damage(Word bits) { DamageLastItem(Files(".qxrec").at(0), kGeometry, 0, bits); }

    // Afterwards.
    void ExpectNothingMore() {
        EXPECT_FALSE(Dump("traced").exists);
        const qx::host::Loss loss = Total("traced");
        ExpectBalanced(loss);
        EXPECT_EQ(loss.recorded, 7u);
        EXPECT_EQ(loss.delivered, 7u);
        EXPECT_EQ(loss.exitsDelivered, 3u);
        EXPECT_TRUE(m_control->GetThreadLoss("traced").empty());
        ASSERT_FALSE(RecordingLog::Lines().empty());
        EXPECT_NE(RecordingLog::Lines()[0].text.find(" is given up: a call has no call site"), std::string::npos);
    }

    static constexpr Geometry kGeometry{1 << 16, 2};
    PausingChild m_child;
};

TEST_F(BrokenOffTest, WhatCameBeforeTheDamageIsDeliveredAndCounted) {
    const DecodedDump dump = Dump("traced");
    EXPECT_EQ(dump.calls.size(), 5u);
    EXPECT_EQ(dump.Only("Open").exitTime, 0u);
    ExpectNothingMore();
    EXPECT_EQ(RecordingLog::Lines().size(), 1u);
}

TEST_F(BrokenOffTest, WhatCameBeforeTheDamageWaitsForADumpThatCanBeWritten) {
    const std::string path = Files(".qxdump").at(0);
    ::unlink(path.c_str());
    ASSERT_EQ(::mkdir(path.c_str(), 0700), 0);
    EXPECT_FALSE(Dump("traced").exists);
    EXPECT_EQ(Total("traced").delivered, 2u);
    EXPECT_EQ(Total("traced").held, 1u);
    ::rmdir(path.c_str());
    EXPECT_EQ(Dump("traced").calls.size(), 5u);
    ExpectNothingMore();
}

// A reader of dumps would lose its way in an item that is larger than a fragment.
TEST_F(BrokenOffTest, AnItemThatIsLargerThanRecordersWriteIsDamage) {
    Damage(Word{0xFFFF} << kSizeShift);
    EXPECT_FALSE(Dump("traced").Only("Open").exitTime != 0);
    ASSERT_EQ(RecordingLog::Lines().size(), 1u);
    EXPECT_NE(RecordingLog::Lines()[0].text.find(" is given up: an item is too large"), std::string::npos);
}

// Numbers of threads are free again when the dump that holds them is written.
TEST_F(BrokenOffTest, ADamagedRecordingsThreadsKeepTheirNumbersInTheDump) {
    PausingChild other(m_directory, "traced", [](const PausingChild::Pause& pause) {
        for (int i = 0; i < 64; ++i) {
            QX_CALL(call, "p", "Other");
        }
        pause();
    });
    m_control = std::make_unique<qxhost::QxControl>(m_directory);
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.Of("Other").size(), 64u);
    EXPECT_NE(dump.Of("Other").at(0).tid, dump.Only("Open").tid);
}

// A process that overwrites its recording while it is read.
TEST_F(FaultTest, AProcessMayScribbleWhileItIsRead) {
    ::unlink(m_path.c_str());
    std::mt19937 random(2);
    for (int round = 0; round < 20; ++round) {
        Signal done;
        Child child(m_directory, "scribbler", [&] {
            RecordSome(1);
            const int fd = ::open(Files(".qxrec").at(0).c_str(), O_RDWR);
            done.Send();
            for (;;) {
                RecordSome(1);
                const std::uint64_t value = random();
                const Geometry geometry;
                const off_t place = static_cast<off_t>(random() % (random() % 2 == 0 ? 6000 : geometry.RingOffset(1)));
                EXPECT_EQ(::pwrite(fd, &value, 4, place), 4);
            }
        });
        done.Wait();
        for (int i = 0; i < 20; ++i) Dump("scribbler", i == 0);
        child.Kill();
        Dump("scribbler");
        for (const std::string& path : Files(".qxrec")) ::unlink(path.c_str());
        random.discard(100);
    }
}

}  // namespace
