// The entries that the journal gets.
#include "JournalSink.h"

#include <gmock/gmock.h>

#include <cerrno>
#include <string>
#include <vector>

namespace {

using qxlt::JournalSink;
using testing::ElementsAre;

// A journal that takes entries, or fails.
struct StandIn {
    JournalSink::Send Sender() {
        return [this](const iovec* fields, int count) {
            std::vector<std::string>& entry = entries.emplace_back();
            for (int i = 0; i < count; ++i) {
                entry.emplace_back(static_cast<const char*>(fields[i].iov_base), fields[i].iov_len);
            }
            return answer;
        };
    }

    std::vector<std::vector<std::string>> entries;
    int answer = 0;
};

TEST(JournalSink, SendsEachFieldOfAnEvent) {
    StandIn journal;
    JournalSink sink(journal.Sender());
    const std::string value("a\n\0=b", 5);
    sink.Write("the line", {{"EVENT", "HIGH"}, {"VALUE", value}});
    ASSERT_EQ(journal.entries.size(), 1U);
    EXPECT_THAT(journal.entries[0], ElementsAre("MESSAGE=the line", "PRIORITY=5", "SYSLOG_IDENTIFIER=qxlt",
                                                "QX_EVENT=HIGH", "QX_VALUE=" + value));
    EXPECT_TRUE(sink.TakesFields());
}

TEST(JournalSink, SendsOtherLinesWithLessWeight) {
    StandIn journal;
    JournalSink sink(journal.Sender());
    sink.Write("a table", {});
    ASSERT_EQ(journal.entries.size(), 1U);
    EXPECT_THAT(journal.entries[0], ElementsAre("MESSAGE=a table", "PRIORITY=6", "SYSLOG_IDENTIFIER=qxlt"));
}

TEST(JournalSink, TellsOfLinesThatAreLost) {
    StandIn journal;
    journal.answer = -ENOENT;
    JournalSink sink(journal.Sender());
    testing::internal::CaptureStderr();
    sink.Write("a", {});
    sink.Write("b", {});
    journal.answer = 0;
    sink.Write("c", {});
    sink.End();
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "error: journal: No such file or directory; lines are lost until it can be written again\n"
              "warning: journal: can be written again; 2 lines lost\n");
    EXPECT_TRUE(sink.Failed());
}

}  // namespace
