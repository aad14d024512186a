#include "FleetMessage.h"

#include <gmock/gmock.h>

#include "Json.h"

namespace qxlt {
namespace {

const std::string kBoot = std::string(32, 'b');
const std::string kRun = std::string(16, 'c');

std::string EventText(const std::string& device = "tv-1", const std::string& event = "VOLUME") {
    return R"({"id":")" + device + ":" + kBoot + ":" + kRun + R"(:7","device":")" + device +
           R"(","time":"2026-11-22T10:00:00.000000005Z","cycle":3,"event":")" + event +
           R"(","value":"85","call":{"callerName":"SetVolume","duration":2000}})";
}

std::string StatusText() {
    return R"({"device":"tv-1","boot":")" + kBoot + R"(","run":")" + kRun +
           R"(","state":"running","time":null,"taken":9,"waiting":2,"dropped":3,"droppedIds":[[")" + kBoot + ":" +
           kRun + R"(",1,3]],"health":{"uptime":1}})";
}

FleetMessage Read(const std::string& topic, const std::string& payload) {
    return FleetReader("fleet/home").Read(topic, payload);
}

Refusal RefusalOf(const std::string& topic, const std::string& payload) {
    const FleetMessage message = Read(topic, payload);
    EXPECT_TRUE(std::holds_alternative<Refusal>(message)) << topic << ": " << payload.substr(0, 300);
    return std::holds_alternative<Refusal>(message) ? std::get<Refusal>(message) : Refusal::Long;
}

// The text with the first place of a part replaced.
std::string With(std::string text, const std::string& part, const std::string& other) {
    return text.replace(text.find(part), part.size(), other);
}

constexpr char kEventTopic[] = "fleet/home/tv-1/events/VOLUME";
constexpr char kStatusTopic[] = "fleet/home/tv-1/status";

TEST(FleetMessage, ReadsAnEvent) {
    const FleetMessage message = Read(kEventTopic, EventText());
    ASSERT_TRUE(std::holds_alternative<FleetEvent>(message));
    const auto& event = std::get<FleetEvent>(message);
    EXPECT_EQ(event.origin.device, "tv-1");
    EXPECT_EQ(event.origin.boot, kBoot);
    EXPECT_EQ(event.origin.run, kRun);
    EXPECT_EQ(event.number, 7u);
    EXPECT_EQ(event.id, "tv-1:" + kBoot + ":" + kRun + ":7");
    EXPECT_EQ(event.time, 1795341600000000005u);
    EXPECT_EQ(event.cycle, 3u);
    EXPECT_EQ(event.event, "VOLUME");
    EXPECT_EQ(event.value, "85");
    EXPECT_EQ(event.duration, 2000u);
    EXPECT_EQ(event.call->dump(), R"({"callerName":"SetVolume","duration":2000})");
}

TEST(FleetMessage, ReadsAnEventWhoseCallWasLeftOut) {
    const FleetMessage message =
        Read(kEventTopic, With(EventText(), R"({"callerName":"SetVolume","duration":2000})", "null"));
    ASSERT_TRUE(std::holds_alternative<FleetEvent>(message));
    EXPECT_TRUE(std::get<FleetEvent>(message).call->is_null());
    EXPECT_EQ(std::get<FleetEvent>(message).duration, std::nullopt);
}

TEST(FleetMessage, ReadsAStatus) {
    const FleetMessage message = Read(kStatusTopic, StatusText());
    ASSERT_TRUE(std::holds_alternative<FleetStatus>(message));
    const auto& status = std::get<FleetStatus>(message);
    EXPECT_EQ(status.origin.device, "tv-1");
    EXPECT_EQ(status.state, DeviceState::Running);
    EXPECT_EQ(status.time, std::nullopt);
    EXPECT_EQ(status.taken, 9u);
    EXPECT_EQ(status.waiting, 2u);
    EXPECT_EQ(status.dropped, 3u);
    ASSERT_EQ(status.drops.size(), 1u);
    EXPECT_EQ(status.drops[0].run, kRun);
    EXPECT_EQ(status.drops[0].range.last, 3u);
    EXPECT_EQ(status.health, R"({"uptime":1})");
}

