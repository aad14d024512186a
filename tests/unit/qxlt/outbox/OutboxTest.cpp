#include "Outbox.h"

#include <gmock/gmock.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>

#include "Failure.h"
#include "Workplace.h"

namespace qxlt {
namespace {

using testing::HasSubstr;
namespace fs = std::filesystem;

const std::string kRun = std::string(32, 'b') + ":" + std::string(16, '1');
const std::string kNextRun = std::string(32, 'b') + ":" + std::string(16, '2');

class OutboxTest : public testing::Test {
protected:
    OutboxSettings Settings(const std::string& run = kRun) const {
        return {m_place.At("state/d.outbox"), Outbox::kLeastBytes, 1000, run};
    }

    std::uint64_t BytesOnDisk() const {
        std::uint64_t bytes = 0;
        for (const auto& file : fs::directory_iterator(m_place.At("state"))) bytes += file.file_size();
        return bytes;
    }

    const Workplace m_place;
};

std::vector<Outbox::Message> Some(std::size_t count, std::size_t bytes = 10) {
    return std::vector<Outbox::Message>(count, {"d/events/E", std::string(bytes, 'x')});
}

std::vector<OutboxMessage> All(Outbox& outbox) {
    return outbox.ReadAfter(0, 1000000, 1000000000);
}

std::string ProblemOf(const OutboxSettings& settings) {
    try {
        const Outbox outbox(settings);
    } catch (const Failure& failure) {
        EXPECT_EQ(failure.Status(), kCannotStart);
        return failure.what();
    }
    return "none";
}

TEST_F(OutboxTest, GivesWhatItTookInOrderUntilItIsRemoved) {
    Outbox outbox(Settings());
    EXPECT_EQ(outbox.Take({{"a", "1"}, {"b", "2"}}), "");
    EXPECT_EQ(outbox.Take({{"c", std::string("3\0", 2)}}), "");
    EXPECT_EQ(outbox.Taken(), 3u);
    std::vector<OutboxMessage> messages = All(outbox);
    ASSERT_EQ(messages.size(), 3u);
    EXPECT_EQ(messages[0].topic + messages[1].topic + messages[2].topic, "abc");
    EXPECT_EQ(messages[2].payload, std::string("3\0", 2));
    EXPECT_EQ(outbox.ReadAfter(messages[0].position, 1, 100).at(0).topic, "b");
    EXPECT_EQ(outbox.ReadAfter(0, 10, 1).size(), 1u);
    EXPECT_TRUE(outbox.Remove({messages[1].position, messages[0].position, 999}));
    EXPECT_EQ(outbox.Count().waiting, 1u);
    EXPECT_EQ(outbox.Count().dropped, 0u);
    EXPECT_EQ(All(outbox).at(0).topic, "c");
}

TEST_F(OutboxTest, IsThereForTheNextRunWhosePositionsGoOn) {
    std::string identity;
    {
        Outbox outbox(Settings());
        outbox.Take(Some(3));
        identity = outbox.Identity();
    }
    Outbox outbox(Settings(kNextRun));
    EXPECT_EQ(outbox.Identity(), identity);
    EXPECT_EQ(outbox.Count().waiting, 3u);
    EXPECT_EQ(outbox.Taken(), 0u);
    const std::int64_t last = All(outbox).back().position;
    EXPECT_TRUE(outbox.Remove({1, 2, 3}));
    outbox.Take(Some(1));
    EXPECT_EQ(outbox.Taken(), 1u);
    EXPECT_EQ(outbox.ReadAfter(last, 10, 100).size(), 1u);
}

TEST_F(OutboxTest, OthersCannotReadIt) {
    Outbox outbox(Settings());
    outbox.Take(Some(1));
    for (const auto& file : fs::directory_iterator(m_place.At("state"))) {
        EXPECT_EQ(file.status().permissions() & fs::perms(077), fs::perms::none) << file.path();
    }
}

TEST_F(OutboxTest, BelongsToOneRunAtATime) {
    const Outbox outbox(Settings());
    EXPECT_THAT(ProblemOf(Settings(kNextRun)),
                HasSubstr("d.outbox: another run has this outbox in use; give --outbox"));
}

TEST_F(OutboxTest, DropsTheOldestWhenItIsFullAndStaysWithinItsBound) {
    Outbox outbox(Settings());
    const std::size_t bytes = 3000;
    const std::uint64_t batches = 2 * Outbox::kLeastBytes / (10 * bytes);
    for (std::uint64_t i = 0; i < batches; ++i) ASSERT_EQ(outbox.Take(Some(10, bytes)), "");
    EXPECT_LE(BytesOnDisk(), Outbox::kLeastBytes);
    const OutboxCounts counts = outbox.Count();
    EXPECT_EQ(counts.taken, 10 * batches);
    EXPECT_EQ(counts.waiting + counts.dropped, counts.taken);
    EXPECT_GT(counts.waiting * bytes, Outbox::kLeastBytes / 3);
    ASSERT_EQ(counts.droppedRanges.size(), 1u);
    EXPECT_EQ(counts.droppedRanges[0].run, kRun);
    EXPECT_EQ(counts.droppedRanges[0].first, 1u);
    EXPECT_EQ(counts.droppedRanges[0].last, counts.dropped);
    EXPECT_EQ(All(outbox).size(), counts.waiting);
    EXPECT_EQ(All(outbox).front().position, static_cast<std::int64_t>(counts.dropped) + 1);
}

TEST_F(OutboxTest, TheLargestBatchStaysWithinTheBound) {
    Outbox outbox(Settings());
    const std::vector<Outbox::Message> batch = Some(1, 2 * outbox.BatchBytes());
    for (int i = 0; i < 12; ++i) {
        ASSERT_EQ(outbox.Take(batch), "");
        EXPECT_LE(BytesOnDisk(), Outbox::kLeastBytes);
    }
    EXPECT_GE(outbox.Count().waiting, 3u);
}

TEST_F(OutboxTest, TellsWhatItDroppedRunByRunAndWithoutWhatTheBrokerHas) {
    {
        Outbox outbox(Settings());
        outbox.Take(Some(5, 100));
        outbox.Remove({2});
    }
    Outbox outbox(Settings(kNextRun));
    while (outbox.Count().dropped < 6) ASSERT_EQ(outbox.Take(Some(100, 1000)), "");
    const std::vector<DroppedRange> ranges = outbox.Count().droppedRanges;
    ASSERT_EQ(ranges.size(), 3u);
    EXPECT_EQ(ranges[0].run, kRun);
    EXPECT_EQ(ranges[0].first, 1u);
    EXPECT_EQ(ranges[0].last, 1u);
    EXPECT_EQ(ranges[1].run, kRun);
    EXPECT_EQ(ranges[1].first, 3u);
    EXPECT_EQ(ranges[1].last, 5u);
    EXPECT_EQ(ranges[2].run, kNextRun);
    EXPECT_EQ(ranges[2].first, 1u);
    EXPECT_EQ(ranges[2].last - ranges[2].first + 1 + 4, outbox.Count().dropped);
}

TEST_F(OutboxTest, DropsWhatIsTooOld) {
    OutboxSettings settings = Settings();
    {
        Outbox outbox(settings);
        outbox.Take(Some(200));
        outbox.Expire();
        EXPECT_EQ(outbox.Count().waiting, 200u);
    }
    settings.seconds = -1;  // what was taken now is a second too old
    Outbox outbox(settings);
    outbox.Expire();
    EXPECT_EQ(outbox.Count().waiting, 0u);
    EXPECT_EQ(outbox.Count().dropped, 200u);
}

// The child is killed while it takes; the parent finds at least what the child said was taken.
TEST_F(OutboxTest, LosesNothingThatWasTakenWhenTheProcessIsKilled) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const pid_t child = fork();
    if (child == 0) {
        Outbox outbox(Settings());
        for (;;) {
            if (!outbox.Take(Some(3, 500)).empty()) _exit(1);
            const std::uint64_t taken = outbox.Taken();
            if (write(ends[1], &taken, sizeof taken) != sizeof taken) _exit(1);
        }
    }
    std::uint64_t taken = 0;
    while (taken < 60) ASSERT_EQ(read(ends[0], &taken, sizeof taken), static_cast<ssize_t>(sizeof taken));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    close(ends[1]);
    while (read(ends[0], &taken, sizeof taken) == static_cast<ssize_t>(sizeof taken)) {
    }
    close(ends[0]);
    Outbox outbox(Settings(kNextRun));
    EXPECT_GE(outbox.Count().waiting, taken);
    EXPECT_EQ(outbox.Count().waiting % 3, 0u);
    EXPECT_EQ(All(outbox).size(), outbox.Count().waiting);
}

// What a full disk is to a file, this limit is: a write beyond it fails.
class FileLimit final {
public:
    explicit FileLimit(rlim_t bytes) {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit limit{bytes, m_before.rlim_max};
        setrlimit(RLIMIT_FSIZE, &limit);
    }
    FileLimit(const FileLimit&) = delete;
    FileLimit& operator=(const FileLimit&) = delete;
    ~FileLimit() { setrlimit(RLIMIT_FSIZE, &m_before); }

private:
    rlimit m_before{};
};

TEST_F(OutboxTest, GoesOnWhenADiskThatWasFullHasRoomAgain) {
    Outbox outbox(Settings());
    ASSERT_EQ(outbox.Take(Some(5, 1000)), "");
    std::string problem;
    {
        const FileLimit limit(100000);
        for (int i = 0; i < 300 && problem.empty(); ++i) problem = outbox.Take(Some(5, 1000));
        EXPECT_NE(problem, "");
        const std::uint64_t taken = outbox.Taken();
        EXPECT_NE(outbox.Take(Some(5, 1000)), "");
        EXPECT_EQ(outbox.Taken(), taken);
    }
    const std::uint64_t taken = outbox.Taken();
    EXPECT_EQ(outbox.Take(Some(5, 1000)), "");
    EXPECT_EQ(outbox.Taken(), taken + 5);
    EXPECT_EQ(outbox.Count().waiting, taken + 5);
    EXPECT_EQ(All(outbox).size(), taken + 5);
}

void Overwrite(const std::string& file, std::size_t at, std::size_t bytes) {
    std::FILE* const stream = std::fopen(file.c_str(), "r+");
    ASSERT_NE(stream, nullptr);
    std::fseek(stream, static_cast<long>(at), SEEK_SET);
    std::fputs(std::string(bytes, 'Z').c_str(), stream);
    std::fclose(stream);
}

TEST_F(OutboxTest, ADamagedFileIsSetAsideWhenItIsOpened) {
    for (const std::size_t at : {0u, 4096u, 8192u}) {
        {
            Outbox outbox(Settings());
            outbox.Take(Some(100, 300));
        }
        Overwrite(Settings().file, at, 4000);
        testing::internal::CaptureStderr();
        Outbox outbox(Settings());
        EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("is kept as " + Settings().file + ".damaged"))
            << at;
        EXPECT_EQ(outbox.Count().waiting, 0u);
        EXPECT_TRUE(fs::exists(Settings().file + ".damaged"));
        EXPECT_EQ(outbox.Take(Some(1)), "");
        EXPECT_TRUE(outbox.Remove({All(outbox).front().position}));
    }
}

TEST_F(OutboxTest, AFileOfOthersIsLeftAlone) {
    OutboxSettings settings = Settings();
    settings.file = m_place.Write("notes", "These are notes, and no outbox, as whoever reads them sees.");
    EXPECT_THAT(ProblemOf(settings), HasSubstr("notes: it is no outbox; give --outbox another FILE"));
    EXPECT_THAT(m_place.Read("notes"), HasSubstr("These are notes"));
    settings.file = m_place.At("others.db");
    SqliteFile(settings.file).Run("CREATE TABLE notes(text)");
    EXPECT_THAT(ProblemOf(settings), HasSubstr("others.db: it is no outbox"));
    { const Outbox outbox(Settings()); }
    SqliteFile(Settings().file).Run("PRAGMA user_version = 2");
    EXPECT_THAT(ProblemOf(Settings()), HasSubstr("a newer version of qxlt made it"));
}

TEST_F(OutboxTest, SaysWhereItCannotBe) {
    OutboxSettings settings = Settings();
    settings.file = "/proc/none/d.outbox";
    EXPECT_THAT(ProblemOf(settings), HasSubstr("/proc/none: "));
}

}  // namespace
}  // namespace qxlt
