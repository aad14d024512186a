// Captures as pages for the browser.
#include <gmock/gmock.h>

#include <filesystem>

#include "Captures.h"
#include "Child.h"
#include "DumpWriter.h"
#include "NestedCapture.h"
#include "PageVisit.h"
#include "Workplace.h"

namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr char kLoud[] =
    "<event name=\"LOUD\" tag=\"IN\" value=\"0\" type=\"INT\" watch=\"D-CONDITIONAL\" condition=\"&gt;\" "
    "conditionValue=\"80\"/><event name=\"VOLUME\" tag=\"IN\" value=\"0\" type=\"INT\" watch=\"CHANGED\"/>";

ToolResult View(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"view"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return RunTool(all);
}

// Those that need the page are left out where the tool has none, and those that look at it where there is no browser.
class ViewPage : public testing::Test {
protected:
    void SetUp() override {
        const std::string missing = PagesMissing();
        if (!missing.empty()) GTEST_SKIP() << missing;
    }

    // The page of the nested capture with its events.
    std::string Nested() const {
        const std::string script = m_place.Write("v.xml", VolumeScript(kLoud, "m"));
        return PageOf({NestedCapture(m_place), "-s", script});
    }

    std::string PageOf(std::vector<std::string> arguments) const {
        const std::string page = m_place.At("page.html");
        arguments.insert(arguments.end(), {"-o", page});
        const ToolResult result = View(arguments);
        EXPECT_EQ(result.status, 0) << result.error;
        EXPECT_EQ(result.output, "");
        EXPECT_EQ(result.error, "");
        return page;
    }

    const Workplace m_place;
};

TEST_F(ViewPage, DrawsEachThreadWithItsNestedCallsAndTheEvents) {
    const std::vector<json> found = Visit(Nested(), {"text #summary", "label", "drawn", "hover"});
    EXPECT_EQ(found[0], "5 calls, 3 events, 2 threads, 1 gap");
    EXPECT_THAT(found[1].get<std::string>(), HasSubstr("2 lanes with 5 bars, 2 marks of events, 1 gap; from "));
    EXPECT_EQ(found[2], json::array({true, true}));
    // Row 0 is the name of the lane of events; 2 and 5 are those of the threads.
    EXPECT_THAT(found[3], ElementsAre("1: VOLUME: 20", "1: VOLUME: 85",              //
                                      "3: audio.Play(\"hd\\\"mi\") = -1, 6.0 us",    //
                                      "3: audio.Move({x:1 y:2}) out (255), 1.0 us",  //
                                      "4: audio.SetVolume(85), 2.0 us"));
}

TEST_F(ViewPage, Dummy) {
    const std::vector<json> found =
        Visit(Nested(), {"pick audio.Move({x:1 y:2}) out (255), 1.0 us", "pick VOLUME: 85", "rows", "click #show-calls",
                         "rows", "time raw", "rows", "fill method Set", "fill value 85", "rows", "fill value",
                         "fill event LOUD", "rows", "described #list", "described tr[data-row=\"0\"]"});
    for (const json& one : found) std::cout << one.dump() << "\n";
}

}  // namespace
