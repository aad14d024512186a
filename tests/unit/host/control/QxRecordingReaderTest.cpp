// One recording, read again and again.
#include "QxRecordingReader.h"

#include <fcntl.h>
#include <qx/recorder.h>

#include "HostTest.h"

namespace {

using namespace qxhost;
using Pause = PausingChild::Pause;

constexpr std::uint64_t kNoLimit = ~std::uint64_t{0};

void Note(int value) {
    QX_CALL(call, "p", "Note", qx::In(value));
}

class QxRecordingReaderTest : public HostTest {
protected:
    // A reader of the only recording there is.
    std::unique_ptr<QxRecordingReader> MakeReader() {
        const std::string path = Files(".qxrec").at(0);
        QxFileName name;
        EXPECT_TRUE(QxFileName::Parse(path.substr(m_directory.size() + 1), name));
        return std::make_unique<QxRecordingReader>(QxRecordingFile(AT_FDCWD, path, name), m_tids, true);
    }

    // Reads what is new, and decodes the dump that it makes.
    DecodedDump Read(QxRecordingReader& reader, bool isAlive = true) {
        QxDumpBuilder builder;
        reader.Read(m_catalog, builder, kNoLimit, isAlive);
        return Decode("traced", builder.Finish(QxDumpBuilder::Describe(m_catalog.Items())));
    }

    QxTidPool m_tids;
    QxCatalog m_catalog;
};

TEST_F(QxRecordingReaderTest, AReadingThatNobodyEndedIsTakenBackByTheNextOne) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        QX_CALL(open, "p", "Open");
        for (int i = 0; i < 3; ++i) Note(i);
        pause();
        Note(3);
        pause();
    });
    const auto reader = MakeReader();
    EXPECT_EQ(Read(*reader).calls.size(), 3u);
    EXPECT_EQ(reader->GetLoss().recorded, 0u);
    child.Continue();
    EXPECT_EQ(Read(*reader).calls.size(), 4u);
    reader->Commit();
    EXPECT_EQ(Read(*reader).calls.size(), 0u);
    child.Finish();
    EXPECT_EQ(Read(*reader, false).calls.size(), 1u);
    EXPECT_TRUE(reader->IsDrained());
    // As it is when the dump could not be made after all.
    EXPECT_EQ(Read(*reader).calls.size(), 1u);
    EXPECT_FALSE(reader->IsDrained());
    reader->Commit();
    ExpectBalanced(reader->GetLoss());
    EXPECT_EQ(reader->GetLoss().delivered, 5u);
}

TEST_F(QxRecordingReaderTest, WhatIsDamagedIsNotReadToItsEnd) {
    Child(m_directory, "traced", [] { Note(1); }).Join();
    const auto reader = MakeReader();
    WriteWord(Files(".qxrec").at(0), qxlayout::kHeaderMetaUsed, ~std::uint64_t{0});
    Read(*reader, false);
    EXPECT_EQ(reader->Damage(), "its metadata has no valid size");
    EXPECT_FALSE(reader->IsDrained());
}

// Pauses at the deepest of so many levels, each of which passes the text.
void Nest(unsigned levels, const std::string& text, const Pause& pause) {
    QX_CALL(call, "p", "Nest", qx::In(text));
    if (levels == 1)
        pause();
    else
        Nest(levels - 1, text, pause);
}

TEST_F(QxRecordingReaderTest, OfTooManyOpenCallsTheOldestLoseTheirExits) {
    constexpr std::size_t kLevels = 600;
    constexpr std::size_t kTextSize = 8000;
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        EXPECT_TRUE(qx::recorder::Configure({1 << 20, 8}));
        Nest(kLevels, std::string(kTextSize, 'x'), pause);
        pause();
    });
    const auto reader = MakeReader();
    const std::size_t written = Read(*reader).calls.size();
    reader->Commit();
    const std::size_t held = kLevels - written;
    EXPECT_EQ(reader->GetLoss().held, held);
    EXPECT_LE(held * kTextSize, 4u << 20);
    EXPECT_GT((held + 20) * kTextSize, 4u << 20);
    child.Continue();
    EXPECT_EQ(Read(*reader).calls.size(), held);
    reader->Commit();
    ExpectBalanced(reader->GetLoss());
    EXPECT_EQ(reader->GetLoss().delivered, kLevels);
    EXPECT_EQ(reader->GetLoss().exitsDropped, written);
    child.Finish();
}

TEST_F(QxRecordingReaderTest, AThreadThatGotNoNumberGetsTheNextOneThatIsFree) {
    PausingChild child(m_directory, "traced", [](const Pause& pause) {
        for (int i = 0; i < 3; ++i) {
            Note(i);
            pause();
        }
    });
    while (m_tids.Take() != 0) continue;
    const auto reader = MakeReader();
    EXPECT_EQ(Read(*reader).calls.size(), 0u);
    reader->Commit();
    EXPECT_EQ(reader->GetLoss().dropped, 1u);
    m_tids.GiveBack(5);
    child.Continue();
    const DecodedDump dump = Read(*reader);
    reader->Commit();
    ASSERT_EQ(dump.calls.size(), 1u);
    EXPECT_EQ(dump.calls[0].tid, 5u);
    // It stays the thread's.
    EXPECT_EQ(m_tids.Take(), 0u);
    ExpectBalanced(reader->GetLoss());
    child.Continue();
    child.Finish();
}

}  // namespace
