// What `qxlt check` says of the text of scenarios: where it stops being well-formed, the places, the comments.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "CheckRuns.h"
#include "Child.h"
#include "Workplace.h"

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

// One finding, at the character that must not stand there, with the whole attribute as it must.
TEST(CheckTest, TellsARawCharacterInAnAttribute) {
    struct Row {
        const char* event;  // from column 1 of line 4 on
        const char* finding;
    };
    const Row rows[] = {
        {"<event name=\"E\" condition=\"<\" conditionValue=\"1\"/>", "4:28 QX007 condition=\"&lt;\""},
        {"<event name=\"E\" conditionValue=\"a&b\"/>", "4:34 QX007 conditionValue=\"a&amp;b\""},
        {"<event name=\"E\" conditionValue=\"a&amp;b&c&#38;&#x26;d<\"/>",
         "4:40 QX007 conditionValue=\"a&amp;b&amp;c&#38;&#x26;d&lt;\""},
        {"<event name=\"E\" conditionValue='\"a\" & b'/>", "4:37 QX007 conditionValue='\"a\" &amp; b'"},
        {"<event name=\"E\" conditionValue=\"a&b;c\"/>", "4:34 QX007 conditionValue=\"a&amp;b;c\""},
        {"<event name=\"E\" datakey=\"a&&b\"/>", "4:27 QX007 datakey=\"a&amp;&amp;b\""},
        {"<event name=\"E\" datakey=\"a&\"/>", "4:27 QX007 datakey=\"a&amp;\""},
        {"<event name=\"\xC3\xA4\" datakey=\"\xC3\xA4&\"/>", "4:27 QX007 datakey=\"\xC3\xA4&amp;\""},
        {"<!-- < & --> <event name=\"E\" datakey = \"a&\"/>", "4:42 QX007 datakey=\"a&amp;\""},
        {"<?a <&?><![CDATA[<&]]><event datakey=\"a&\"/>", "4:40 QX007 datakey=\"a&amp;\""},
        // A quote that is missing, and what stands in no value, are other mistakes.
        {"<event name=\"E/><event name=\"F\"/>", "4:17 QX001 "},
        {"<event name=\"E\" datakey=\"a/>\n<event name=\"F\"/>", "5:1 QX001 "},
        {"<event name=\"E\" & b=\"c\"/>", "4:17 QX001 "},
        {"<event name=\"E\" <b=\"c\"/>", "4:17 QX001 "},
        {"<event name=\"E\" a=\"&#0;\"/>", "4:20 QX001 "},
        {"<event name=\"E\"/>a & b", "4:21 QX001 "},
        {"&unknown;", "4:1 QX001 "},
        {"<event name=\"E\" datakey=\"a&", "4:28 QX001 "},
    };
    for (const Row& row : rows) {
        const Workplace place;
        place.Write("a.xml", VolumeScript(row.event));
        const ToolResult result = RunIn(place.Path(), {"check", "a.xml", "--format", "json"});
        EXPECT_EQ(result.status, 1);
        ASSERT_FALSE(Lines(result.output).empty()) << row.event;
        const nlohmann::json finding = nlohmann::json::parse(Lines(result.output).back());
        EXPECT_EQ(finding.at("line").dump() + ":" + finding.at("column").dump() + " " +
                      finding.at("id").get<std::string>() + " " + finding.at("instead").get<std::string>(),
                  row.finding)
            << row.event;
    }
}

// The other commands refuse such a script with the same words.
TEST(CheckTest, ARawCharacterIsToldWhereAScriptIsRun) {
    const Workplace place;
    place.Write("a.xml", Event("tag=\"IN\" value=\"0\" type=\"INT\" condition=\"<\""));
    const ToolResult result =
        RunIn(place.Path(), {"replay", "-s", "a.xml", "-p", "m", place.Write("dump", VolumeDump({1}))});
    EXPECT_THAT(result.error, HasSubstr("a.xml:4:58: not well-formed, an attribute holds a raw <; "
                                        "write condition=\"&lt;\", qxlt check a.xml finds more"));
}

// What a document type declares may stand in an attribute; which entities there are is not told apart.
TEST(CheckTest, LooksForNoRawCharacterBesideDeclaredEntities) {
    EXPECT_THAT(Codes("<!DOCTYPE Scenario [<!ENTITY e 'x'>]>\n<Scenario><a b=\"&e;<\"/></Scenario>"),
                ElementsAre("QX001"));
}

// Of what a text says before it breaks off only what stays true is told.
TEST(CheckTest, SaysNothingOfWhatMayComeAfterADefect) {
    EXPECT_THAT(Codes("<Scenario><action name=\"a\"><event name=\"E\" datakey=\"&\"/>"), ElementsAre("QX007"));
    EXPECT_THAT(Codes("<Scenario><action name=\"a\"/><action name=\"b\"><event a=\"&\"/>"),
                ElementsAre("QX010", "QX011", "QX007"));
}

TEST(CheckTest, FindsPlacesInAnyLayout) {
    EXPECT_THAT(FindingsIn("<Scenario>\r\n<action name=\"a\" process=\"p\"><method name=\"M\"/>\r\n"
                           "<event\r\n\tname = 'E'\r\n\ttag=\n\"ARG\"\r\n\twatch\t=\"ALWAYS\"/></action></Scenario>"),
                ElementsAre("6:2 QX021"));
    EXPECT_THAT(FindingsIn("<Scenario><action process=\"p\" name=\"\xC3\xA4\xE2\x82\xAC\"><method name=\"M\"/>"
                           "<event name=\"\xF0\x9F\x94\x8A\" tag=\"ARG\"/></action></Scenario>"),
                ElementsAre("1:80 QX021"));
    EXPECT_THAT(
        FindingsIn(
            "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n"
            "<Scenario><action process=\"p\" name=\"\xE4\xF6\"><method name=\"M\"/><event name=\"\xFC\" tag=\"ARG\"/>"
            "</action></Scenario>"),
        ElementsAre("2:80 QX021"));
}

