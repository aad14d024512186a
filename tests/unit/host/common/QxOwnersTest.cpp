// Whose a recording is.
#include "QxOwners.h"

#include <unistd.h>

#include "HostTest.h"
#include "QxProcessInfo.h"

namespace {

using namespace qxhost;

class QxOwnersTest : public HostTest {
protected:
    const QxFileName m_own{QxProcessInfo::OwnName(), ::getpid(), QxProcessInfo::StartTime(::getpid()),
                           QxFileName::kRecording};
    static constexpr ino_t kNoFile = 1;
};

TEST_F(QxOwnersTest, AProcessOfThatIdStartAndNameHasIt) {
    EXPECT_EQ(QxOwners().Find(m_own, kNoFile), ::getpid());
    QxFileName other = m_own;
    ++other.startTime;
    EXPECT_EQ(QxOwners().Find(other, kNoFile), 0);
    other = m_own;
    other.pid = 999999999;
    EXPECT_EQ(QxOwners().Find(other, kNoFile), 0);
}

TEST_F(QxOwnersTest, WhatWasReplacedIsNobodys) {
    QxFileName replaced = m_own;
    replaced.startTime = QxFileName::kReplaced;
    EXPECT_EQ(QxOwners().Find(replaced, kNoFile), 0);
}

// It goes by another name now, or runs another program.
TEST_F(QxOwnersTest, UnderAnotherNameTheFileInItsMemoryTells) {
    PausingChild child(m_directory, "before", [](const PausingChild::Pause& pause) { pause(); });
    const QxFileName name{"another", child.Pid(), QxProcessInfo::StartTime(child.Pid()), QxFileName::kRecording};
    EXPECT_EQ(QxOwners().Find(name, kNoFile), 0);
    child.Finish();
}

TEST_F(QxOwnersTest, AnEarlierAnswerIsTriedFirst) {
    QxFileName contained = m_own;
    contained.pid = 999999999;
    EXPECT_EQ(QxOwners().Find(contained, kNoFile, ::getpid()), ::getpid());
    EXPECT_EQ(QxOwners().Find(m_own, kNoFile, 999999999), 0) << "the one before has ended";
}

}  // namespace
