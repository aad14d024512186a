#include "Topics.h"

#include <gmock/gmock.h>

#include <vector>

namespace qxlt {
namespace {

TEST(Topics, ALevelHoldsOnlyWhatAllBrokersTake) {
    const std::vector<std::pair<std::string, std::string>> rows = {{"VOLUME_HIGH-2", "VOLUME_HIGH-2"},
                                                                   {"a/b", "a%2Fb"},
                                                                   {"+", "%2B"},
                                                                   {"#", "%23"},
                                                                   {"a.b c", "a%2Eb%20c"},
                                                                   {"%", "%25"},
                                                                   {"", "%"},
                                                                   {"\xc3\xa4", "%C3%A4"},
                                                                   {std::string(1, '\0'), "%00"},
                                                                   {"$SYS", "%24SYS"},
                                                                   {"\xff", "%FF"}};
    for (const auto& [name, level] : rows) {
        EXPECT_EQ(TopicLevel(name), level);
        EXPECT_EQ(ReadTopicLevel(level), name) << level;
    }
}

TEST(Topics, WhatNobodyWritesIsNoLevel) {
    for (const char* const level : {"", "a.b", "a/b", "+", "#", "%4", "%4g", "%2f", "a%", "%41", "%%"}) {
        EXPECT_FALSE(ReadTopicLevel(level)) << level;
    }
    EXPECT_TRUE(ReadTopicLevel(std::string(384, 'a')));
    EXPECT_FALSE(ReadTopicLevel(std::string(385, 'a')));
}

TEST(Topics, OfALongNameTheLevelHasTheBeginning) {
    EXPECT_EQ(TopicLevel(std::string(384, 'a')), std::string(384, 'a'));
    EXPECT_EQ(TopicLevel(std::string(385, 'a')), std::string(384, 'a'));
    EXPECT_EQ(TopicLevel(std::string(383, 'a') + "."), std::string(383, 'a'));  // no escape is cut
    EXPECT_EQ(TopicLevel(std::string(381, 'a') + ".b"), std::string(381, 'a') + "%2E");
}

TEST(Topics, StandBelowTheDevice) {
    EXPECT_EQ(EventTopic("box 7", "A.B"), "box%207/events/A%2EB");
    EXPECT_EQ(StatusTopic("box 7"), "box%207/status");
}

}  // namespace
}  // namespace qxlt
