#include "QxDictionary.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "QxRecording.h"
#include "qx/detail/format.h"

namespace {

using namespace qxlayout;
using qx::recorder::detail::Location;
using qx::recorder::detail::Site;
using qxhost::QxDictionary;

class QxDictionaryTest : public testing::Test {
protected:
    using Record = std::pair<MetaKind, std::string>;

    std::uint32_t Number(const std::string& method, const Location& location = {}) {
        s_location = location;
        return m_dictionary.NumberSite(m_site, "p", method.c_str(), [](Location& out) { out = s_location; });
    }

    static inline Location s_location;

    const Site m_site{"folder/file.cpp", 7, {0}};
    std::vector<Record> m_taken;
    bool m_hasRoom = true;
    QxDictionary m_dictionary{[this](MetaKind kind, const std::string& content) {
        if (m_hasRoom) m_taken.emplace_back(kind, content);
        return m_hasRoom;
    }};
};

TEST_F(QxDictionaryTest, EachKindIsNumberedFromOne) {
    EXPECT_EQ(Number("A"), 1u);
    EXPECT_EQ(m_dictionary.NumberName("main"), 1u);
    EXPECT_EQ(Number("B"), 2u);
    EXPECT_EQ(m_dictionary.NumberName("worker"), 2u);
    EXPECT_EQ(m_taken.size(), 4u);
}

TEST_F(QxDictionaryTest, WhatIsAlikeIsTakenOnce) {
    EXPECT_EQ(Number("A"), Number("A"));
    EXPECT_EQ(m_dictionary.NumberName(""), m_dictionary.NumberName(""));
    EXPECT_EQ(m_taken.size(), 2u);
}

TEST_F(QxDictionaryTest, ASiteIsKnownByItsFileWithoutFolders) {
    Number("A");
    EXPECT_EQ(m_taken.front().second.find("folder"), std::string::npos);
    EXPECT_NE(m_taken.front().second.find("file.cpp"), std::string::npos);
}

TEST_F(QxDictionaryTest, LayoutsComeBeforeTheSiteThatUsesThemAndOnceForAll) {
    Location location;
    location.descriptors.push_back({"Point", false, {{"x", {"int", 4}}, {"y", {"int", 4}}}});
    location.arguments.push_back({{"Point", qx::recorder::detail::kCompositeSize}, qx::recorder::detail::kAtEntry});
    Number("A", location);
    Number("B", location);
    ASSERT_EQ(m_taken.size(), 3u);
    EXPECT_EQ(m_taken[0].first, kMetaDescriptor);
    EXPECT_EQ(m_taken[1].first, kMetaLocation);
    EXPECT_EQ(m_taken[2].first, kMetaLocation);
}

TEST_F(QxDictionaryTest, WhatFindsNoRoomIsNotNumberedAndMayComeAgain) {
    m_hasRoom = false;
    EXPECT_EQ(Number("A"), 0u);
    EXPECT_EQ(m_dictionary.NumberName("main"), 0u);
    EXPECT_EQ(m_dictionary.Size(), 0u);
    m_hasRoom = true;
    EXPECT_EQ(Number("A"), 1u);
    EXPECT_EQ(m_dictionary.NumberName("main"), 1u);
}

TEST_F(QxDictionaryTest, ASiteWhoseLayoutFindsNoRoomHasNone) {
    Location location;
    location.descriptors.push_back({"Point", false, {{"x", {"int", 4}}}});
    m_hasRoom = false;
    EXPECT_EQ(Number("A", location), 0u);
    EXPECT_TRUE(m_taken.empty());
}

TEST_F(QxDictionaryTest, AllIsRepeatedInItsOrder) {
    Number("A");
    m_dictionary.NumberName("main");
    Number("B");
    const std::vector<Record> first = std::exchange(m_taken, {});
    m_dictionary.Repeat();
    EXPECT_EQ(m_taken, first);
    EXPECT_EQ(Number("B"), 2u);
}

TEST_F(QxDictionaryTest, ItsSizeIsThatOfItsRecords) {
    Number("A");
    m_dictionary.NumberName("main");
    Number("A");
    std::size_t size = 0;
    for (const auto& [kind, content] : m_taken) size += qxhost::QxRecording::MetadataSize(content);
    EXPECT_EQ(m_dictionary.Size(), size);
}

TEST_F(QxDictionaryTest, EachKindHasItsLimit) {
    for (std::size_t i = 0; i < kMaxNames; ++i) ASSERT_NE(m_dictionary.NumberName(std::to_string(i)), 0u);
    EXPECT_EQ(m_dictionary.NumberName("one more"), 0u);
    for (std::size_t i = 0; i < kMaxLocations; ++i) ASSERT_NE(Number(std::to_string(i)), 0u);
    EXPECT_EQ(Number("one more"), 0u);
    EXPECT_EQ(m_dictionary.NumberName("0"), 1u) << "what is known stays known";
    EXPECT_EQ(Number("0"), 1u);

    Location location;
    for (std::size_t i = 0; i < kMaxDescriptors; ++i) {
        location.descriptors.push_back({std::to_string(i), false, {{"x", {"int", 4}}}});
    }
    EXPECT_EQ(Number("0", location), 1u);
    location.descriptors.push_back({"one more", false, {{"x", {"int", 4}}}});
    EXPECT_EQ(Number("0", location), 0u);
}

TEST_F(QxDictionaryTest, ArgumentsAndMembersTogetherHaveALimit) {
    Location members;
    members.descriptors.push_back({"Large", false, {}});
    members.descriptors.front().members.resize(kMaxParts - 2);
    EXPECT_EQ(Number("A", members), 1u);
    Location arguments;
    arguments.arguments.resize(3);
    EXPECT_EQ(Number("B", arguments), 0u);
    arguments.arguments.resize(2);
    EXPECT_EQ(Number("B", arguments), 2u);
    EXPECT_EQ(Number("C"), 3u);
}

}  // namespace
