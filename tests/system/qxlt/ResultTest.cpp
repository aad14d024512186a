// A call that ended without a result, as the tool shows it: beside calls that returned 0.
#include <gmock/gmock.h>
#include <signal.h>
#include <unistd.h>

#include "Child.h"
#include "DumpWriter.h"
#ifdef QX_TRACED
#include "TracedProgram.h"
#endif
#include "Workplace.h"

namespace {

using namespace dump;

using testing::AnyOf;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;

// Three methods that return a number, a text and a struct, each of them once with and once without result; one that
// returns an empty list, and one without result.
Bytes ResultDump() {
    const auto result = [](const Bytes& type) { return Descriptor("result<" + type + ">", true); };
    const auto site = [](std::uint32_t number, const Bytes& name, const Bytes& type) {
        return Item(kLocation, Location(number).Name(name).Returns(type, kCompositeSize));
    };
    const Bytes descriptions =
        Persistent({Item(kDescriptor, result("int").Member("", 4)),
                    Item(kDescriptor, result("string").Member("", kVariableSize, "string")),
                    Item(kDescriptor, result("Point").Member("x", 4).Member("y", 4)),
                    Item(kDescriptor, Descriptor("vector<int>", true).Member("", 4)), site(1, "GetInt", "result<int>"),
                    site(2, "GetText", "result<string>"), site(3, "GetPoint", "result<Point>"),
                    site(4, "GetList", "vector<int>"), Item(kLocation, Location(5).Name("Do"))});
    const auto call = [](std::uint32_t location, const Bytes& exit = Bytes()) {
        return StreamItem(kBefore, Before(1, location)) + StreamItem(kAfter, After(1, exit));
    };
    return descriptions +
           Thread(3, {call(1, Container(1, Int(0, 4))), call(1, Container(0, "")), call(2, Container(1, Variable(""))),
                      call(2, Container(0, "")), call(3, Container(1, Int(1, 4) + Int(2, 4))),
                      call(3, Container(0, "")), call(4, Container(0, "")), call(5)});
}

constexpr char kOnResult[] =
    "<Scenario><action name=\"a\"><method name=\"GetInt\"/><method name=\"GetText\"/><method name=\"GetPoint\"/>"
    "<event name=\"RESULT\" tag=\"RET\" value=\"0\" type=\"INT\" watch=\"ALWAYS\"/></action></Scenario>";

// What stands behind the method in the lines that hold `kind`.
std::vector<std::string> Calls(const std::string& kind, const std::string& text) {
    std::vector<std::string> rests;
    for (const std::string& line : Lines(text)) {
        if (line.find(kind) != std::string::npos) rests.push_back(line.substr(line.find("audio.")));
    }
    return rests;
}

TEST(Result, DecodeShowsThatThereIsNone) {
    const Workplace place;
    const std::string dump = place.Write("a.qxdump", ResultDump());
    const ToolResult text = RunTool({"decode", "-p", "m=1", dump});
    EXPECT_EQ(text.status, 0) << text.error;
    EXPECT_THAT(Calls("call  ", text.output), ElementsAre("audio.GetInt() = 0 at 1, took 1.0 us, tid 3",
                                                          "audio.GetInt() = no result at 1002, took 1.0 us, tid 3",
                                                          "audio.GetText() = \"\" at 2003, took 1.0 us, tid 3",
                                                          "audio.GetText() = no result at 3004, took 1.0 us, tid 3",
                                                          "audio.GetPoint() = {x:1 y:2} at 4005, took 1.0 us, tid 3",
                                                          "audio.GetPoint() = no result at 5006, took 1.0 us, tid 3",
                                                          "audio.GetList() = {} at 6007, took 1.0 us, tid 3",
                                                          "audio.Do() at 7008, took 1.0 us, tid 3"));
    std::vector<std::string> results;
    for (const std::string& line : Lines(RunTool({"decode", "--format", "json", dump}).output)) {
        if (line.find("\"record\":\"call\"") == std::string::npos) continue;
        const std::size_t begin = line.find("\"ret\":");
        results.push_back(line.substr(begin, line.find(",\"duration\":1000}") - begin));
    }
    EXPECT_THAT(results,
                ElementsAre(R"("ret":[[{"name":"","hex":"00000000","int":0}]])", R"("ret":[[]])",
                            R"("ret":[[{"name":"","hex":"","text":""}]])", R"("ret":[[]])",
                            R"("ret":[[{"name":"x","hex":"01000000","int":1},{"name":"y","hex":"02000000","int":2}]])",
                            R"("ret":[[]])", R"("ret":[[]])", R"("ret":[])"));
}

// One of the two calls of each method.
TEST(Result, AnEventOnItFiresForThoseThatHaveOne) {
    const Workplace place;
    const std::string script = place.Write("a.xml", kOnResult);
    const std::string dump = place.Write("a.qxdump", ResultDump());
    const ToolResult result = RunTool({"replay", "-s", script, "-p", "m=1", "--level", "major", dump});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(Lines(result.output), ElementsAre(EndsWith("audio.GetInt() = 0"), EndsWith("audio.GetText() = \"\""),
                                                  EndsWith("audio.GetPoint() = {x:1 y:2}")));
    EXPECT_EQ(result.error.find("PushEvent"), std::string::npos) << result.error;
}

// Who looks for what a method returns gets to know the type that the program has.
TEST(Result, ItsTypeIsThatOfTheProgram) {
    const Workplace place;
    const std::string dump = place.Write("a.qxdump", ResultDump());
    EXPECT_EQ(RunTool({"list", dump}).output, R"(process [0]
      1 call   audio.Do  volume.cpp
      2 calls  audio.GetInt  volume.cpp
         RET 0  INT    int  0
      1 call   audio.GetList  volume.cpp
         RET 0  INT    vector<int>
      2 calls  audio.GetPoint  volume.cpp
         RET 0  INT    Point  {x:1 y:2}
      2 calls  audio.GetText  volume.cpp
         RET 0  STRING string  ""
)");
    const std::string json = RunTool({"list", "--format", "json", dump}).output;
    EXPECT_THAT(json, HasSubstr(R"("retType":"int","retSize":4,"callerName":"GetInt")"));
    EXPECT_THAT(json, HasSubstr(R"("retType":"string","retSize":16383,"callerName":"GetText")"));
    EXPECT_THAT(json, HasSubstr(R"("retType":"Point","retSize":16382,"callerName":"GetPoint")"));
    EXPECT_THAT(json, HasSubstr(R"("retType":"vector<int>","retSize":16382,"callerName":"GetList")"));
    const std::string starter = RunTool({"list", "--as-script", dump}).output;
    EXPECT_THAT(starter, HasSubstr("<!-- int, for example 0 -->"));
    EXPECT_THAT(starter, HasSubstr("<!-- string, for example \"\" -->"));
    const std::string script = place.Write("a.xml", kOnResult);
    EXPECT_THAT(RunTool({"check", script, "--against", dump}).output,
                HasSubstr("INT does not fit \"string\", which is recorded as the result of GetText"));
}

// A type that only looks like it is the program's own.
TEST(Result, OfAPlainTypeIsLeftAlone) {
    const Workplace place;
    const std::string dump = place.Write(
        "a.qxdump", Persistent({Item(kLocation, Location(1).Name("Get").Returns("result<int>", 4))}) +
                        Thread(3, StreamItem(kBefore, Before(1, 1)) + StreamItem(kAfter, After(1, Int(7, 4)))));
    EXPECT_THAT(RunTool({"list", dump}).output, HasSubstr("RET 0  INT    result<int>  7"));
}

#ifdef QX_TRACED
// Of the calls of Try every second one throws; the others return 0.
TEST(Result, OfALiveProgramIsMissingWhereItThrew) {
    const Workplace place;
    const std::string name = "qx" + std::to_string(getpid()) + "t";
    setenv("QX_RUNTIME_DIR", place.At("recordings").c_str(), 1);
    const TracedProgram program(name, 1, 0, 5000);
    const std::string events =
        "<event name=\"TRIED\" tag=\"IN\" value=\"1\" type=\"INT\" watch=\"ALWAYS\"/>"
        "<event name=\"RETURNED\" tag=\"RET\" value=\"0\" type=\"INT\" watch=\"ALWAYS\"/>";
    const std::string script = place.Write("t.xml", "<Scenario><action name=\"a\" process=\"" + name +
                                                        "\"><method name=\"Try\"/>" + events + "</action></Scenario>");
    const std::string capture = place.At("capture");
    Child tool(ToolSetup({"run", "-s", script, "--pause", "fast", "--columns", "cycle,event,call", "--keep", capture}));
    EXPECT_TRUE(tool.WaitForOutput("\n    4  "));
    tool.Signal(SIGINT);
    EXPECT_EQ(tool.Finish(), 0);
    const std::vector<std::string> lines = Lines(tool.Output());
    std::size_t returned = 0;
    for (const std::string& line : lines) {
        const bool isReturn = line.find(" RETURNED ") != std::string::npos;
        returned += isReturn ? 1u : 0u;
        EXPECT_THAT(line, isReturn ? testing::Matcher<std::string>(HasSubstr(" = 0"))
                                   : AnyOf(HasSubstr(" = 0"), HasSubstr(" = no result")));
    }
    EXPECT_GT(returned, 0u);
    EXPECT_THAT(tool.Output(), HasSubstr(" = no result"));
    EXPECT_EQ(RunTool({"replay", "-s", script, "--columns", "cycle,event,call", capture}).output, tool.Output());
    EXPECT_THAT(RunTool({"list", capture}).output, HasSubstr("RET 0  INT    unsigned int  0"));
    unsetenv("QX_RUNTIME_DIR");
}
#endif

}  // namespace
