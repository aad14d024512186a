// Which words and values are near.
#include "Nearest.h"

#include <gmock/gmock.h>

namespace {

using namespace qxlt;
using testing::ElementsAre;

TEST(Nearest, MeasuresDistances) {
    EXPECT_EQ(EditDistance("kitten", "sitting"), 3u);
    EXPECT_EQ(EditDistance("", "abc"), 3u);
    EXPECT_EQ(PartDistance("id=", "x;id:42"), 1u);
    EXPECT_EQ(PartDistance("id=", "x;id=42"), 0u);
    EXPECT_EQ(EditDistance(std::string(100000, 'a'), std::string(100000, 'b')), 64u);
}

TEST(Nearest, SuggestsOnlyWhatIsNear) {
    EXPECT_EQ(Suggestion("SetVolum", {"GetVolume", "SetVolume"}), "SetVolume");
    EXPECT_EQ(Suggestion("SetVolum", {"Open"}), "");
    // One change, and one more for every three characters.
    EXPECT_EQ(Suggestion("abcdef", {"abcxyz"}), "abcxyz");
    EXPECT_EQ(Suggestion("abcdef", {"abwxyz"}), "");
    EXPECT_EQ(Suggestion("abcde", {"abxyz"}), "");
    // The first of several that are equally near.
    EXPECT_EQ(Suggestion("ab", {"ax", "ay"}), "ax");
}

// Of the whole text a part is looked for in four times as much as is compared.
TEST(Nearest, ComparesBeginningsOnly) {
    EXPECT_EQ(PartDistance("id=", std::string(253, 'x') + "id="), 0u);
    EXPECT_EQ(PartDistance("id=", std::string(254, 'x') + "id="), 1u);
    EXPECT_EQ(EditDistance(std::string(64, 'a') + "b", std::string(64, 'a') + "c"), 0u);
    EXPECT_EQ(EditDistance(std::string(63, 'a') + "b", std::string(63, 'a') + "c"), 1u);
}

TEST(Nearest, KeepsTheFirstOfThoseThatAreEquallyNear) {
    NearestValues nearest;
    for (const char* const value : {"a", "b", "c", "d"}) nearest.Add(1, value);
    EXPECT_THAT(nearest.Values(), ElementsAre("a", "b", "c"));
    nearest.Add(0, "e");
    EXPECT_THAT(nearest.Values(), ElementsAre("e", "a", "b"));
}

TEST(Nearest, KeepsTheThreeNearestEachOnce) {
    NearestValues nearest;
    for (const int value : {9, 3, 7, 3, 1, 5}) nearest.Add(static_cast<std::uint64_t>(value), std::to_string(value));
    EXPECT_THAT(nearest.Values(), ElementsAre("1", "3", "5"));
}

}  // namespace