TEST(FleetMessage, AStatusThatIsTakenBackIsNone) {
    EXPECT_TRUE(std::holds_alternative<std::monostate>(Read(kStatusTopic, "")));
    EXPECT_EQ(RefusalOf(kEventTopic, ""), Refusal::Json);
}

TEST(FleetMessage, ReadsNamesOfAnyBytes) {
    const std::string payload = R"({"id":"a%FF:)" + kBoot + ":" + kRun +
                                R"(:1","device":"a\ufffd","deviceHex":"61ff","time":null,"cycle":1,"event":"\u0000/+",)"
                                R"("value":"\ufffd","valueHex":"00fe","call":{}})";
    const FleetMessage message = Read("fleet/home/a%FF/events/%00%2F%2B", payload);
    ASSERT_TRUE(std::holds_alternative<FleetEvent>(message));
    const auto& event = std::get<FleetEvent>(message);
    EXPECT_EQ(event.origin.device, "a\xff");
    EXPECT_EQ(event.event, std::string("\0/+", 3));
    EXPECT_EQ(event.value, std::string("\0\xfe", 2));
}

TEST(FleetMessage, RefusesOtherTopics) {
    for (const char* const topic :
         {"", "fleet", "fleet/home", "fleet/home/", "fleet/home/tv-1", "fleet/home/tv-1/", "fleet/home/tv-1/events",
          "fleet/home/tv-1/events/", "fleet/home/tv-1/events/VOLUME/x", "fleet/home/tv-1/status/x", "other/tv-1/status",
          "fleet/home/tv%2D1/status", "fleet/home/a b/status", "fleet/home/%/x", "fleet/home//status"}) {
        EXPECT_EQ(RefusalOf(topic, EventText()), Refusal::Topic) << topic;
    }
}

TEST(FleetMessage, RefusesAnotherNameThanThatOfTheTopic) {
    EXPECT_EQ(RefusalOf("fleet/home/tv-2/events/VOLUME", EventText()), Refusal::Disagrees);
    EXPECT_EQ(RefusalOf("fleet/home/tv-1/events/MUTE", EventText()), Refusal::Disagrees);
    EXPECT_EQ(RefusalOf("fleet/home/tv-2/status", StatusText()), Refusal::Disagrees);
    EXPECT_EQ(RefusalOf(kEventTopic, With(EventText(), "tv-1:", "tv-2:")), Refusal::Disagrees);
}

TEST(FleetMessage, RefusesOddContent) {
    const std::vector<std::pair<std::string, std::string>> events = {{R"("cycle":3)", R"("cycle":-3)"},
                                                                     {R"("cycle":3)", R"("cycle":3.5)"},
                                                                     {R"("cycle":3)", R"("cycle":99999999999999)"},
                                                                     {R"("cycle":3,)", ""},
                                                                     {"2026-11-22T", "2026-11-22 "},
                                                                     {R"("2026-11-22T10:00:00.000000005Z")", "5"},
                                                                     {R"("value":"85")", R"("value":85)"},
                                                                     {R"("call":{)", R"("call":[{)"},
                                                                     {":7\"", ":0\""},
                                                                     {":7\"", ":07\""},
                                                                     {":7\"", ":35184372088833\""},
                                                                     {":7\"", ":18446744073709551623\""},
                                                                     {":7\"", "\""},
                                                                     {kBoot, std::string(32, 'B')},
                                                                     {kRun, kRun + "c"},
                                                                     {"\"tv-1\"", "7"}};
    for (const auto& [part, other] : events) {
        const std::string text = With(EventText(), part, other);
        const FleetMessage message = Read(kEventTopic, text);
        ASSERT_TRUE(std::holds_alternative<Refusal>(message)) << text;
        // One of them is no JSON any more.
        EXPECT_EQ(std::get<Refusal>(message), other == R"("call":[{)" ? Refusal::Json : Refusal::Content) << text;
    }
    const std::vector<std::pair<std::string, std::string>> statuses = {{"running", "walking"},
                                                                       {kBoot, "b"},
                                                                       {R"("taken":9)", R"("taken":"9")"},
                                                                       {R"("waiting":2,)", ""},
                                                                       {R"(",1,3])", R"(",3,1])"},
                                                                       {R"(",1,3])", R"(",0,3])"},
                                                                       {R"(",1,3])", R"(",1])"},
                                                                       {kBoot + ":", kBoot + "-"},
                                                                       {R"("health":{"uptime":1})", R"("health":1)"},
                                                                       {R"("taken":9)", R"("taken":35184372088833)"}};
    for (const auto& [part, other] : statuses) {
        EXPECT_EQ(RefusalOf(kStatusTopic, With(StatusText(), part, other)), Refusal::Content) << other;
    }
}

