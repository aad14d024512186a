#include "StateFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "Workplace.h"

namespace qxlt {
namespace {

namespace fs = std::filesystem;

std::size_t FilesIn(const std::string& folder) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

TEST(StateFile, ReplacesTheFileAsAWhole) {
    const Workplace place;
    const StateFile file(place.At("state"));
    ASSERT_EQ(file.Write("first"), "");
    struct stat first {};
    ASSERT_EQ(stat(file.Path().c_str(), &first), 0);
    ASSERT_EQ(file.Write("second"), "");
    struct stat second {};
    ASSERT_EQ(stat(file.Path().c_str(), &second), 0);
    EXPECT_NE(first.st_ino, second.st_ino) << "a reader of the first would have seen it change";
    EXPECT_EQ(place.Read("state"), "second");
    EXPECT_EQ(FilesIn(place.Path()), 1u);
}

TEST(StateFile, IsReadableWhateverTheMask) {
    const Workplace place;
    const StateFile file(place.At("state"));
    const mode_t mask = umask(0077);
    EXPECT_EQ(file.Write("x"), "");
    umask(mask);
    struct stat status {};
    ASSERT_EQ(stat(file.Path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777u, 0644u);
}

TEST(StateFile, WritesThroughNoLink) {
    const Workplace place;
    place.Write("other", "mine");
    const StateFile file(place.At("state"));
    fs::create_symlink(place.At("other"), place.At("state." + std::to_string(getpid()) + ".tmp"));
    fs::create_symlink(place.At("other"), place.At("state"));
    EXPECT_EQ(file.Write("x"), "");
    EXPECT_EQ(place.Read("other"), "mine");
    EXPECT_EQ(place.Read("state"), "x");
    EXPECT_FALSE(fs::is_symlink(place.At("state")));
}

TEST(StateFile, SaysWhyItCannotBeWritten) {
    const Workplace place;
    EXPECT_EQ(StateFile(place.At("no/state")).Write("x"), "No such file or directory");
    fs::create_directories(place.At("folder/inner"));
    EXPECT_EQ(StateFile(place.At("folder")).Write("x"), "Is a directory");
    EXPECT_EQ(FilesIn(place.Path()), 1u) << "nothing is left behind";
    EXPECT_EQ(StateFile("/dev/full/x").Write("x"), "Not a directory");
}

TEST(StateFile, WithoutANameIsNone) {
    EXPECT_FALSE(StateFile("").IsAny());
    EXPECT_EQ(StateFile("").Write("x"), "");
}

}  // namespace
}  // namespace qxlt
