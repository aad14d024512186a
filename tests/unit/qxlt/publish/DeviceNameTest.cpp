#include "DeviceName.h"

#include <gmock/gmock.h>

#include "Failure.h"

namespace qxlt {
namespace {

using testing::MatchesRegex;

TEST(DeviceName, IsTheOneThatWasGiven) {
    EXPECT_EQ(DeviceName("box 7/\xc3\xa4"), "box 7/\xc3\xa4");
    EXPECT_EQ(DeviceName(std::string(128, 'a')), std::string(128, 'a'));
    for (const std::string& name :
         {std::string(129, 'a'), std::string("a\nb"), std::string("\xff"), std::string("\x7f")}) {
        EXPECT_THROW(DeviceName(name), Failure) << name;
    }
}

// What systemd-id128 prints for that machine and that key.
TEST(DeviceName, OfAMachineDoesNotTellItsId) {
    EXPECT_EQ(NameOfMachine("0123456789abcdef0123456789abcdef"), "b2c8aad6053f4a8e953e31511620657b");
}

TEST(DeviceName, BootsAndRunsHaveIdsOfTheirOwn) {
    EXPECT_THAT(BootId(), MatchesRegex("[0-9a-f]{32}"));
    EXPECT_EQ(BootId(), BootId());
    EXPECT_THAT(NewRunId(), MatchesRegex("[0-9a-f]{16}"));
    EXPECT_NE(NewRunId(), NewRunId());
}

}  // namespace
}  // namespace qxlt