TEST(FleetMessage, RefusesWhatIsNoJson) {
    const std::string good = EventText();
    for (std::size_t size = 1; size < good.size(); ++size) {
        EXPECT_EQ(RefusalOf(kEventTopic, good.substr(0, size)), Refusal::Json) << size;
    }
    EXPECT_EQ(RefusalOf(kEventTopic, With(good, "85", "\xff")), Refusal::Json);
    EXPECT_EQ(RefusalOf(kEventTopic, std::string(100000, '[')), Refusal::Json);
    EXPECT_EQ(RefusalOf(kEventTopic, "[]"), Refusal::Content);
    EXPECT_EQ(RefusalOf(kEventTopic, With(good, "2000", std::string(2000, '9'))), Refusal::Json);
}

TEST(FleetMessage, BoundsTheKeysOfAnObjectAndItsDepth) {
    const auto isEvent = [](const std::string& call) {
        return std::holds_alternative<FleetEvent>(
            Read(kEventTopic, With(EventText(), R"({"callerName":"SetVolume","duration":2000})", call)));
    };
    const auto withKeys = [](int count) {
        std::string keys;
        for (int i = 0; i < count; ++i) keys += (i == 0 ? "\"" : ",\"") + std::to_string(i) + "\":{}";
        return "{" + keys + "}";
    };
    EXPECT_TRUE(isEvent(withKeys(1024)));
    EXPECT_FALSE(isEvent(withKeys(1025)));
    EXPECT_TRUE(isEvent("{\"a\":[" + withKeys(1024) + "," + withKeys(1024) + "]}"));
    const auto nested = [](std::size_t depth) {
        return "{\"a\":" + std::string(depth, '[') + std::string(depth, ']') + "}";
    };
    EXPECT_TRUE(isEvent(nested(62)));
    EXPECT_FALSE(isEvent(nested(70)));
}

TEST(FleetMessage, BoundsItsLength) {
    const std::string good = EventText();
    EXPECT_TRUE(std::holds_alternative<FleetEvent>(FleetReader("fleet/home", good.size()).Read(kEventTopic, good)));
    EXPECT_EQ(std::get<Refusal>(FleetReader("fleet/home", good.size() - 1).Read(kEventTopic, good)), Refusal::Long);
}

TEST(FleetMessage, BoundsNames) {
    const auto isEvent = [](const std::string& device, const std::string& event) {
        return std::holds_alternative<FleetEvent>(
            Read("fleet/home/" + device + "/events/" + event.substr(0, 384), EventText(device, event)));
    };
    EXPECT_TRUE(isEvent(std::string(255, 'd'), std::string(512, 'e')));
    EXPECT_FALSE(isEvent(std::string(256, 'd'), "e"));
    EXPECT_FALSE(isEvent("d", std::string(513, 'e')));
}

TEST(FleetMessage, TakesSoManyDroppedRanges) {
    const std::string row = "[\"" + kBoot + ":" + kRun + "\",1,3],";
    std::string rows;
    for (int i = 0; i < 1100; ++i) rows += row;
    const FleetMessage message = Read(kStatusTopic, With(StatusText(), "[[", "[" + rows + "["));
    ASSERT_TRUE(std::holds_alternative<FleetStatus>(message));
    EXPECT_EQ(std::get<FleetStatus>(message).drops.size(), 1024u);
}

}  // namespace
}  // namespace qxlt
