#include "DeviceName.h"

#include <gmock/gmock.h>

#include "Failure.h"
#include "Sha256.h"
#include "Text.h"

namespace qxlt {
namespace {

using testing::MatchesRegex;

std::string HexOf(const Sha256Sum& sum) {
    return Hex(std::string(sum.begin(), sum.end()));
}

TEST(Sha256, GivesTheSumsOfTheStandard) {
    EXPECT_EQ(HexOf(Sha256("abc")), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(HexOf(Sha256("")), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(HexOf(Sha256("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq")),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(HexOf(HmacSha256("Jefe", "what do ya want for nothing?")),
              "5bdcc146bf60754e6a042426089575c75a003f089d2739839dec58b964ec3843");
}

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
