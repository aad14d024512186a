#include "UftraceTasks.h"

#include <gtest/gtest.h>

namespace {

using qxlt::UftraceTasks;

TEST(UftraceTasks, TellWhichProcessAThreadBelongsTo) {
    const UftraceTasks tasks(
        "SESS timestamp=1.000000001 pid=70 sid=4fa0 exename=\"/usr/bin/tuner\"\n"
        "TASK timestamp=1.000000002 tid=70 pid=70\n"
        "TASK timestamp=1.000000003 tid=71 pid=70\n");
    EXPECT_EQ(tasks.ProcessOf(71), 70u);
    EXPECT_EQ(tasks.NameOf(70), "tuner");
}

TEST(UftraceTasks, AForkedProcessRunsTheProgramOfItsParentUntilItRunsAnother) {
    const UftraceTasks tasks(
        "SESS timestamp=1.1 pid=70 sid=4fa0 exename=\"/bin/sh\"\n"
        "FORK timestamp=1.2 pid=71 ppid=70\n"
        "FORK timestamp=1.2 pid=72 ppid=70\n"
        "SESS timestamp=1.3 pid=72 sid=4fa1 exename=\"tuner \\\"2\\\"\"\n");
    EXPECT_EQ(tasks.NameOf(71), "sh");
    EXPECT_EQ(tasks.NameOf(72), "tuner \\\"2\\\"");
}

TEST(UftraceTasks, AnUnknownThreadIsAProcessOfItsOwn) {
    const UftraceTasks tasks("");
    EXPECT_EQ(tasks.ProcessOf(99), 99u);
    EXPECT_EQ(tasks.NameOf(99), "");
}

TEST(UftraceTasks, DamagedLinesArePassedOver) {
    const UftraceTasks tasks(
        "FORK timestamp=1 pid=5 ppid=6\nFORK timestamp=1 pid=6 ppid=5\nTASK tid= pid=\nSESS pid=99999999999999\n"
        "SESS timestamp=1 pid=8 exename=\"\nTASK timestamp=1 tid=9\nXXXX pid=3\nSESS");
    EXPECT_EQ(tasks.NameOf(5), "");
    EXPECT_EQ(tasks.ProcessOf(9), 9u);
    EXPECT_EQ(tasks.NameOf(3), "");
}

}  // namespace
