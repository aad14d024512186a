// What a recording's file says of itself, and what it may not say.
#include "QxRecordingFile.h"

#include <fcntl.h>
#include <unistd.h>

#include "HostTest.h"
#include "QxBytes.h"
#include "QxProcessInfo.h"
#include "QxRecording.h"

namespace {

using namespace qxhost;
using namespace qxlayout;

class QxRecordingFileTest : public HostTest {
protected:
    QxRecordingFileTest() {
        std::string error;
        m_recording = QxRecording::Create(m_directory, {512, 16, 256}, false, error);
        EXPECT_NE(m_recording, nullptr) << error;
        m_path = Files(".qxrec").at(0);
    }

    // Why the file is refused with that word in its place, which is put back.
    std::string DamageWith(std::size_t word, std::uint64_t value) {
        const std::uint64_t before = m_recording->Header()[word];
        WriteWord(m_path, word, value);
        std::string damage = "none";
        try {
            QxRecordingFile(m_path).ReadMetaUsed();
        } catch (const QxDamage& found) {
            damage = found.what();
        }
        WriteWord(m_path, word, before);
        return damage;
    }

    std::unique_ptr<QxRecording> m_recording;
    std::string m_path;
};

TEST_F(QxRecordingFileTest, ItSaysWhoRecordedAndHow) {
    const QxRecordingFile file(m_path);
    EXPECT_EQ(file.Name().name, QxProcessInfo::OwnName());
    EXPECT_EQ(file.Name().pid, ::getpid());
    EXPECT_EQ(file.Name().startTime, QxProcessInfo::StartTime(::getpid()));
    EXPECT_EQ(file.Geometry().pageSize, 512u);
    EXPECT_EQ(file.Geometry().pageCount, 16u);
    EXPECT_EQ(file.Geometry().metaSize, 256u);
    EXPECT_EQ(file.ReadRefused(), 0u);
    m_recording->Header()[kHeaderRefused] = 7;
    EXPECT_EQ(file.ReadRefused(), 7u);
}

TEST_F(QxRecordingFileTest, ANameHasAtMostItsPlace) {
    WriteWord(m_path, kHeaderName, 0x4141414141414141);
    WriteWord(m_path, kHeaderName + 1, 0x4242424242424242);
    for (const std::uint64_t size : {16u, 17u, 0xFFFFFFFFu}) {
        WriteWord(m_path, kHeaderNameSize, size);
        EXPECT_EQ(QxRecordingFile(m_path).Name().name, "AAAAAAAABBBBBBBB");
    }
    WriteWord(m_path, kHeaderNameSize, 9);
    EXPECT_EQ(QxRecordingFile(m_path).Name().name, "AAAAAAAAB");
}

TEST_F(QxRecordingFileTest, SizesHaveTheirLimits) {
    const std::string outOfRange = "its header gives sizes out of range";
    const struct {
        std::size_t word;
        std::uint64_t good;
        std::uint64_t bad;
    } rows[] = {{kHeaderPageSize, 1 << 20, (1 << 20) + 8},
                {kHeaderPageSize, 256, 248},
                {kHeaderPageCount, 32768, 32769},
                {kHeaderPageCount, 2, 1},
                {kHeaderMetaSize, 16 << 20, (16 << 20) + 1},
                {kHeaderMetaSize, 256, 255},
                {kHeaderPageSize, 520, 513},
                {kHeaderPageSize, 512, (std::uint64_t{1} << 32) + 512}};
    for (const auto& row : rows) {
        EXPECT_EQ(DamageWith(row.word, row.good), "none") << row.word << " " << row.good;
        EXPECT_EQ(DamageWith(row.word, row.bad), outOfRange) << row.word << " " << row.bad;
    }
}

TEST_F(QxRecordingFileTest, MetadataMayFillItsRoom) {
    EXPECT_TRUE(m_recording->AppendMetadata(kMetaName, std::string(256 - QxRecording::MetadataSize(""), 'x')));
    const QxRecordingFile file(m_path);
    EXPECT_EQ(file.ReadMetaUsed(), 256u);
    EXPECT_EQ(file.ReadMeta(200, 56), std::string(56, 'x'));
    EXPECT_EQ(file.ReadMeta(256, 0), "");
    EXPECT_EQ(DamageWith(kHeaderMetaUsed, 257), "its metadata has no valid size");
}

TEST_F(QxRecordingFileTest, WhatWasReadIsToldTheRecorderInAPair) {
    QxFileName name;
    ASSERT_TRUE(QxFileName::Parse(m_path.substr(m_directory.size() + 1), name));
    const QxRecordingFile file(AT_FDCWD, m_path, name);
    for (const std::size_t slot : {std::size_t{0}, kSlotCount - 1}) {
        file.WriteConsumed(slot, 1000 + slot);
        EXPECT_EQ(m_recording->SlotWords(slot)[kSlotConsumed], 1000 + slot);
        EXPECT_EQ(m_recording->SlotWords(slot)[kSlotConsumedInverted], ~Word{1000 + slot});
    }
    EXPECT_EQ(m_recording->SlotWords(1)[kSlotConsumed], 0u);
    EXPECT_TRUE(file.HasName());
    ASSERT_EQ(::unlink(m_path.c_str()), 0);
    EXPECT_FALSE(file.HasName());
}

}  // namespace
