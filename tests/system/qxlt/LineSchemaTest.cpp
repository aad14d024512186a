// docs/lines.schema.json refuses what is no line of the tool. That it takes the lines is seen wherever tests run it.
#include "LineSchema.h"

#include <gmock/gmock.h>

#include <fstream>

namespace {

const char* const kCall =
    R"("process":"m","pid":1,"tid":3,"locId":3,"callerName":"f","packageName":"p","srcCodeFileRaw":"f.cpp","time":1,)"
    R"("exitTime":0,"in":[[{"name":"","hex":"01","int":1}]],"out":[],"ret":[[]])";

TEST(LineSchema, RefusesWhatIsNoLine) {
    const std::string call = kCall;
    const auto event = [](const std::string& keys) {
        return R"({"cycle":1,"event":"E","value":"v","call":{)" + keys + "}}";
    };
    EXPECT_EQ(SchemaFault(event(call)), "");
    EXPECT_EQ(SchemaFault(event(call + R"(,"wall":"2026-03-01T12:30:00.000000001Z","duration":0)")), "");
    EXPECT_EQ(SchemaFault(event(call + R"(,"thread":"w?","threadHex":"77ff")")), "");
    const std::string faulty[] = {event(call + R"(,"wall":"12:30")"),
                                  event(call + R"(,"duration":-1)"),
                                  event(call + R"(,"threads":"main")"),
                                  event(call + R"(,"threadHex":"7")"),
                                  event(call.substr(0, call.rfind(",\"ret\""))),
                                  event("\"key\":\"1\"," + call),
                                  R"({"cycle":1,"event":"E","value":"v"})",
                                  R"({"record":"call",)" + call + R"(,"record2":1})",
                                  R"({"cycle":1,"lifecycle":{"process":"m","process_id":1,"state":"gone"}})",
                                  R"({"gap":{"device":"d","boot":"b","run":"c","state":"missing","first":1,"last":1}})",
                                  R"({"fleet":{"devices":1}})",
                                  R"({"cycle":1,"held":{"event":"E","count":0}})",
                                  R"({"cycle":1,"rules":"1f2e","scripts":1,"events":1,"forgotten":[]})",
                                  R"({"cycle":1,"rules":"1f2e3d4c5b6a7988","scripts":1,"events":1})",
                                  R"({"record":"hex"})",
                                  R"({"interval":1,"seconds":1.5,"statistics":{"method":"f"}})",
                                  R"({"statistics":{"method":"f"}})",
                                  R"({"state":"running","time":"x","started":"x","pid":1,"cycles":1})",
                                  "{}",
                                  "[]",
                                  "7",
                                  "no JSON"};
    for (const std::string& line : faulty) EXPECT_NE(SchemaFault(line), "") << line;
    std::string pair = event(call);
    pair.replace(pair.find("\"int\":1"), 7, "\"int\":1.5");
    EXPECT_NE(SchemaFault(pair), "");
}

// Every kind of line that is documented is one that the page about them shows.
TEST(LineSchema, TakesTheLinesOfThePage) {
    std::ifstream page(QXLT_SOURCE_DIR "/docs/json.md");
    std::size_t lines = 0;
    bool inside = false;
    for (std::string line; std::getline(page, line);) {
        if (line.rfind("```", 0) == 0) {
            inside = line == "```json";
        } else if (inside) {
            ++lines;
            EXPECT_EQ(SchemaFault(line), "");
        }
    }
    EXPECT_EQ(lines, 31U);
}

TEST(LineSchema, TakesTheLinesThatAreKept) {
    std::size_t lines = 0;
    for (const char* const file : {"tests/recorded/amd64/decoded.jsonl", "tests/recorded/armhf/decoded.jsonl",
                                   "tests/unit/qxlt/decode/JsonLines.jsonl"}) {
        std::ifstream kept(std::string(QXLT_SOURCE_DIR "/") + file);
        for (std::string line; std::getline(kept, line); ++lines) EXPECT_EQ(SchemaFault(line), "") << file;
    }
    EXPECT_GT(lines, 100U);
}

}  // namespace
