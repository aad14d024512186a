// The header of a dump, wherever it stands.
#include "DumpHeader.h"

#include <gmock/gmock.h>

#include "DumpWriter.h"
#include "Messages.h"

namespace {

using namespace dump;

std::string HeaderItem(unsigned pid, const std::string& process) {
    return Item(kHeader, Header(pid, process));
}

std::string NameIn(const std::string& dump) {
    std::vector<char> bytes(dump.begin(), dump.end());
    const std::optional<qxlt::DumpHeader> header = qxlt::HeaderOf(bytes);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), dump);
    return header ? header->process + "=" + std::to_string(header->pid) : "none";
}

TEST(DumpHeader, IsTheFirstOne) {
    const std::string call = Thread(1, StreamItem(kBefore, Before(1, 3)) + StreamItem(kAfter, After(1)));
    const std::string both = Persistent({HeaderItem(7, "a"), HeaderItem(8, "b")});
    EXPECT_EQ(NameIn(both), "a=7");
    EXPECT_EQ(NameIn(call + both), "a=7");
    EXPECT_EQ(NameIn(Compressed(both) + Flush()), "a=7");
    EXPECT_EQ(NameIn(both + Packet(200, "damage")), "a=7");
}

TEST(DumpHeader, IsMissingInADumpWithoutOne) {
    EXPECT_EQ(NameIn(""), "none");
    EXPECT_EQ(NameIn("x"), "none");
    EXPECT_EQ(NameIn(Packet(200, "damage") + Persistent({HeaderItem(7, "a")})), "none");
}

// The calls behind it would be decoded twice: for the header and for themselves.
TEST(DumpHeader, IsFoundWithoutWhatFollowsIt) {
    const std::string header = Persistent({HeaderItem(7, "a")});
    testing::internal::CaptureStderr();
    qxlt::SetLevel(Major);
    EXPECT_EQ(NameIn(header + Packet(200, "damage")), "a=7");
    qxlt::SetLevel(Silent);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

}  // namespace
