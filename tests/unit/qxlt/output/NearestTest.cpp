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
}

TEST(Nearest, KeepsTheThreeNearestEachOnce) {
    NearestValues nearest;
    for (const int value : {9, 3, 7, 3, 1, 5}) nearest.Add(static_cast<std::uint64_t>(value), std::to_string(value));
    EXPECT_THAT(nearest.Values(), ElementsAre("1", "3", "5"));
}

}  // namespace
