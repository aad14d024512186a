// That changes of files are noticed, however they are made, and that half of one is not taken for it.
#include "ScriptWatch.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>

#include "WatchedPlaces.h"
#include "Workplace.h"

namespace {

namespace fs = std::filesystem;
using namespace qxlt;
using testing::Contains;
using testing::Key;
using testing::Not;
using testing::Pair;

class Watching : public testing::Test {
protected:
    void SetUp() override {
        m_place.Write("rules/v.xml", "old");
        Follow({m_script});
    }

    void Follow(const std::vector<std::string>& files) {
        m_watch.reset();
        m_interruption.emplace();
        m_told = 0;
        m_watch.emplace(files, *m_interruption, [this] {
            ++m_told;
            m_interruption->Request();
        });
        EXPECT_EQ(Told(), 1) << "at first, what has changed before";
    }

    // How often a change is told of from now on: the first one is waited for.
    int Told() {
        m_told = 0;
        m_interruption->Wait(Interruption::Clock::now() + std::chrono::seconds(20));
        Within(ScriptWatch::kSettles * 3 / 2);
        return m_told;
    }

    // Whether none is, for that long.
    bool IsSilent(std::chrono::milliseconds time = ScriptWatch::kSettles * 2) {
        m_told = 0;
        Within(time);
        return m_told == 0;
    }

    void Within(std::chrono::milliseconds time) {
        const auto end = Interruption::Clock::now() + time;
        while (m_interruption->Wait(end) == Interruption::Cause::Request) {
        }
    }

    const Workplace m_place;
    const std::string m_script = m_place.At("rules/v.xml");
    std::optional<Interruption> m_interruption;
    std::optional<ScriptWatch> m_watch;
    int m_told = 0;
};

TEST_F(Watching, ToldOfWhateverAnEditorDoes) {
    EXPECT_TRUE(IsSilent());
    m_place.Write("rules/v.xml", "written in place");
    EXPECT_EQ(Told(), 1);
    m_place.Write("rules/.v.swp", "new");
    EXPECT_TRUE(IsSilent()) << "another file";
    fs::rename(m_place.At("rules/.v.swp"), m_script);
    EXPECT_EQ(Told(), 1);
    fs::rename(m_script, m_place.At("rules/v.xml~"));
    m_place.Write("rules/v.xml", "the old one is kept");
    EXPECT_EQ(Told(), 1);
    fs::copy_file(m_place.At("rules/v.xml~"), m_script, fs::copy_options::overwrite_existing);
    EXPECT_EQ(Told(), 1);
    fs::remove(m_script);
    EXPECT_EQ(Told(), 1);
    fs::create_hard_link(m_place.At("rules/v.xml~"), m_script);
    EXPECT_EQ(Told(), 1);
    fs::permissions(m_script, fs::perms::owner_all);
    EXPECT_EQ(Told(), 1);
}

TEST_F(Watching, WaitsUntilTheWriterIsDone) {
    std::ofstream file(m_script);
    file << "half" << std::flush;
    EXPECT_TRUE(IsSilent());
    file << " and half";
    file.close();
    EXPECT_EQ(Told(), 1);
}

TEST_F(Watching, TellsOnceOfChangesThatComeTogether) {
    for (int i = 0; i < 4; ++i) m_place.Write("rules/v.xml", "part " + std::to_string(i));
    EXPECT_EQ(Told(), 1);
}

TEST_F(Watching, TellsOfChangesThatDoNotEnd) {
    const auto end = Interruption::Clock::now() + 2 * ScriptWatch::kLongest;
    bool isSilent = true;
    while (isSilent && Interruption::Clock::now() < end) {
        m_place.Write("rules/v.xml", "again");
        isSilent = IsSilent(ScriptWatch::kSettles / 4);
    }
    EXPECT_FALSE(isSilent);
}

// As maps of a configuration are mounted: the names lead through a link that is put in the place of the one before.
TEST_F(Watching, FollowsLinks) {
    const std::string mount = m_place.At("mount");
    m_place.Write("mount/one/v.xml", "1");
    m_place.Write("mount/two/v.xml", "2");
    fs::create_directory_symlink("one", mount + "/..data");
    fs::create_symlink("..data/v.xml", mount + "/v.xml");
    Follow({mount + "/v.xml"});
    fs::create_directory_symlink("two", mount + "/..tmp");
    EXPECT_TRUE(IsSilent());
    fs::rename(mount + "/..tmp", mount + "/..data");
    EXPECT_EQ(Told(), 1);
    m_place.Write("mount/one/v.xml", "no longer read");
    EXPECT_TRUE(IsSilent());
    m_place.Write("mount/two/v.xml", "3");
    EXPECT_EQ(Told(), 1);
}

TEST_F(Watching, FollowsADirectoryThatIsMadeAnew) {
    fs::remove_all(m_place.At("rules"));
    EXPECT_EQ(Told(), 1);
    fs::create_directory(m_place.At("rules"));
    EXPECT_EQ(Told(), 1);
    m_place.Write("rules/v.xml", "new");
    EXPECT_EQ(Told(), 1);
    fs::rename(m_place.At("rules"), m_place.At("gone"));
    EXPECT_EQ(Told(), 1);
    m_place.Write("gone/v.xml", "elsewhere");
    EXPECT_TRUE(IsSilent());
}

TEST(WatchedPlaces, AreThoseOnTheWay) {
    const Workplace place;
    const fs::path top = place.Path();
    place.Write("a/v.xml", "");
    fs::create_symlink(top / "a", top / "b");
    fs::create_symlink("loop", top / "loop");
    const WatchedPlaces places = PlacesOf({place.At("b/v.xml"), place.At("loop"), place.At("none/v.xml")});
    EXPECT_THAT(places, Contains(Pair(top.parent_path().string(), Contains(top.filename().string()))));
    EXPECT_THAT(places, Contains(Pair(top.string(), testing::ElementsAre("a", "b", "loop", "none"))));
    EXPECT_THAT(places, Contains(Pair(place.At("a"), testing::ElementsAre("v.xml"))));
    EXPECT_THAT(places, Not(Contains(Key(place.At("none")))));
    EXPECT_THAT(PlacesOf({"./x/../v.xml"}), testing::ElementsAre(Pair(".", testing::ElementsAre("x"))));
}

}  // namespace
