// Captures around events, and the bounds of the folder that holds them.
#include "KeptFirings.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "CaptureReader.h"
#include "Failure.h"
#include "FileSizeLimit.h"
#include "Messages.h"
#include "Workplace.h"

namespace {

namespace fs = std::filesystem;

using namespace qxlt;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::vector<std::string> EntriesOf(const std::string& directory) {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(directory)) names.push_back(entry.path().filename());
    std::sort(names.begin(), names.end());
    return names;
}

class Firings : public testing::Test {
protected:
    Firings() {
        m_options.events = {"HIGH", "LOW*"};
        m_options.before = 1;
        m_options.after = 1;
        testing::internal::CaptureStderr();
    }
    ~Firings() override {
        if (!m_taken) testing::internal::GetCapturedStderr();
    }

    std::unique_ptr<KeptFirings> Begin() const {
        auto firings = std::make_unique<KeptFirings>(m_place.At("kept"), m_options);
        ProcessNames processes;
        processes.Add("m", 412);
        firings->OnBegin(processes, {7, 7, std::nullopt});
        return firings;
    }

    // A cycle whose dump has that many bytes, and in which these fire.
    static void Cycle(KeptFirings& firings, std::uint64_t number, const std::vector<std::string>& fired = {},
                      std::size_t size = 100) {
        firings.OnCycle(number, number == 1);
        const std::string process = "m";
        firings.OnDump({process, std::vector<char>(size, 'x'), std::nullopt, {}});
        for (const std::string& event : fired) firings.Note(event);
        firings.OnCycleEnd();
    }

    std::vector<std::string> Kept() const { return EntriesOf(m_place.At("kept")); }
    std::vector<std::string> CyclesOf(const std::string& capture) const {
        return EntriesOf(m_place.At("kept/" + capture));
    }
    std::string Errors() {
        m_taken = true;
        return testing::internal::GetCapturedStderr();
    }

    const Workplace m_place;
    KeptFirings::Options m_options;
    bool m_taken = false;
};

TEST_F(Firings, AreKeptWithTheCyclesAroundThem) {
    const auto firings = Begin();
    Cycle(*firings, 1);
    Cycle(*firings, 2);
    Cycle(*firings, 3);
    Cycle(*firings, 4, {"HIGH", "OTHER", "HIGH"});
    Cycle(*firings, 5);
    Cycle(*firings, 6);
    firings->OnEnd();
    EXPECT_THAT(Kept(), ElementsAre("HIGH-000001"));
    EXPECT_THAT(CyclesOf("HIGH-000001"), ElementsAre("000003", "000004", "000005", "capture.json"));
    EXPECT_EQ(m_place.Read("kept/HIGH-000001/capture.json"),
              "{\"version\":1,\"processes\":{\"m\":412},\"since\":7,\"start\":7,\"event\":\"HIGH\",\"cycle\":4}\n");
    EXPECT_EQ(CaptureReader(m_place.At("kept/HIGH-000001")).Start().since, 7U);
    EXPECT_FALSE(firings->Failed());
    EXPECT_EQ(Errors(), "HIGH is kept in " + m_place.At("kept/HIGH-000001") + ", cycles 3 to 5\n");
}

// In the last of the cycles that follow, too. Another event has a capture of its own.
TEST_F(Firings, WhileOneIsWrittenBelongToIt) {
    const auto firings = Begin();
    Cycle(*firings, 2, {"HIGH"});
    Cycle(*firings, 3, {"HIGH", "LOW/1"});
    Cycle(*firings, 4, {"HIGH"});
    firings->OnEnd();
    EXPECT_THAT(Kept(), ElementsAre("HIGH-000001", "HIGH-000003", "LOW%2F1-000002"));
    EXPECT_THAT(CyclesOf("HIGH-000001"), ElementsAre("000002", "000003", "capture.json"));
    EXPECT_THAT(CyclesOf("LOW%2F1-000002"), ElementsAre("000002", "000003", "000004", "capture.json"));
    EXPECT_THAT(CyclesOf("HIGH-000003"), ElementsAre("000003", "000004", "capture.json"));
}

TEST_F(Firings, TellOfProcessesThatCameMeanwhile) {
    const auto firings = Begin();
    Cycle(*firings, 2, {"HIGH"});
    firings->OnProcess({3, "late", 413, 17});
    Cycle(*firings, 3, {"LOW"});
    firings->OnEnd();
    for (const char* const capture : {"kept/HIGH-000001", "kept/LOW-000002"}) {
        const CaptureReader reader(m_place.At(capture));
        ASSERT_EQ(reader.Late().size(), 1U) << capture;
        EXPECT_EQ(reader.Late()[0].name, "late");
        EXPECT_EQ(reader.Late()[0].pid, 413);
    }
}

TEST_F(Firings, GoOnWithTheNumbersOfEarlierRuns) {
    fs::create_directories(m_place.At("kept/HIGH-2000000"));  // a run was killed before it wrote anything there
    m_place.Write("kept/OLD-1000041/capture.json", "{}");
    const auto firings = Begin();
    Cycle(*firings, 2, {"HIGH"});
    EXPECT_THAT(Kept(), ElementsAre("HIGH-2000000", "HIGH-2000001", "OLD-1000041"));
}

TEST_F(Firings, HaveNumbersThatNoOtherRunHasTaken) {
    const auto firings = Begin();
    m_place.Write("kept/HIGH-000001/capture.json", "another's");
    m_place.Write("kept/HIGH-000002/capture.json", "another's");
    Cycle(*firings, 2, {"HIGH"});
    EXPECT_THAT(Kept(), ElementsAre("HIGH-000001", "HIGH-000002", "HIGH-000003"));
    EXPECT_EQ(m_place.Read("kept/HIGH-000002/capture.json"), "another's");
    EXPECT_FALSE(firings->Failed());
}

