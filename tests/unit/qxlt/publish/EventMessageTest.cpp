#include "EventMessage.h"

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>

#include "MessageId.h"

namespace qxlt {
namespace {

using Json = nlohmann::json;

const Sending kSending = {"box 7", std::string(32, 'b'), std::string(16, '1')};

class EventMessageTest : public testing::Test {
protected:
    EventView View(std::optional<std::int64_t> clock = 0) const {
        CallView call{m_call, m_location, m_process, 105000};
        call.clock = clock;
        return {3, m_event, m_value, call};
    }

    IQxData::HSCall m_call{};
    IQxData::_HSCallLocation m_location{};
    std::string m_process = "media-server";
    std::string m_event = "VOLUME";
    std::string m_value = "85";
};

TEST_F(EventMessageTest, HasWhatALineOfTheEventHasAndWhoSentIt) {
    const Json message = Json::parse(EventMessage(kSending, 17, View(1)));
    EXPECT_EQ(message["id"], "box%207:" + kSending.boot + ":" + kSending.run + ":17");
    EXPECT_EQ(message["device"], "box 7");
    EXPECT_EQ(message["time"], "1970-01-01T00:00:00.000000001Z");
    const Json line = Json::parse(EventJson(View(1)));
    for (const char* const key : {"cycle", "event", "value", "call"}) EXPECT_EQ(message[key], line[key]) << key;
}

TEST_F(EventMessageTest, HasNoTimeWhereTheClockIsNotKnown) {
    EXPECT_TRUE(Json::parse(EventMessage(kSending, 1, View(std::nullopt)))["time"].is_null());
}

TEST_F(EventMessageTest, IsBoundedByLeavingTheCallOut) {
    m_value = std::string(kMostMessage, 'v');
    const std::string text = EventMessage(kSending, 1, View());
    EXPECT_LE(text.size(), kMostMessage);
    const Json message = Json::parse(text);
    EXPECT_TRUE(message["call"].is_null());
    EXPECT_EQ(message["value"], std::string(16 * 1024, 'v'));
    m_value = std::string(kMostMessage / 2, 'v');
    EXPECT_FALSE(Json::parse(EventMessage(kSending, 1, View()))["call"].is_null());
}

TEST(StatusMessage, TellsOfTheOutbox) {
    const OutboxCounts counts = {7, 2, 5, {{kSending.boot + ":" + kSending.run, 1, 4}, {"other", 9, 9}}};
    EXPECT_EQ(StatusMessage(kSending, DeviceState::Running, 1, counts, R"({"a":1})"),
              R"({"device":"box 7","boot":")" + kSending.boot + R"(","run":")" + kSending.run +
                  R"(","state":"running","time":"1970-01-01T00:00:00.000000001Z","taken":7,"waiting":2,"dropped":5,)" +
                  R"("droppedIds":[[")" + kSending.boot + ":" + kSending.run +
                  R"(",1,4],["other",9,9]],"health":{"a":1}})");
    const Json gone = Json::parse(StatusMessage(kSending, DeviceState::Gone, 1, {}, ""));
    EXPECT_EQ(gone["state"], "gone");
    EXPECT_TRUE(gone["droppedIds"].empty());
    EXPECT_FALSE(gone.contains("health"));
    EXPECT_EQ(Json::parse(StatusMessage(kSending, DeviceState::Ended, 1, {}, ""))["state"], "ended");
}

}  // namespace
}  // namespace qxlt
