// What `qxlt check` finds when it compares scenarios with what was recorded.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CheckRuns.h"
#include "Child.h"
#include "DumpWriter.h"
#include "RecordedSample.h"
#include "Workplace.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

TEST(CheckTest, KnowsPackagesFromARecording) {
    const Workplace place;
    place.Write("dump", RecordedDump());
    struct Row {
        const char* method;
        const char* finding;
    };
    const Row rows[] = {
        {"audio.SetVolume",
         "\"audio.SetVolume\" has the package in front, and calls are matched by the bare name; did "
         "you mean name=\"SetVolume\" [QX019]"},
        {"radio.SetVolume", "no method \"radio.SetVolume\" is recorded; did you mean SetVolume [QX080]"},
        {".Move", "did you mean name=\"Move\" [QX019]"},
        {"Set.Volume", "no method \"Set.Volume\" is recorded; did you mean SetVolume [QX080]"},
    };
    for (const Row& row : rows) {
        place.Write("a.xml", std::string("<Scenario><action name=\"a\" process=\"media-server\"><method name=\"") +
                                 row.method + "\"/><event name=\"E\" tag=\"NONE\"/></action></Scenario>");
        const std::vector<std::string> lines =
            Lines(RunIn(place.Path(), {"check", "a.xml", "--against", "dump"}).output);
        EXPECT_THAT(lines, ElementsAre(EndsWith(row.finding), HasSubstr("note: 0 calls"))) << row.method;
    }
    // A method that has a dot in its name is one.
    using namespace dump;
    place.Write("dotted", Persistent({Item(kHeader, Header(412, "media-server")),
                                      Item(kLocation, Location(3).Name("a.b", "p"))}));
    place.Write("a.xml",
                "<Scenario><action name=\"a\" process=\"media-server\"><method name=\"a.b\"/>"
                "<event name=\"E\" tag=\"NONE\"/></action></Scenario>");
    EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "a.xml", "--against", "dotted"}).output),
                ElementsAre(HasSubstr("note: 0 calls of a.b recorded")));
    EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "a.xml"}).output), ElementsAre(EndsWith("[QX019]")));
    place.Write("a.xml",
                "<Scenario><action name=\"a\" process=\"media-server\"><method id=\"p.a.b\"/>"
                "<event name=\"E\" tag=\"NONE\"/></action></Scenario>");
    EXPECT_THAT(RunIn(place.Path(), {"check", "a.xml", "--against", "dotted"}).output,
                HasSubstr("did you mean id=\"a.b\" [QX019]"));
}

TEST(CheckTest, KnowsTheProcessesOfARecording) {
    const Workplace place;
    place.Write("capture/capture.json",
                R"({"version":1,"processes":{"media-server":412,"a-long-name-of-a-process":7}})");
    place.Write("capture/000001/media-server.qxdump", RecordedDump());
    place.Write("nameless", VolumeDump({1}));
    const auto codes = [&place](const std::string& process, const std::string& input) {
        place.Write("a.xml", VolumeScript(kEveryVolume, process));
        std::vector<std::string> endings;
        for (const std::string& line : Lines(RunIn(place.Path(), {"check", "a.xml", "--against", input}).output)) {
            if (line.find("note: ") == std::string::npos) endings.push_back(line.substr(line.find(": ") + 2));
        }
        return endings;
    };
    EXPECT_THAT(codes("media-server", "capture"), IsEmpty());
    EXPECT_THAT(codes("a-long-name-of-", "capture"), IsEmpty());
    EXPECT_THAT(codes("Media_Server", "capture"),
                ElementsAre("warning: no process \"Media_Server\" is recorded; did you mean media-server [QX084]"));
    EXPECT_THAT(codes("nothing-like-it", "capture"),
                ElementsAre("warning: no process \"nothing-like-it\" is recorded [QX084]"));
    EXPECT_THAT(codes("anything", "nameless"), IsEmpty());
}

TEST(CheckTest, SuggestsNamesForTheFirstUnknownMethods) {
    const Workplace place;
    std::string methods;
    for (int i = 0; i < 30; ++i) methods += "<method name=\"setvolume" + std::to_string(10 + i) + "\"/>";
    place.Write("a.xml",
                "<Scenario><action name=\"a\">" + methods + "<event name=\"E\" tag=\"NONE\"/></action></Scenario>");
    place.Write("dump", RecordedDump());
    std::size_t suggested = 0;
    for (const std::string& line : Lines(RunIn(place.Path(), {"check", "a.xml", "--against", "dump"}).output)) {
        suggested += line.find("did you mean SetVolume [QX080]") == std::string::npos ? 0u : 1u;
    }
    EXPECT_EQ(suggested, 20u);
}

TEST(CheckTest, ComparesWithARecording) {
    const Workplace place;
    place.Write("a.xml", VolumeScript(kEveryVolume));
    place.Write("dump", RecordedDump());
    EXPECT_EQ(RunIn(place.Path(), {"check", "a.xml", "--against", "dump"}).output,
              "a.xml:3:1: note: 2 calls of SetVolume recorded\n");
    EXPECT_EQ(RunIn(place.Path(), {"check", "a.xml", "--against", "dump", "--against", "dump"}).output,
              "a.xml:3:1: note: 4 calls of SetVolume recorded\n");
    EXPECT_EQ(RunIn(place.Path(), {"check", "a.xml", "--against", "dump", "--format", "json"}).output,
              "{\"file\":\"a.xml\",\"line\":3,\"column\":1,\"method\":\"SetVolume\",\"calls\":2}\n");
}

