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
using testing::Not;

constexpr char kLoud[] =
    "<event name=\"LOUD\" tag=\"IN\" value=\"0\" type=\"INT\" watch=\"D-CONDITIONAL\" condition=\"&gt;\" "
    "conditionValue=\"80\"/><event name=\"VOLUME\" tag=\"IN\" value=\"0\" type=\"INT\" watch=\"CHANGED\"/>";

ToolResult View(const std::vector<std::string>& arguments) {
    std::vector<std::string> all = {"view"};
    all.insert(all.end(), arguments.begin(), arguments.end());
    return RunTool(all);
}

class ViewPage : public testing::Test {
protected:
    void SetUp() override {
        if (!ToolHasPage()) GTEST_SKIP() << "the tool was built without the page";
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

class VisitedPage : public ViewPage {
protected:
    void SetUp() override {
        const std::string missing = PagesMissing();
        if (!missing.empty()) GTEST_SKIP() << missing;
    }
};

TEST_F(VisitedPage, DrawsEachThreadWithItsNestedCallsAndTheEvents) {
    const std::vector<json> found = Visit(Nested(), {"text #summary", "label", "drawn", "hover"});
    EXPECT_EQ(found[0], "5 calls, 3 events, 2 threads, 1 gap");
    EXPECT_THAT(found[1].get<std::string>(), HasSubstr("2 lanes with 5 bars, 2 marks of events, 1 gap; from "));
    EXPECT_EQ(found[2], json::array({true, true}));
    // The lane of events has rows 0 and 1; the names of the threads stand in 2 and 5.
    EXPECT_THAT(found[3],
                ElementsAre("0: VOLUME: 20", "0: VOLUME: 85", "1: VOLUME: 20", "1: VOLUME: 85",                      //
                            "2: lost: overwritten 3, refused 2",                                                     //
                            "3: audio.Play(\"hd\"mi\") = -1, 6.0 us", "3: audio.Move({x:1 y:2}) out (255), 1.0 us",  //
                            "4: audio.SetVolume(85), 2.0 us", "4: audio.Log(true, 2.5)",                             //
                            "4: lost: overwritten 3, refused 2", "5: lost: overwritten 3, refused 2",                //
                            "6: audio.SetVolume(20), 4.0 us", "6: lost: overwritten 3, refused 2"));
}

TEST_F(VisitedPage, ShowsWhatWasClicked) {
    const std::string script = m_place.At("v.xml");
    const std::vector<json> found =
        Visit(Nested(), {"pick audio.Move({x:1 y:2}) out (255), 1.0 us", "pick audio.Play(\"hd\"mi\") = -1, 6.0 us",
                         "pick VOLUME: 85", "pick lost: overwritten 3, refused 2"});
    EXPECT_THAT(found[0], ElementsAre("audio.Move", "in 0", "{x:1 y:2}", "out 0", "255", "duration", "1.0 us", "time",
                                      "0.000006095", "thread", "m[7] mixer", "source", "volume.cpp"));
    EXPECT_THAT(found[1], ElementsAre("audio.Play", "in 0", "\"hd\"mi\"", "result", "-1", "duration", "6.0 us", "time",
                                      "0.000000000", "thread", "m[7] mixer", "source", "volume.cpp"));
    EXPECT_THAT(found[2],
                ElementsAre("VOLUME", "value", "85", "why", script + ":4: the value changed; it was \"20\"", "cycle",
                            "2", "call", "audio.SetVolume", "in 0", "85", "duration", "2.0 us", "time", "0.000001000",
                            "thread", "m[7] mixer", "source", "volume.cpp", "raised also", "LOUD"));
    EXPECT_THAT(found[3], ElementsAre("lost calls", "lost", "overwritten 3, refused 2", "process", "m[7]", "from",
                                      "0.000007095", "until", "not known", "cycle", "2"));
}

TEST_F(VisitedPage, FindsMethodsEventsAndValues) {
    const std::vector<json> found = Visit(
        Nested(), {"rows", "fill event loud", "rows", "click #show-calls", "rows", "fill event", "fill method SET",
                   "fill value 85", "rows", "time raw", "rows", "fill value nowhere", "rows", "label"});
    EXPECT_THAT(found[0], ElementsAre("0.000000 | VOLUME | 20 | audio.SetVolume(20) | m[7] thread 4",
                                      "0.000001 | LOUD | 85 | audio.SetVolume(85) | m[7] mixer",
                                      "0.000001 | VOLUME | 85 | audio.SetVolume(85) | m[7] mixer"));
    EXPECT_EQ(found[1], "1 call and 1 event found");
    EXPECT_THAT(found[2], ElementsAre("0.000001 | LOUD | 85 | audio.SetVolume(85) | m[7] mixer"));
    EXPECT_THAT(found[4], ElementsAre("0.000001 | audio.SetVolume | (85) | 2.0 us | m[7] mixer"));
    EXPECT_EQ(found[5], "5 calls and 3 events found");
    EXPECT_EQ(found[6], "2 calls and 3 events found");
    EXPECT_EQ(found[7], "1 call and 2 events found");
    EXPECT_EQ(found[8], found[4]);
    EXPECT_THAT(found[10], ElementsAre("1105 | audio.SetVolume | (85) | 2.0 us | m[7] mixer"));
    EXPECT_EQ(found[11], "0 calls and 0 events found");
    EXPECT_THAT(found[12], ElementsAre("none"));
    EXPECT_THAT(found[13].get<std::string>(), HasSubstr("with 5 bars, 0 marks"));
}

TEST_F(VisitedPage, IsUsedWithTheKeyboard) {
    const std::vector<json> found =
        Visit(Nested(), {"described #list", "click #value", "press Tab", "focused", "press +", "label", "press Tab",
                         "press Tab", "focused", "press ArrowDown", "press ArrowDown", "press ArrowDown", "focused",
                         "press Home", "focused", "press Enter", "text #details h2", "label"});
    EXPECT_THAT(found[0], ElementsAre("role=grid", "aria-label=events", "aria-rowcount=4"));
    EXPECT_THAT(found[3], testing::Contains("role=img"));
    EXPECT_THAT(found[5].get<std::string>(), HasSubstr("from 0.000001 to 0.000005"));
    EXPECT_THAT(found[8], ElementsAre("aria-rowindex=2", "aria-selected=true", "tabindex=0"));
    EXPECT_THAT(found[12], ElementsAre("aria-rowindex=4", "aria-selected=true", "tabindex=0"));
    EXPECT_EQ(found[14], found[8]);
    EXPECT_EQ(found[16], "VOLUME");
    EXPECT_NE(found[17], found[5]);
}

TEST_F(VisitedPage, HasTheTimesOfTheDay) {
    const std::string capture = NestedCapture(m_place);
    m_place.Write("capture/capture.json", R"({"version":1,"processes":{"m":7},"clock_offset":1772368200000000007})");
    const std::vector<json> found =
        Visit(PageOf({capture}), {"time wall", "pick audio.Move({x:1 y:2}) out (255), 1.0 us", "text #summary"});
    EXPECT_THAT(found[1], testing::Contains("2026-03-01T12:30:00.000006207Z"));
    EXPECT_THAT(found[2].get<std::string>(), HasSubstr("began 2026-03-01T12:30:00.000000112Z"));
}

// Names and values that would do something if any of them got into the page as markup or program.
TEST_F(VisitedPage, TakesAnyNameAndValueAsText) {
    using namespace dump;
    const Bytes markup = "</script><script>alert(1)</script><img src=x onerror=alert(2)><!--";
    const Bytes program = "\"',\n\\u003c\xE2\x80\xA8}]);alert(3);//\xFF";
    m_place.Write("capture/capture.json", CaptureFile(R"("</script><script>alert(4)</script>":7)"));
    m_place.Write("capture/000002/%3C%2Fscript%3E%3Cscript%3Ealert%284%29%3C%2Fscript%3E.qxdump",
                  Persistent({Item(kLocation, Location(3)
                                                  .Name(markup, program)
                                                  .Source(markup)
                                                  .Arg("std::string", kIn, kVariableSize)
                                                  .Arg("std::string", kIn, kVariableSize))}) +
                      Properties(3, Item(kThreadName, ThreadName(markup))) +
                      Thread(3, {StreamItem(kBefore, Before(5, 3, Variable(markup) + Variable(program))),
                                 StreamItem(kAfter, After(1))}));
    const std::string page = PageOf({m_place.At("capture")});
    EXPECT_THAT(m_place.Read("page.html"), Not(HasSubstr("alert(1)</script>")));
    const std::vector<json> found =
        Visit(page, {"count script", "count img", "rows", "hover", "press Tab", "click tr[data-row=\"0\"]", "details"});
    EXPECT_EQ(found[0], 2);
    EXPECT_EQ(found[1], 0);
    EXPECT_THAT(found[2][0].get<std::string>(), HasSubstr("<img src=x onerror=alert(2)><!--"));
    EXPECT_THAT(found[3][0].get<std::string>(), HasSubstr("alert(3);//\\xff"));
    EXPECT_THAT(found[6][0].get<std::string>(), HasSubstr("alert(3);//\\xff.</script><script>alert(1)</script>"));
}

// What cannot be told apart is drawn as one.
TEST_F(VisitedPage, DrawsNoMoreThanThereIsRoomFor) {
    using namespace dump;
    Bytes packets = Persistent({Item(kLocation, Location(3).Name("SetVolume").Arg("int", kIn, 4))});
    for (int i = 0; i < 20000; i += 1000) {
        Bytes run;
        for (int k = i; k < i + 1000; ++k) {
            const std::uint64_t delta = k == i ? 1000 + static_cast<std::uint64_t>(i) * 5000 : 100;
            run += StreamItem(kBefore, Before(delta, 3, Int(k, 4))) + StreamItem(kAfter, After(1));
        }
        packets += Thread(3, run);
    }
    m_place.Write("capture/capture.json", CaptureFile("\"m\":7"));
    m_place.Write("capture/000001/m.qxdump", packets);
    const std::vector<json> found = Visit(PageOf({m_place.At("capture")}), {"text #summary", "label", "rows"});
    EXPECT_EQ(found[0], "20000 calls, 0 events, 1 thread");
    EXPECT_THAT(found[1].get<std::string>(), HasSubstr("1 lane with 20 bars"));
    EXPECT_EQ(found[2].size(), 200u);
}

TEST_F(ViewPage, IsTheSameForTheSameCapture) {
    const std::string first = Nested();
    const std::string bytes = m_place.Read("page.html");
    EXPECT_EQ(PageOf({m_place.At("capture"), "-s", m_place.At("v.xml")}), first);
    EXPECT_EQ(m_place.Read("page.html"), bytes);
}

// Each library in it is told with its licence, and the page may run its own program only.
TEST_F(ViewPage, HoldsLicencesAndItsPolicy) {
    Nested();
    const std::string page = m_place.Read("page.html");
    for (const char* const part : {"Apache License", "Redistribution and use in source and binary forms",
                                   "default-src 'none'; "
                                   "script-src 'sha256-"}) {
        EXPECT_THAT(page, HasSubstr(part));
    }
    for (const char* const part : {"src=\"", "href=", "@import", "unsafe-"}) EXPECT_THAT(page, Not(HasSubstr(part)));
}

TEST_F(ViewPage, NeedsACaptureAndAFile) {
    const std::string capture = NestedCapture(m_place);
    EXPECT_THAT(View({capture}).error, HasSubstr("--output is required"));
    EXPECT_EQ(View({capture}).status, 2);
    EXPECT_EQ(View({m_place.At("missing"), "-o", m_place.At("page.html")}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(m_place.At("page.html")));
    EXPECT_EQ(View({capture, "-s", m_place.At("no.xml"), "-o", m_place.At("page.html")}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(m_place.At("page.html")));
    if (!std::filesystem::exists("/dev/full")) GTEST_SKIP() << "/dev/full is not there";
    const ToolResult full = View({capture, "-o", "/dev/full"});
    EXPECT_EQ(full.status, 1);
    EXPECT_THAT(full.error, HasSubstr("make room and view again"));
}

TEST_F(ViewPage, TellsWhatIsWrongInTheCapture) {
    const std::string capture = NestedCapture(m_place);
    m_place.Write("capture/000002/m.qxdump", LaterCall(21) + dump::Packet(9, "x"));
    const ToolResult result = View({capture, "-o", m_place.At("page.html")});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.error, HasSubstr("000002/m.qxdump"));
    EXPECT_THAT(m_place.Read("page.html"), testing::EndsWith("</html>\n"));
}

}  // namespace
