// The switch at run time. That of the environment and that of the compiler are tested with whole programs.
#include <qx/recorder.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <thread>

#include "HostTest.h"
#include "QxOptions.h"
#include "RecordingLog.h"

#include "TracedCalls.h"

namespace {

using SwitchTest = HostTest;
using qx::recorder::GetCounters;
using qx::recorder::SetEnabled;

TEST_F(SwitchTest, NothingIsMadeNorCountedWhileItIsOff) {
    Run("traced", [this] {
        EXPECT_TRUE(qx::recorder::IsEnabled());
        SetEnabled(false);
        EXPECT_FALSE(qx::recorder::IsEnabled());
        std::thread([] { Note(1); }).join();
        Note(2);
        QX_LOG("p", "Line", 3);
        EXPECT_EQ(GetCounters().recorded, 0u);
        EXPECT_EQ(GetCounters().refused, 0u);
        EXPECT_EQ(GetCounters().exits, 0u);
        EXPECT_TRUE(Files(".qxrec").empty());
    });
}

TEST_F(SwitchTest, WhatIsCalledBetweenOffAndOnIsMissing) {
    Run("traced", [] {
        for (int i = 0; i < 30; ++i) {
            SetEnabled(i < 10 || i >= 20);
            Note(i);
        }
        EXPECT_EQ(GetCounters().recorded, 20u);
        EXPECT_EQ(GetCounters().exits, 20u);
    });
    const DecodedDump dump = Dump("traced", true);
    ASSERT_EQ(dump.calls.size(), 20u);
    EXPECT_EQ(Number(dump.calls[9].args.in[0]), 9u);
    EXPECT_EQ(Number(dump.calls[10].args.in[0]), 20u);
    ExpectBalanced(Total("traced"));
}

TEST_F(SwitchTest, ACallThatBeganBeforeHasItsExit) {
    Run("traced", [] {
        QX_CALL_RETURNS(call, int, "p", "Across");
        SetEnabled(false);
        call.Return(7);
    });
    EXPECT_EQ(Number(Dump("traced", true).Only("Across").args.ret[0]), 7u);
}

TEST_F(SwitchTest, ACallThatBeganWhileItWasOffHasNoExit) {
    Run("traced", [] {
        SetEnabled(false);
        {
            QX_CALL(call, "p", "Across");
            SetEnabled(true);
        }
        Note(1);
        EXPECT_EQ(GetCounters().exits, 1u);
    });
    const DecodedDump dump = Dump("traced", true);
    ASSERT_EQ(dump.calls.size(), 1u);
    EXPECT_EQ(dump.Of("Note").size(), 1u);
}

TEST_F(SwitchTest, AForkedChildBeginsAsItsParentWas) {
    Run("traced", [] {
        SetEnabled(false);
        const pid_t child = ::fork();
        if (child == 0) ::_exit(qx::recorder::IsEnabled() ? 1 : 0);
        int status = -1;
        ::waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    });
}

TEST_F(SwitchTest, TheEnvironmentSaysOnOrOff) {
    using Switch = qxhost::QxOptions::Switch;
    const struct {
        const char* value;
        Switch means;
    } rows[] = {{"off", Switch::Off},   {"on", Switch::On},       {"", Switch::On},
                {"0", Switch::Unknown}, {"OFF", Switch::Unknown}, {"off ", Switch::Unknown}};
    EXPECT_EQ(qxhost::QxOptions::ReadSwitch(), Switch::On);
    for (const auto& row : rows) {
        ::setenv("QX_RECORDER", row.value, 1);
        EXPECT_EQ(qxhost::QxOptions::ReadSwitch(), row.means) << row.value;
    }
    ::unsetenv("QX_RECORDER");
}

TEST_F(SwitchTest, AnotherWordInTheEnvironmentIsReportedOnce) {
    Run("traced", [] {
        ::setenv("QX_RECORDER", "never", 1);
        RecordingLog::Clear();
        Note(1);
        Note(2);
        ASSERT_EQ(RecordingLog::Lines().size(), 1u);
        EXPECT_EQ(RecordingLog::Lines()[0].text, "QX_RECORDER is neither on nor off, recording is on");
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 2u);
}

}  // namespace
