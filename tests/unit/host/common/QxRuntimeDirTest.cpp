#include "QxRuntimeDir.h"

#include <sys/stat.h>
#include <unistd.h>

#include "HostTest.h"

using qxhost::QxFd;
using qxhost::QxRuntimeDir;

namespace {

class QxRuntimeDirTest : public HostTest {
protected:
    // The line with which the directory is refused; empty when it is taken.
    static std::string Refusal(const std::string& path, bool create = false) {
        std::string error;
        const QxFd fd = QxRuntimeDir::Open(path, create, error);
        EXPECT_EQ(static_cast<bool>(fd), error.empty());
        return error;
    }

    const std::string m_path = m_directory + "/run";
};

TEST_F(QxRuntimeDirTest, IsMadePrivate) {
    EXPECT_EQ(Refusal(m_path, true), "");
    struct stat status {};
    ASSERT_EQ(::stat(m_path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
    EXPECT_EQ(Refusal(m_path), "");
}

TEST_F(QxRuntimeDirTest, AMissingOneIsNoErrorUnlessItIsToBeMade) {
    std::string error;
    EXPECT_FALSE(QxRuntimeDir::Open(m_path, false, error));
    EXPECT_EQ(error, "");
    EXPECT_EQ(Refusal(m_path + "/deeper", true),
              "runtime directory " + m_path + "/deeper is not usable: No such file or directory");
}

TEST_F(QxRuntimeDirTest, TheEnvironmentChoosesItOrTheUserHasOne) {
    const std::string own = "/dev/shm/qx-" + std::to_string(::geteuid());
    const struct {
        const char* value;
        std::string path;
    } rows[] = {{"", own}, {"/", "/"}, {"/run/qx", "/run/qx"}, {"/run/qx//", "/run/qx"}, {"x/", "x"}};
    for (const auto& row : rows) {
        ::setenv("QX_RUNTIME_DIR", row.value, 1);
        EXPECT_EQ(QxRuntimeDir::DefaultPath(), row.path);
    }
    ::unsetenv("QX_RUNTIME_DIR");
    EXPECT_EQ(QxRuntimeDir::DefaultPath(), own);
}

TEST_F(QxRuntimeDirTest, WhyItCannotBeMadeIsTold) {
    EXPECT_EQ(Refusal(m_directory, true), "") << "it is there";
    const std::string refusal = Refusal("/sys/qx", true);
    EXPECT_EQ(refusal.find("runtime directory /sys/qx is not usable: "), 0u) << refusal;
    EXPECT_EQ(refusal.find("No such file"), std::string::npos) << refusal;
}

TEST_F(QxRuntimeDirTest, ALinkIsRefused) {
    ASSERT_EQ(::symlink(m_directory.c_str(), m_path.c_str()), 0);
    EXPECT_EQ(Refusal(m_path), "runtime directory " + m_path + " is not usable: it is a symbolic link");
    EXPECT_EQ(Refusal(m_path + "/"), "runtime directory " + m_path + " is not usable: it is a symbolic link");
}

TEST_F(QxRuntimeDirTest, AFileIsRefused) {
    WriteFile(m_path, "");
    EXPECT_EQ(Refusal(m_path), "runtime directory " + m_path + " is not usable: it is no directory");
}

TEST_F(QxRuntimeDirTest, OneThatOthersMayEnterIsRefused) {
    ASSERT_EQ(::mkdir(m_path.c_str(), 0700), 0);
    for (const mode_t mode : {0710u, 0701u, 0755u, 0777u}) {
        ASSERT_EQ(::chmod(m_path.c_str(), mode), 0);
        EXPECT_EQ(Refusal(m_path),
                  "runtime directory " + m_path + " is refused: group or others may enter it, its mode must be 0700");
    }
}

TEST_F(QxRuntimeDirTest, OneOfAnotherUserIsRefused) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can give a directory away";
    ASSERT_EQ(::mkdir(m_path.c_str(), 0700), 0);
    ASSERT_EQ(::chown(m_path.c_str(), 1, 1), 0);
    EXPECT_EQ(Refusal(m_path), "runtime directory " + m_path + " is refused: it belongs to another user");
}

}  // namespace
