// The traced program in C, and its scenario, as their user runs them.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <regex>
#include <string>
#include <vector>

#include "Child.h"
#include "ReadFile.h"
#include "Workplace.h"

#ifdef QXLT_DOOR_SERVICE

namespace {

using testing::HasSubstr;

class DoorService : public testing::Test {
protected:
    // Whoever runs the tests may have the program running: it goes by a name of its own.
    DoorService() {
        const std::string script = qxlt::ReadFile(QXLT_SOURCE_DIR "/examples/door_service/door.xml");
        m_script = m_place.Write("door.xml", std::regex_replace(script, std::regex("door-service"), m_name));
    }

    Child::Setup Setup(const std::vector<std::string>& command = {}) const {
        Child::Setup setup;
        setup.command = command;
        setup.environment = {{"QX_RUNTIME_DIR", m_place.At("recordings")}};
        return setup;
    }

    const Workplace m_place;
    const std::string m_name = m_place.CopyUnderOwnName(QXLT_DOOR_SERVICE);
    std::string m_script;
};

// The value of the event that a JSON line tells of, empty when it tells of another.
std::string ValueOf(const std::string& event, const std::string& line) {
    std::smatch match;
    const std::regex pattern("\"event\":\"" + event + "\",\"value\":\"([^\"]*)\"");
    return std::regex_search(line, match, pattern) ? match[1].str() : "";
}

TEST_F(DoorService, FiresTheEventsOfItsScenario) {
    const Child service(Setup({m_place.At(m_name), "400"}));
    Child tool(ToolSetup({"run", "-s", m_script, "--pause", "fast", "--format", "json"}, Setup()));
    for (const char* const event : {"CARD", "CARD_REFUSED", "OPENED", "REFUSED_IN_ROUND"}) {
        EXPECT_TRUE(tool.WaitForOutput("\"event\":\"" + std::string(event) + "\"")) << event << tool.Error();
    }
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0) << tool.Error();
    int opened = 0;
    for (const std::string& line : Lines(tool.Output())) {
        const std::string round = ValueOf("REFUSED_IN_ROUND", line);
        if (!round.empty()) {
            EXPECT_EQ(round.back(), '7') << line;
        }
        const std::string card = ValueOf("CARD", line);
        if (!card.empty()) {
            EXPECT_THAT(card, testing::MatchesRegex("card-[0-9]"));
        }
        const std::string count = ValueOf("OPENED", line);
        if (count.empty()) continue;
        EXPECT_GT(std::stoi(count), opened) << line;
        opened = std::stoi(count);
    }
    EXPECT_GT(opened, 0);
}

TEST_F(DoorService, ItsScenarioFitsWhatItRecords) {
    const Child service(Setup({m_place.At(m_name), "1000"}));
    Child::Setup setup = Setup();
    // It makes the last of its kinds of calls some time after it has started: until then some methods have none.
    std::string listed;
    const auto isWhole = [&listed] {
        return listed.find("door.GetTemperature") != std::string::npos && listed.find(" 0 calls") == std::string::npos;
    };
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    do listed = RunTool({"list", "-p", m_name}, setup).output;
    while (!isWhole() && std::chrono::steady_clock::now() < end);
    EXPECT_THAT(listed, HasSubstr("doors"));
    EXPECT_THAT(listed, testing::ContainsRegex("OUT 0  INT +Door "));
    EXPECT_THAT(listed, testing::ContainsRegex("RET 0 .*double "));
    const ToolResult checked = RunTool({"check", m_script}, setup);
    EXPECT_EQ(checked.status, 0) << checked.output;
    EXPECT_EQ(checked.output, "");
}

}  // namespace

#endif