// What comes out of an entity or a document type stands nowhere itself.
TEST(CheckTest, FindsThePlaceThatAnEntityIsUsedIn) {
    EXPECT_THAT(FindingsIn("<!DOCTYPE Scenario [<!ENTITY e '<event name=\"E\" tag=\"ARG\"/>'>\n"
                           "<!ATTLIST event watch CDATA \"OFTEN\">]>\n"
                           "<Scenario><action name=\"a\" process=\"p\"><method name=\"M\"/>\n"
                           "&e;</action></Scenario>"),
                ElementsAre("4:1 QX021", "4:1 QX023"));
}

TEST(CheckTest, ReadsOtherEncodings) {
    std::string wide = "\xFF\xFE";
    for (const char byte : Event("tag=\"ARG\"")) wide += std::string(1, byte) + '\0';
    EXPECT_THAT(FindingsIn(wide), ElementsAre("4:1 QX021"));
}

TEST(CheckTest, TellsWhereATextIsNotWellFormed) {
    EXPECT_THAT(FindingsIn(""), ElementsAre("1:1 QX001"));
    // One attribute that a document type gives to each of so many elements that all of them together are refused.
    std::string elements;
    for (int i = 0; i < 2000; ++i) elements += "<x/>";
    const std::string typed = "<!DOCTYPE Scenario [<!ATTLIST x d CDATA '" + std::string(10000, 'v') + "'>]>\n";
    EXPECT_EQ(FindingsIn(typed + "<Scenario>" + elements + "</Scenario>").back().substr(0, 2), "2:");
    EXPECT_EQ(Codes(typed + "<Scenario>" + elements + "</Scenario>").back(), "QX001");
    EXPECT_THAT(FindingsIn("<Scenario>\n  <a & b/>\n</Scenario>"), ElementsAre("2:6 QX001"));
    EXPECT_THAT(FindingsIn("<Scenario>\n<action name=\"a\"><method name=\"M\"/><event name=\"E\" tag=\"X\"/>\n</Scen"),
                ElementsAre("2:57 QX021", "3:1 QX001"));
}

TEST(CheckTest, CommentsSilenceTheElementOnTheNextLine) {
    const auto script = [](const std::string& comment) {
        return VolumeScript(comment +
                            "\n<event name=\"E\"\n tag=\"ARG\"\n type=\"REAL\"/>\n<event name=\"F\" tag=\"ARG\"/>");
    };
    EXPECT_THAT(FindingsIn(script("")), ElementsAre("6:7 QX021", "7:8 QX022", "8:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!-- qxlt:ignore QX021 -->")), ElementsAre("7:8 QX022", "8:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!--qxlt:ignore qx021 QX022-->")), ElementsAre("8:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!-- qxlt:ignore\n\n QX021 -->")), ElementsAre("9:8 QX022", "10:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!-- qxlt:ignore QX021 -->\n")),
                ElementsAre("7:7 QX021", "8:8 QX022", "9:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!-- ignore QX021 -->")), ElementsAre("6:7 QX021", "7:8 QX022", "8:22 QX021"));
    EXPECT_THAT(FindingsIn(script("<!-- qxlt:ignore -->")),
                ElementsAre("4:1 QX070", "6:7 QX021", "7:8 QX022", "8:22 QX021"));
}

// An entity's comment ends further down than where it is used.
TEST(CheckTest, CommentsOutOfEntitiesMixWithOthers) {
    EXPECT_THAT(FindingsIn("<!DOCTYPE Scenario [<!ENTITY c '<!-- qxlt:ignore\n\n\nQX021 -->'>]>\n"
                           "<Scenario><action name=\"a\"><method name=\"M\"/>&c;\n"
                           "<!-- qxlt:ignore QX021 -->\n"
                           "<event name=\"E\" tag=\"ARG\"/>\n"
                           "<event name=\"F\" tag=\"ARG\"/></action></Scenario>"),
                testing::Not(testing::Contains("7:18 QX021")));
}

// What the first script's top element says goes for all: `run` hangs their actions below it.
TEST(CheckTest, TheFirstTopElementDecides) {
    const Workplace place;
    const std::string mistake =
        "<action name=\"a\" process=\"p\"><method name=\"M\"/><event name=\"E\" tag=\"ARG\"/></action>";
    place.Write("good.xml", VolumeScript(kEveryVolume));
    for (const char* const top : {"session", "Scenario", "other"}) {
        place.Write("b.xml", std::string("<") + top + ">\n" + mistake + "</" + top + ">");
        EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "good.xml", "b.xml"}).output),
                    ElementsAre(AllOf(StartsWith("b.xml:2:"), EndsWith("[QX021]"))))
            << top;
    }
    place.Write("b.xml", "<Scenario>" + mistake + "</Scenario>");
    place.Write("session.xml", "<session/>");
    EXPECT_EQ(RunIn(place.Path(), {"check", "session.xml", "b.xml"}).output, "");
    place.Write("other.xml", "<other/>");
    EXPECT_THAT(Lines(RunIn(place.Path(), {"check", "other.xml", "b.xml"}).output),
                ElementsAre(EndsWith("[QX002]"), AllOf(StartsWith("b.xml:1:"), EndsWith("[QX021]"))));
}
