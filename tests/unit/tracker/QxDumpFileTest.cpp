#include "QxDumpFile.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "Diagnostics.h"
#include "dlog.h"

namespace {

constexpr std::uintmax_t kGiB = 1024u * 1024u * 1024u;

class QxDumpFileTest : public testing::Test {
protected:
    QxDumpFileTest() {
        std::string name = (std::filesystem::temp_directory_path() / "qx-dump-XXXXXX").string();
        m_directory = mkdtemp(name.data());
    }
    ~QxDumpFileTest() override { std::filesystem::remove_all(m_directory); }

    std::string Path(const std::string& name = "dump") const { return m_directory + "/" + name; }

    std::string Write(const std::string& bytes) const {
        std::ofstream(Path(), std::ios::binary) << bytes;
        return Path();
    }

    // A file of that size that takes no room.
    std::string Sparse(std::uintmax_t size) const {
        std::filesystem::resize_file(Write(""), size);
        return Path();
    }

    // Reads what is no dump: nothing, and one line that says why and where.
    static void ExpectRefused(const std::string& path, const std::string& why) {
        RecordingLog::Clear();
        EXPECT_TRUE(QxDumpFile::Read(path).empty());
        const std::string line = "[QxDumpFile::Read] " + why + ", path: " + path;
        EXPECT_EQ(RecordingLog::Messages(), std::vector<std::string>{line});
        EXPECT_EQ(RecordingLog::Count(line, DLOG_ERROR), 1);
    }

    static std::size_t OpenFiles() {
        const std::filesystem::directory_iterator files("/proc/self/fd");
        return static_cast<std::size_t>(std::distance(begin(files), end(files)));
    }

private:
    const Diagnostics m_diagnostics{Major};
    std::string m_directory;
};

}  // namespace

TEST_F(QxDumpFileTest, ReadsTheWholeFile) {
    std::string bytes;
    for (int i = 0; i < 100000; ++i) bytes.push_back(static_cast<char>(i * 7 % 256));
    for (const std::string& content : {bytes, std::string("x"), std::string("\0\r\n\x1A\0", 5)}) {
        const std::vector<char> read = QxDumpFile::Read(Write(content));
        EXPECT_EQ(std::string(read.begin(), read.end()), content);
    }
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxDumpFileTest, LeavesTheFileInPlace) {
    QxDumpFile::Read(Write("bytes"));
    EXPECT_EQ(std::filesystem::file_size(Path()), 5u);
}

TEST_F(QxDumpFileTest, ReadsThroughALink) {
    std::filesystem::create_symlink(Write("bytes"), Path("link"));
    EXPECT_EQ(QxDumpFile::Read(Path("link")).size(), 5u);
}

TEST_F(QxDumpFileTest, IsSilentlyEmptyWhenThereIsNoFile) {
    for (const std::string& path : {Path(), Path("missing/dump"), std::string()}) {
        EXPECT_TRUE(QxDumpFile::Read(path).empty()) << path;
    }
    EXPECT_TRUE(QxDumpFile::Read(Write("x") + "/below").empty());
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxDumpFileTest, IsSilentlyEmptyForAnEmptyFile) {
    EXPECT_TRUE(QxDumpFile::Read(Write("")).empty());
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxDumpFileTest, IsSilentlyEmptyForAPathLongerThanAny) {
    EXPECT_TRUE(QxDumpFile::Read("/" + std::string(100000, 'x')).empty());
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxDumpFileTest, RefusesADirectory) {
    std::filesystem::create_directory(Path());
    ExpectRefused(Path(), "Not a regular file");
}

TEST_F(QxDumpFileTest, RefusesAPipeWithoutWaitingForAWriter) {
    ASSERT_EQ(mkfifo(Path().c_str(), 0600), 0);
    ExpectRefused(Path(), "Not a regular file");
}

TEST_F(QxDumpFileTest, RefusesADevice) {
    ExpectRefused("/dev/zero", "Not a regular file");
}

TEST_F(QxDumpFileTest, RefusesAFileThatIsTooLarge) {
    ExpectRefused(Sparse(3 * kGiB), "The file is too large for a dump");
    ExpectRefused(Sparse(2 * kGiB), "The file is too large for a dump");
}

TEST_F(QxDumpFileTest, ClosesWhatItOpened) {
    const std::size_t before = OpenFiles();
    QxDumpFile::Read(Write("bytes"));
    QxDumpFile::Read(std::filesystem::path(Path()).parent_path());
    QxDumpFile::Read("/dev/zero");
    QxDumpFile::Read(Sparse(3 * kGiB));
    EXPECT_EQ(OpenFiles(), before);
}

// A file that ends before its size, as one does that is cut while it is read. The system's own files are such, too.
TEST_F(QxDumpFileTest, TakesTheEndOfTheFileForTheEndWhateverFailedBefore) {
    const std::string path = "/sys/devices/system/cpu/possible";
    if (!std::filesystem::is_regular_file(path)) GTEST_SKIP() << path << " is missing";
    const std::uintmax_t size = std::filesystem::file_size(path);
    errno = EINTR;
    const std::vector<char> bytes = QxDumpFile::Read(path);
    EXPECT_FALSE(bytes.empty());
    EXPECT_LT(bytes.size(), size);
}

TEST_F(QxDumpFileTest, ClosesTheFileAlsoUnderTheFirstNumber) {
    const int input = dup(STDIN_FILENO);
    close(STDIN_FILENO);
    EXPECT_EQ(QxDumpFile::Read(Write("abc")).size(), 3u);
    EXPECT_EQ(fcntl(STDIN_FILENO, F_GETFD), -1);
    if (input >= 0) dup2(input, STDIN_FILENO);
    if (input >= 0) close(input);
}