TEST(CheckTest, KnowsWhatIsRecordedOfEachArgument) {
    const Workplace place;
    place.Write("dump", RecordedDump());
    struct Row {
        const char* method;
        const char* attributes;
        const char* finding;  // empty: none
    };
    const Row rows[] = {
        {"GetLevel", "tag=\"OUT\" value=\"0\" type=\"INT\"", ""},
        {"GetLevel", "tag=\"RET\" value=\"0\" type=\"INT\"", ""},
        {"GetLevel", "tag=\"IN\" value=\"1\" type=\"INT\"", "did you mean tag=\"OUT\" value=\"0\" [QX083]"},
        {"GetLevel", "tag=\"OUT\" value=\"1\" type=\"INT\"", "did you mean tag=\"OUT\" value=\"0\" [QX083]"},
        {"GetLevel", "tag=\"OUT\" value=\"2\" type=\"INT\"",
         "GetLevel has 2 arguments: index 2 is never there [QX081]"},
        // Of what is no index nothing is said but that.
        {"SetSource", "tag=\"IN\" value=\"x\" type=\"INT\"", "did you mean value=\"0\" [QX026]"},
        {"GetLevel", "tag=\"RET\" value=\"1\" type=\"STRING\"",
         "index 1 is never there; did you mean value=\"0\" [QX027]"},
        {"SetVolume", "tag=\"RET\" value=\"0\" type=\"INT\"",
         "no result of SetVolume is recorded, its type is \"void\" [QX083]"},
        {"SetSource", "tag=\"IN\" value=\"0\" type=\"STRING\"", ""},
        {"SetSource", "tag=\"IN\" value=\"0\" type=\"INT\"", "did you mean type=\"STRING\" [QX082]"},
        {"Move", "tag=\"IN\" value=\"0\" type=\"INT\"", ""},
        {"Move", "tag=\"OUT\" value=\"0\" type=\"STRING\"", "did you mean type=\"INT\" [QX082]"},
        {"Move", "tag=\"IN\" value=\"1\" type=\"INT\"", "index 1 is never there [QX083]"},
        {"VolumePeak", "tag=\"IN\" value=\"1\" type=\"STRING\"", ""},
        {"Idle", "tag=\"NONE\"", ""},
        {"setvolume", "tag=\"NONE\"", "no method \"setvolume\" is recorded; did you mean SetVolume [QX080]"},
    };
    for (const Row& row : rows) {
        place.Write("a.xml", std::string("<Scenario><action name=\"a\" process=\"media-server\"><method name=\"") +
                                 row.method + "\"/><event name=\"E\" " + row.attributes + "/></action></Scenario>");
        const std::vector<std::string> lines =
            Lines(RunIn(place.Path(), {"check", "a.xml", "--against", "dump"}).output);
        ASSERT_EQ(lines.size(), row.finding[0] == '\0' ? 1u : 2u) << row.method << " " << row.attributes;
        EXPECT_THAT(lines.front(), testing::AnyOf(EndsWith(" recorded"), EndsWith(row.finding))) << row.attributes;
        EXPECT_THAT(lines.back(), EndsWith(std::string(" of ") + row.method + " recorded"));
    }
}

TEST(CheckTest, ReportsADamagedRecordingAndUsesTheRest) {
    const Workplace place;
    place.Write("a.xml", VolumeScript(kEveryVolume));
    place.Write("good", RecordedDump());
    place.Write("bad", RecordedDump().substr(0, 60));
    const ToolResult result = RunIn(place.Path(), {"check", "a.xml", "--against", "good", "--against", "bad"});
    EXPECT_EQ(result.output, "a.xml:3:1: note: 2 calls of SetVolume recorded\n");
    EXPECT_THAT(result.error, StartsWith("error: bad:"));
    EXPECT_EQ(result.status, 1);
}

TEST(CheckTest, SaysWhatIsNoDump) {
    const Workplace place;
    place.Write("a.xml", VolumeScript(kEveryVolume));
    place.Write("nothing", "");
    for (const char* const file : {"a.xml", "nothing"}) {
        const ToolResult result = RunIn(place.Path(), {"check", "a.xml", "--against", file});
        EXPECT_EQ(result.status, 1) << file;
        EXPECT_EQ(result.output, "") << "nothing can be said about the methods";
        EXPECT_EQ(result.error, std::string("error: ") + file +
                                    ": no dump, not one record is in it; name a capture, or a dump out of one\n");
    }
}

TEST(CheckTest, KeepsItsStatusAfterADamagedRecording) {
    const Workplace place;
    std::string events;
    for (int i = 0; i < 20000; ++i)
        events += "<event name=\"E" + std::to_string(i) + "\" tag=\"NONE\" filter=\"x\"/>\n";
    const std::string dump = place.Write("dump", RecordedDump() + "\x01");
    Child tool(ToolSetup({"check", place.Write("a.xml", VolumeScript(events)), "--against", dump}));
    ASSERT_TRUE(tool.WaitForOutput("[QX0"));
    tool.CloseOutput();
    EXPECT_EQ(tool.Finish(), 1);
    EXPECT_THAT(tool.Error(), StartsWith("error: " + dump + ":"));
}