// Numbers count, names and times do not; what is no capture stays.
TEST_F(Firings, MakeRoomForLaterOnes) {
    m_place.Write("kept/Z-000007/capture.json", "{}");
    m_place.Write("kept/A-000008/capture.json", "{}");
    m_place.Write("kept/notes-000001/readme", "mine");
    m_place.Write("elsewhere/capture.json", "{}");
    fs::create_directory_symlink(m_place.At("elsewhere"), m_place.At("kept/link-000002"));
    m_options.bounds.captures = 2;
    m_options.after = 0;
    const auto firings = Begin();
    Cycle(*firings, 2, {"HIGH"});
    EXPECT_THAT(Kept(), ElementsAre("A-000008", "HIGH-000009", "link-000002", "notes-000001"));
    Cycle(*firings, 3, {"HIGH"});
    EXPECT_THAT(Kept(), ElementsAre("HIGH-000009", "HIGH-000010", "link-000002", "notes-000001"));
    EXPECT_TRUE(fs::exists(m_place.At("elsewhere/capture.json")));
}

TEST_F(Firings, StayWithinTheirSize) {
    m_options.bounds.bytes = 5000;
    m_options.before = m_options.after = 0;
    const auto firings = Begin();
    Cycle(*firings, 2, {"HIGH"}, 2000);
    Cycle(*firings, 3, {"HIGH"}, 2000);
    EXPECT_THAT(Kept(), ElementsAre("HIGH-000001", "HIGH-000002"));
    Cycle(*firings, 4, {"HIGH"}, 2000);
    EXPECT_THAT(Kept(), ElementsAre("HIGH-000002", "HIGH-000003"));
    Cycle(*firings, 5, {"HIGH"}, 5001);
    EXPECT_THAT(Kept(), ElementsAre("HIGH-000002", "HIGH-000003"));
    EXPECT_TRUE(firings->Failed());
    EXPECT_THAT(Errors(), HasSubstr("error: --keep-size 5000: cycle 5 has no room beside what is being written; "
                                    "captures are left out until they can be written, tracking goes on\n"));
}

TEST_F(Firings, AreLeftOutWhileTheDiskIsFull) {
    m_options.after = 0;
    const auto firings = Begin();
    {
        const FileSizeLimit limit(1000);
        Cycle(*firings, 2, {"HIGH"}, 2000);
        Cycle(*firings, 3, {"HIGH"}, 2000);
        EXPECT_THAT(Kept(), IsEmpty());
    }
    Cycle(*firings, 4, {"HIGH"}, 2000);
    firings->OnEnd();
    EXPECT_THAT(Kept(), ElementsAre("HIGH-000003"));
    EXPECT_THAT(CyclesOf("HIGH-000003"), ElementsAre("000003", "000004", "capture.json"));
    EXPECT_TRUE(firings->Failed());
    const std::string first = m_place.At("kept/HIGH-000001");
    ASSERT_EQ(firings->Health().size(), 2U);
    EXPECT_EQ(std::get<std::uint64_t>(firings->Health()[0].value), 1U);
    EXPECT_EQ(std::get<std::uint64_t>(firings->Health()[1].value), 2U);
    EXPECT_EQ(Errors(), "error: " + first +
                            "/.000002/m.qxdump: File too large; captures are left out until they can be written, "
                            "tracking goes on\n"
                            "warning: captures can be written again; 2 events not kept\n"
                            "HIGH is kept in " +
                            m_place.At("kept/HIGH-000003") + ", cycles 3 to 4\n");
}

TEST_F(Firings, EndACaptureThatCannotGoOn) {
    m_options.after = 3;
    const auto firings = Begin();
    Cycle(*firings, 2, {"HIGH"}, 100);
    {
        const FileSizeLimit limit(1000);
        Cycle(*firings, 3, {}, 2000);
    }
    Cycle(*firings, 4);
    EXPECT_THAT(CyclesOf("HIGH-000001"), ElementsAre("000002", "capture.json"));
    EXPECT_TRUE(firings->Failed());
}

TEST_F(Firings, TellOnceThatMemoryHoldsTooLittle) {
    m_options.memory = 150;
    m_options.after = 0;
    const auto firings = Begin();
    Cycle(*firings, 2);
    Cycle(*firings, 3, {"HIGH"});
    Cycle(*firings, 4, {"HIGH"});
    EXPECT_THAT(CyclesOf("HIGH-000001"), ElementsAre("000003", "capture.json"));
    const std::string errors = Errors();
    const std::string told =
        "warning: cycle 3: the 1 cycle before take more than 150 bytes; the oldest are left out. "
        "--keep-memory gives them more\n";
    EXPECT_THAT(errors, HasSubstr(told));
    EXPECT_EQ(errors.find("--keep-memory"), errors.rfind("--keep-memory"));
}

TEST_F(Firings, HaveNamesThatFitAFile) {
    const auto firings = Begin();
    Cycle(*firings, 2, {"LOW" + std::string(400, '.')});
    EXPECT_THAT(Kept(), ElementsAre("LOW" + std::string(197, '.') + "-000001"));
}

TEST_F(Firings, NeedAFolder) {
    m_place.Write("kept", "a file");
    EXPECT_THROW(KeptFirings(m_place.At("kept"), m_options), Failure);
}

}  // namespace
