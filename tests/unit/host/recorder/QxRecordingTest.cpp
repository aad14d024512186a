#include "QxRecording.h"

#include "HostTest.h"
#include "QxLayout.h"

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

}  // namespace
