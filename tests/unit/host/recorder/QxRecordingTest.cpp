#include "QxRecording.h"

#include <unistd.h>

#include <cstdio>
#include <iterator>

#include "HostTest.h"
#include "QxFileName.h"
#include "QxLayout.h"
#include "QxProcessInfo.h"

namespace {

using qxhost::QxRecording;
using namespace qxlayout;

class QxRecordingTest : public HostTest {
protected:
    std::unique_ptr<QxRecording> Create(std::size_t metaSize) {
        Geometry geometry;
        geometry.metaSize = metaSize;
        std::string error;
        std::unique_ptr<QxRecording> recording = QxRecording::Create(m_directory, geometry, false, error);
        EXPECT_NE(recording, nullptr) << error;
        return recording;
    }
    // Content whose record takes so many bytes.
    static std::string Content(std::size_t size) { return std::string(size - QxRecording::MetadataSize(""), 'x'); }
};

TEST_F(QxRecordingTest, MetadataFillsItsRoomToTheLastByte) {
    const std::unique_ptr<QxRecording> recording = Create(256);
    EXPECT_EQ(QxRecording::MetadataSize("abc"), 8u);
    EXPECT_TRUE(recording->AppendMetadata(kMetaName, Content(100)));
    EXPECT_FALSE(recording->AppendMetadata(kMetaName, Content(157)));
    EXPECT_EQ(recording->Header()[kHeaderMetaUsed], 100u) << "what has no place changes nothing";
    EXPECT_TRUE(recording->AppendMetadata(kMetaName, Content(156)));
    EXPECT_EQ(recording->Header()[kHeaderMetaUsed], 256u);
    EXPECT_FALSE(recording->AppendMetadata(kMetaName, ""));
}

TEST_F(QxRecordingTest, ARecordThatIsLargerThanAllRoomIsRefused) {
    const std::unique_ptr<QxRecording> recording = Create(256);
    EXPECT_FALSE(recording->AppendMetadata(kMetaName, Content(257)));
    EXPECT_TRUE(recording->AppendMetadata(kMetaName, Content(256)));
}

TEST_F(QxRecordingTest, ItsHeaderSaysWhoRecordsAndHow) {
    for (const bool refuseWhenFull : {false, true}) {
        std::string error;
        const auto recording = QxRecording::Create(m_directory, {512, 16, 4096}, refuseWhenFull, error);
        ASSERT_NE(recording, nullptr) << error;
        const SharedWord* header = recording->Header();
        const Word start = qxhost::QxProcessInfo::StartTime(::getpid());
        const std::string name = qxhost::QxProcessInfo::OwnName();
        const Word expected[] = {
            kMagic, 512, 16, 4096,       refuseWhenFull ? 1u : 0u, static_cast<Word>(::getpid()), start,
            0,      0,   0,  name.size()};
        for (std::size_t word = 0; word < std::size(expected); ++word) EXPECT_EQ(header[word], expected[word]) << word;
        EXPECT_EQ(std::string(reinterpret_cast<const char*>(header + kHeaderName), name.size()), name);
        for (std::size_t slot = 0; slot < kSlotCount; ++slot) {
            EXPECT_EQ(recording->SlotWords(slot)[kSlotConsumed], 0u);
            EXPECT_EQ(recording->SlotWords(slot)[kSlotConsumedInverted], ~Word{0}) << "a pair fits together";
        }
    }
}

TEST_F(QxRecordingTest, ItsFileHasItsName) {
    const std::unique_ptr<QxRecording> recording = Create(256);
    const Word start = qxhost::QxProcessInfo::StartTime(::getpid());
    const qxhost::QxFileName name{qxhost::QxProcessInfo::OwnName(), ::getpid(), start, qxhost::QxFileName::kRecording};
    const std::vector<std::string> files = Files(".qxrec");
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0], m_directory + "/" + name.ToString());
    std::string error;
    EXPECT_TRUE(recording->MapRing(kSlotCount - 1, error)) << error;
    WriteFile(m_directory + "/other", "");
    ASSERT_EQ(::rename((m_directory + "/other").c_str(), files[0].c_str()), 0);
    EXPECT_FALSE(recording->MapRing(0, error));
    EXPECT_EQ(error, "recording file " + name.ToString() + ": it was replaced");
    ASSERT_EQ(::unlink(files[0].c_str()), 0);
    EXPECT_FALSE(recording->MapRing(0, error));
    EXPECT_EQ(error, "recording file " + name.ToString() + ": No such file or directory");
}

}  // namespace
