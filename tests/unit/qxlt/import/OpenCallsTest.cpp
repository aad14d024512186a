#include "OpenCalls.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using qxlt::ImportedCall;
using qxlt::OpenCalls;
using testing::ElementsAre;
using testing::IsEmpty;

class OpenCallsTest : public testing::Test {
protected:
    void Enter(std::uint16_t thread, const std::string& method, std::vector<qxlt::ImportedValue> in = {}) {
        calls.Enter(thread, {method, "", 1, std::move(in), std::nullopt});
    }
    bool Leave(std::uint16_t thread, const std::string& method) { return calls.Leave(thread, method, {2, {}, {}}); }

    std::vector<std::string> told;
    OpenCalls calls{[this](std::uint16_t thread, const ImportedCall& call) {
        told.push_back(std::to_string(thread) + " " + call.method + (call.exit ? " returned" : ""));
    }};
};

TEST_F(OpenCallsTest, ACallIsToldWhenItReturns) {
    Enter(1, "Outer");
    Enter(1, "Inner");
    EXPECT_THAT(told, IsEmpty());
    EXPECT_TRUE(Leave(1, "Inner"));
    EXPECT_TRUE(Leave(1, "Outer"));
    EXPECT_THAT(told, ElementsAre("1 Inner returned", "1 Outer returned"));
}

TEST_F(OpenCallsTest, ThreadsDoNotMix) {
    Enter(1, "F");
    EXPECT_FALSE(Leave(2, "F"));
    EXPECT_TRUE(Leave(1, "F"));
}

TEST_F(OpenCallsTest, WhatWasCalledWithinHasLostItsReturn) {
    Enter(1, "Outer");
    Enter(1, "Lost");
    Enter(1, "Other");
    EXPECT_TRUE(Leave(1, "Outer"));
    EXPECT_THAT(told, ElementsAre("1 Lost", "1 Other", "1 Outer returned"));
}

TEST_F(OpenCallsTest, AReturnWithoutItsCallChangesNothing) {
    Enter(1, "F");
    EXPECT_FALSE(Leave(1, "G"));
    EXPECT_THAT(told, IsEmpty());
    EXPECT_TRUE(Leave(1, "F"));
    EXPECT_FALSE(Leave(1, "F"));
}

TEST_F(OpenCallsTest, AReturnWithoutANameIsOfTheLastCall) {
    Enter(1, "F");
    Enter(1, "G");
    EXPECT_TRUE(Leave(1, ""));
    EXPECT_THAT(told, ElementsAre("1 G returned"));
}

TEST_F(OpenCallsTest, WhatIsStillOpenIsToldAtTheEnd) {
    Enter(2, "F");
    Enter(1, "G");
    calls.EndAll();
    EXPECT_THAT(told, ElementsAre("1 G", "2 F"));
    EXPECT_FALSE(Leave(2, "F"));
}

TEST_F(OpenCallsTest, ManyOpenCallsAreToldBeforeTheyTakeAllMemory) {
    const qxlt::ImportedValue large = qxlt::TextValue(std::string(8000, 'x'));
    std::size_t entered = 0;
    while (told.empty() && entered < 10000) {
        Enter(static_cast<std::uint16_t>(entered % 7), "F", {large});
        ++entered;
    }
    EXPECT_LE(entered * 8000, OpenCalls::kMostBytes + 8000);
    EXPECT_EQ(told.size(), entered - 1);
    EXPECT_TRUE(Leave(static_cast<std::uint16_t>((entered - 1) % 7), "F"));
}

}  // namespace
