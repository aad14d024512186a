// A traced program whose recording is switched off from outside, or compiled out.
#include <gtest/gtest.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "TracedProgram.h"

namespace {

class Switch : public testing::Test {
protected:
    Switch() {
        m_directory = (std::filesystem::temp_directory_path() / "qx-switch-XXXXXX").string();
        EXPECT_NE(mkdtemp(m_directory.data()), nullptr);
        setenv("QX_LOG", "none", 1);
    }
    ~Switch() override { std::filesystem::remove_all(m_directory); }

    // How many recordings a program makes that traces calls on two threads, its environment saying so; in a directory
    // that is not there before, nor after when it makes none.
    std::ptrdiff_t Recordings(const char* word, const char* program = QX_TRACED) const {
        const std::string before = getenv("QX_RUNTIME_DIR") != nullptr ? getenv("QX_RUNTIME_DIR") : "";
        const std::string runtime = m_directory + "/recordings";
        setenv("QX_RUNTIME_DIR", runtime.c_str(), 1);
        setenv("QX_RECORDER", word, 1);
        {
            TracedProgram traced("qx" + std::to_string(getpid()) + "sw", 2, 100, 0, program);
            traced.WaitUntilDone();
        }
        unsetenv("QX_RECORDER");
        setenv("QX_RUNTIME_DIR", before.c_str(), 1);
        if (!std::filesystem::exists(runtime)) return 0;
        return std::distance(std::filesystem::directory_iterator(runtime), std::filesystem::directory_iterator());
    }

private:
    std::string m_directory;
};

TEST_F(Switch, OffInTheEnvironmentMakesNothing) {
    EXPECT_EQ(Recordings("off"), 0);
}

TEST_F(Switch, OnInTheEnvironmentRecords) {
    EXPECT_EQ(Recordings("on"), 1);
}

TEST_F(Switch, CallSitesThatAreCompiledOutNeedNoRecorder) {
    EXPECT_EQ(Recordings("on", QX_UNTRACED), 0);
}

}  // namespace
