// The account of a run, as it is shown at its end.
#include "RunAccount.h"

#include <gmock/gmock.h>

#include "Json.h"

namespace {

using namespace qxlt;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::IsEmpty;

// An account, and what it prints.
class Account {
public:
    explicit Account(Format format) : account(format, m_output, m_processes) { m_processes.Add("m", 7); }

    // On standard error, or in JSON on standard output.
    std::string Printed() const {
        testing::internal::CaptureStderr();
        testing::internal::CaptureStdout();
        account.Print();
        return testing::internal::GetCapturedStderr() + testing::internal::GetCapturedStdout();
    }

    static LossCounts Recorded(std::uint64_t calls) {
        LossCounts counts;
        counts.recorded = counts.delivered = calls;
        return counts;
    }

private:
    ProcessNames m_processes;
    Output m_output;

public:
    RunAccount account;
};

TEST(RunAccount, HasATableOnlyWhereCountsAreKnown) {
    Account account(Format::Text);
    account.account.AddDump("m", std::nullopt, 0, 0);
    EXPECT_THAT(account.Printed(), IsEmpty());
    EXPECT_FALSE(account.account.Known());
    account.account.AddDump("m", Account::Recorded(3), 0, 0);
    EXPECT_THAT(account.Printed(), ContainsRegex("process .*\nm  +3  +3  +0  +0  +0  +0  +0  +0  +0  +0\\.0 ms\n$"));
    EXPECT_TRUE(account.account.Known());
    EXPECT_FALSE(account.account.Lost());
}

// Bytes that are not decoded are lost, though nobody has counted the calls.
TEST(RunAccount, KnowsWhetherAnythingWasLost) {
    Account undecoded(Format::Text);
    undecoded.account.AddDump("m", std::nullopt, 1, 0);
    EXPECT_TRUE(undecoded.account.Lost());
    undecoded.account.AddDump("m", std::nullopt, 0, 0);
    EXPECT_TRUE(undecoded.account.Lost());
}

TEST(RunAccount, CountsWhatWasCalledBeforeApart) {
    Account account(Format::Text);
    account.account.AddDump("m", Account::Recorded(5), 0, 2);
    account.account.AddDump("n", Account::Recorded(4), 0, 1);
    const std::string printed = account.Printed();
    EXPECT_THAT(printed, ContainsRegex("\nm  +3  +3 .*\nn  +3  +3 "));
    EXPECT_THAT(printed, HasSubstr("\n3 calls from before the start raised no events; --history evaluates them\n"));
}

// Of a platform without counts this is all.
TEST(RunAccount, SaysThatOneCallWasMadeBefore) {
    Account text(Format::Text);
    text.account.AddDump("m", std::nullopt, 0, 1);
    EXPECT_EQ(text.Printed(), "1 call from before the start raised no events; --history evaluates them\n");
    Account json(Format::Json);
    json.account.AddDump("m", std::nullopt, 0, 1);
    EXPECT_THAT(json.Printed(), HasSubstr(",\"history\":1}}\n"));
}

TEST(RunAccount, ShowsTheLongestCallback) {
    using std::chrono::microseconds;
    for (const Format format : {Format::Text, Format::Json}) {
        Account account(format);
        account.account.AddDump("m", Account::Recorded(1), 0, 0);
        const RunAccount::Clock::time_point now = RunAccount::Clock::now();
        account.account.AddCallback(7, now - microseconds(1000));
        account.account.AddCallback(7, now - microseconds(7234567));
        account.account.AddCallback(7, now - microseconds(2000));
        // The test itself takes some time, too.
        EXPECT_THAT(account.Printed(),
                    ContainsRegex(format == Format::Text ? "  7[2-9][0-9][0-9]\\.[0-9] ms\n"
                                                         : "\"longestCallbackUs\":7[2-9][0-9][0-9][0-9][0-9][0-9],"));
    }
}

// As in a store that nobody has told the names of processes.
TEST(RunAccount, ShowsWhatBelongsToNoProcessByName) {
    Account account(Format::Text);
    account.account.AddDump("m", Account::Recorded(1), 0, 0);
    IQxData::HSCall call;
    call.pid = 8;
    account.account.OnError({}, 0, call, QxStage::Other, "");
    EXPECT_THAT(account.Printed(), ContainsRegex("\n-  +0  +0  +0  +0  +0  +0  +0  +0  +1  +0\\.0 ms\n"));
}

}  // namespace
