#include "MessageId.h"

#include <gmock/gmock.h>

namespace qxlt {
namespace {

const std::string kBoot(32, 'b');
const std::string kRun(16, '7');

TEST(MessageId, IsReadAsItIsWritten) {
    const std::string text = MessageIdText({"box%207", kBoot, kRun, 18446744073709551615u});
    EXPECT_EQ(text, "box%207:" + kBoot + ":" + kRun + ":18446744073709551615");
    const std::optional<MessageId> id = ReadMessageId(text);
    ASSERT_TRUE(id);
    EXPECT_EQ(id->device, "box%207");
    EXPECT_EQ(id->boot, kBoot);
    EXPECT_EQ(id->run, kRun);
    EXPECT_EQ(id->number, 18446744073709551615u);
}

TEST(MessageId, OtherTextsAreNone) {
    const std::string good = "d:" + kBoot + ":" + kRun + ":1";
    ASSERT_TRUE(ReadMessageId(good));
    for (std::size_t size = 0; size < good.size(); ++size) EXPECT_FALSE(ReadMessageId(good.substr(0, size))) << size;
    for (const std::string& text :
         {":" + kBoot + ":" + kRun + ":1", "a.b:" + kBoot + ":" + kRun + ":1",
          "d:B" + kBoot.substr(1) + ":" + kRun + ":1", "d:" + kBoot + "b:" + kRun + ":1",
          "d:" + kBoot + ":" + kRun + ":0", "d:" + kBoot + ":" + kRun + ":01", "d:" + kBoot + ":" + kRun + ":-1",
          "d:" + kBoot + ":" + kRun + ":18446744073709551616",
          "d:" + kBoot + ":" + kRun + ":1:", "d:" + kBoot + ":" + kRun + ":1x"}) {
        EXPECT_FALSE(ReadMessageId(text)) << text;
    }
}

}  // namespace
}  // namespace qxlt
