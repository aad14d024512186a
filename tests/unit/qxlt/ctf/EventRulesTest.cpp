// Which events are calls.
#include "EventRules.h"

#include <gmock/gmock.h>

#include <set>

#include "Failure.h"
#include "Workplace.h"

namespace {

using qxlt::EventMeaning;
using qxlt::EventRules;
using testing::ElementsAre;
using testing::HasSubstr;

std::string TextOf(const EventMeaning& meaning) {
    static const char* const kinds[] = {"entry", "exit", "single"};
    return std::string(kinds[static_cast<int>(meaning.kind)]) + " " + meaning.package + " " + meaning.method;
}

std::string Meaning(const EventRules& rules, const std::string& event, const std::set<std::string>& others) {
    return TextOf(rules.MeaningOf(event, [&](const std::string& name) { return others.count(name) != 0; }));
}

TEST(EventRules, KnowTheUsualNames) {
    const struct {
        const char* event;
        const char* other;
        const char* meaning;
    } rows[] = {{"audio:SetVolume_entry", "audio:SetVolume_exit", "entry audio SetVolume"},
                {"audio:SetVolume_exit", "audio:SetVolume_entry", "exit audio SetVolume"},
                {"audio:SetVolume_enter", "audio:SetVolume_exit", "entry audio SetVolume"},
                {"audio:SetVolume_exit", "audio:SetVolume_enter", "exit audio SetVolume"},
                {"audio:SetVolume_leave", "audio:SetVolume_enter", "exit audio SetVolume"},
                {"audio:SetVolume_begin", "audio:SetVolume_end", "entry audio SetVolume"},
                {"audio:SetVolume_end", "audio:SetVolume_begin", "exit audio SetVolume"},
                {"audio:entry", "audio:exit", "entry audio audio"},
                {"audio:exit", "audio:entry", "exit audio audio"},
                {"no_provider_entry", "no_provider_exit", "entry  no_provider"},
                {"lttng_ust_cyg_profile:func_entry", "lttng_ust_cyg_profile:func_exit",
                 "entry lttng_ust_cyg_profile func_entry"},
                {"lttng_ust_cyg_profile_fast:func_exit", "lttng_ust_cyg_profile_fast:func_entry",
                 "exit lttng_ust_cyg_profile_fast _fast"},
                {"audio:note", "audio:other", "single audio note"}};
    for (const auto& row : rows) {
        EXPECT_EQ(Meaning(EventRules(), row.event, {row.event, row.other}), row.meaning) << row.event;
    }
}

TEST(EventRules, AnEventWithoutItsPartnerStandsAlone) {
    EXPECT_EQ(Meaning(EventRules(), "audio:SetVolume_entry", {}), "single audio SetVolume_entry");
    EXPECT_EQ(Meaning(EventRules(), "audio:the_end", {}), "single audio the_end");
}

class MapFile : public testing::Test {
protected:
    EventRules Read(const std::string& text) {
        EventRules rules;
        rules.Read(place.Write("map.json", text));
        return rules;
    }
    std::string ErrorOf(const std::string& text) {
        try {
            Read(text);
        } catch (const qxlt::Failure& failure) {
            EXPECT_EQ(failure.Status(), qxlt::kCannotStart);
            return std::string(failure.what()).substr(place.Path().size() + 1);
        }
        return "none";
    }
    const Workplace place;
};

TEST_F(MapFile, PairsEvents) {
    const EventRules rules = Read(R"({"calls":[{"entry":"a:start","exit":"b:stop","method":"Run","package":"p",
        "in":["x","y"],"out":["z"],"ret":"r"}]})");
    const std::set<std::string> names = {"a:start", "b:stop"};
    EXPECT_EQ(Meaning(rules, "a:start", names), "entry p Run");
    EXPECT_EQ(Meaning(rules, "b:stop", names), "exit p Run");
    const EventMeaning meaning = rules.MeaningOf("a:start", [](const std::string&) { return true; });
    EXPECT_THAT(*meaning.rule->in, ElementsAre("x", "y"));
    EXPECT_THAT(*meaning.rule->out, ElementsAre("z"));
    EXPECT_EQ(*meaning.rule->ret, "r");
}

TEST_F(MapFile, PairsEventsByAPattern) {
    const EventRules rules = Read(R"({"calls":[{"entry":"audio:in_*_v2","exit":"audio:out_*_v2"}]})");
    EXPECT_EQ(Meaning(rules, "audio:in_Set_v2", {"audio:out_Set_v2"}), "entry audio Set");
    EXPECT_EQ(Meaning(rules, "audio:out_Set_v2", {"audio:in_Set_v2"}), "exit audio Set");
    EXPECT_EQ(Meaning(rules, "audio:in_v2", {}), "single audio in_v2");
    EXPECT_EQ(Meaning(rules, "audio:in__v2", {"audio:out__v2"}), "entry audio in__v2");
}

TEST_F(MapFile, SpeaksAheadOfTheUsualNames) {
    const EventRules rules = Read(R"({"calls":[{"entry":"a:f_entry","method":"Alone","package":""}]})");
    EXPECT_EQ(Meaning(rules, "a:f_entry", {"a:f_exit"}), "single  Alone");
    EXPECT_EQ(Meaning(rules, "a:g_entry", {"a:g_exit"}), "entry a g");
}

TEST_F(MapFile, NamesTheFieldsOfTheMaker) {
    const EventRules rules = Read(R"({"thread_id":"worker","process":"unit"})");
    EXPECT_THAT(rules.Makers().threadId, ElementsAre("worker"));
    EXPECT_THAT(rules.Makers().process, ElementsAre("unit"));
    EXPECT_THAT(rules.Makers().processId, ElementsAre("vpid", "pid"));
}

TEST_F(MapFile, TellsWhatIsWrong) {
    const struct {
        const char* text;
        const char* error;
    } rows[] = {
        {"[]", "map.json: the file is no object with \"calls\" or an \"entry\""},
        {"{\"call\":[]}", "map.json: the file has no \"call\"; there are calls, process"},
        {"{\"calls\":{}}", "map.json: \"calls\" is no list"},
        {"{\"calls\":[3]}", "map.json: call 1 is no object"},
        {"{\"calls\":[{\"entry\":\"a\"},{\"exit\":\"a\"}]}",
         "map.json: call 2 has no \"entry\", the name of the event that begins it"},
        {"{\"calls\":[{\"entry\":\"a\",\"exit\":\"a\"}]}", "map.json: call 1: \"entry\" and \"exit\" are one event"},
        {"{\"calls\":[{\"entry\":7}]}", "map.json: call 1: \"entry\" is no text"},
        {"{\"calls\":[{\"entry\":\"a\",\"in\":\"x\"}]}", "map.json: call 1: \"in\" is no list of names of fields"},
        {"{\"calls\":[{\"entry\":\"a\",\"out\":[1]}]}", "map.json: call 1: \"out\" is no list of names of fields"},
        {"{\"calls\":[{\"entry\":\"a\",\"args\":[]}]}", "map.json: call 1 has no \"args\"; there are entry, exit"},
        {"{\"thread_id\":[]}", "map.json: the file: \"thread_id\" is no text"},
        {"{", "map.json"}};
    for (const auto& row : rows) EXPECT_THAT(ErrorOf(row.text), HasSubstr(row.error)) << row.text;
}

}  // namespace
