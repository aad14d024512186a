#include "ConnectionNews.h"

#include <gmock/gmock.h>

#include <algorithm>

namespace qxlt {
namespace {

using std::chrono::seconds;

TEST(ConnectionNews, TellsEachChangeOnce) {
    ConnectionNews news("mqtt://b:1883/p", "o.outbox");
    const ConnectionNews::Clock::time_point start = ConnectionNews::Clock::now();
    testing::internal::CaptureStderr();
    news.Failed("refused", start);
    news.Failed("refused", start + seconds(1));
    news.Connected(start + seconds(2));
    news.Connected(start + seconds(3));
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "warning: not published to mqtt://b:1883/p: refused; events wait in o.outbox, and it is tried again\n"
              "publishing to mqtt://b:1883/p\n");
}

TEST(ConnectionNews, TellsOneChangeAMinuteWhenThereAreMany) {
    ConnectionNews news("mqtt://b:1883/p", "o.outbox");
    const ConnectionNews::Clock::time_point start = ConnectionNews::Clock::now();
    testing::internal::CaptureStderr();
    for (int i = 0; i < 600; ++i) {
        news.Failed("refused", start + seconds(2 * i));
        news.Connected(start + seconds(2 * i + 1));
    }
    const std::string told = testing::internal::GetCapturedStderr();
    const auto lines = std::count(told.begin(), told.end(), '\n');
    EXPECT_GE(lines, 20);
    EXPECT_LE(lines, 6 + 20);
}

}  // namespace
}  // namespace qxlt
