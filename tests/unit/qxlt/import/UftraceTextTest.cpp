// The records that uftrace prints, and texts in them that look like more of these.
#include "UftraceText.h"

#include <gmock/gmock.h>

#include <algorithm>

#include <string>
#include <vector>

#include "ExactBytes.h"

namespace {

using qxlt::UftraceRecord;
using qxlt::UftraceText;
using testing::ElementsAre;
using testing::IsEmpty;

std::string HexOf(const std::string& bytes) {
    static const char digits[] = "0123456789abcdef";
    std::string text;
    for (const char c : bytes) {
        text += digits[static_cast<unsigned char>(c) >> 4];
        text += digits[static_cast<unsigned char>(c) & 15];
    }
    return text;
}

std::string TextOf(const qxlt::ImportedValue& value) {
    const bool isText = value.type.name == "string";
    return value.type.name + " " + (isText ? value.bytes.substr(1) : HexOf(value.bytes));
}

std::string TextOf(const UftraceRecord& record) {
    static const char* const kinds[] = {"thread", "entry", "exit", "lost"};
    std::string text = kinds[static_cast<int>(record.kind)];
    if (record.kind == UftraceRecord::Kind::Thread) return text + " " + std::to_string(record.thread);
    if (record.kind == UftraceRecord::Kind::Lost) return text + " " + std::to_string(record.lost);
    text += " " + record.method + " at " + std::to_string(record.time);
    for (const qxlt::ImportedValue& value : record.values) text += ", " + TextOf(value);
    return text;
}

// Each line lies in a block of its size.
std::vector<std::string> Parse(const std::string& text) {
    std::vector<std::string> records;
    UftraceText parser([&records](const UftraceRecord& record) { records.push_back(TextOf(record)); });
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        ExactBytes line(text.substr(begin, end - begin));
        parser.Take(std::string_view(line.Data(), end - begin));
        begin = end + 1;
    }
    parser.Finish();
    return records;
}

std::string Entry(const std::string& method, int time = 1) {
    return "    5.00000000" + std::to_string(time) + "   4711: [entry] " + method + "(55a6e8c18332) depth: 1\n";
}
std::string Exit(const std::string& method, int time = 2) {
    return "    5.00000000" + std::to_string(time) + "   4711: [exit ] " + method + "(55a6e8c18332) depth: 1\n";
}
std::string Values(const std::string& kind, int size, const std::string& values) {
    return "    5.000000001   4711: [" + kind + "] length = " + std::to_string(size) + "\n" + values;
}
const std::string kThread = "reading 4711.dat\n";

TEST(UftraceText, TakesCallsWithTheirValues) {
    EXPECT_THAT(Parse("uftrace file header: magic = 46\n\n" + kThread + Entry("SetVolume") +
                      Values("args ", 16, "  args[0] i32: 0xfffffffd\n  args[1] u8: 0x01\n  args[2] str: main\n") +
                      Exit("SetVolume") + Values("retval", 4, "  retval i32: 0x00000055\n")),
                ElementsAre("thread 4711", "entry SetVolume at 5000000001, int32_t fdffffff, uint8_t 01, string main",
                            "exit SetVolume at 5000000002, int32_t 55000000"));
}

TEST(UftraceText, KnowsTheTypesOfNumbers) {
    const struct {
        const char* printed;
        const char* value;
    } rows[] = {{"i32: 0x00000001", "int32_t 01000000"},
                {"d64: 0x0000000000000001", "int64_t 0100000000000000"},
                {"u16: 0x0102", "uint16_t 0201"},
                {"x32: 0xffffffff", "uint32_t ffffffff"},
                {"p64: 0x1", "uint64_t 0100000000000000"},
                {"c8: 0x41", "int8_t 41"},
                {"e32: 0x2", "int32_t 02000000"},
                {"f64: 0x3ff8000000000000", "double 000000000000f83f"},
                {"f32: 0x3fc00000", "float 0000c03f"},
                {"i128: 0x1", "string 0x1"},
                {"i32: 85", "string 85"},
                {"struct: {...}", "string {...}"}};
    for (const auto& row : rows) {
        EXPECT_THAT(Parse(kThread + Entry("F") + Values("args ", 8, std::string("  args[0] ") + row.printed + "\n")),
                    ElementsAre("thread 4711", std::string("entry F at 5000000001, ") + row.value))
            << row.printed;
    }
}

TEST(UftraceText, TakesATextAsFarAsItsBytesGo) {
    const std::string imitation = "a\n" + Entry("Forged") + "  args[7] i32: 0x1";
    const int size = static_cast<int>((2 + imitation.size() + 3) / 4 * 4);
    EXPECT_THAT(Parse(kThread + Entry("F") +
                      Values("args ", size + 4, "  args[0] str: " + imitation + "\n  args[1] i32: 0x00000007\n") +
                      Entry("G", 3)),
                ElementsAre("thread 4711", "entry F at 5000000001, string " + imitation + ", int32_t 07000000",
                            "entry G at 5000000003"));
}

TEST(UftraceText, AnEmptyTextKeepsItsPlace) {
    EXPECT_THAT(Parse(kThread + Entry("F") + Values("args ", 8, "  args[0] str: \n  args[1] u8: 0x02\n") + Exit("F")),
                ElementsAre("thread 4711", "entry F at 5000000001, string , uint8_t 02", "exit F at 5000000002"));
}

TEST(UftraceText, NamesMayHaveBracketsAndBlanks) {
    EXPECT_THAT(Parse(kThread + Entry("operator()") + Entry("std::function<int (int)>::operator new")),
                ElementsAre("thread 4711", "entry operator() at 5000000001",
                            "entry std::function<int (int)>::operator new at 5000000001"));
}

TEST(UftraceText, PassesOverWhatTheSystemRecorded) {
    EXPECT_THAT(Parse("reading perf-cpu0.dat\n" + Entry("F") + "5.000000001 4711: [event] linux:sched-out(200002)\n" +
                      "reading kernel-cpu0.dat\n" + Entry("F") + kThread + Entry("G")),
                ElementsAre("thread 4711", "entry G at 5000000001"));
}

TEST(UftraceText, CountsWhatWasLost) {
    EXPECT_THAT(Parse(kThread + "5.000000001 4711: [lost ] records 17\n"), ElementsAre("thread 4711", "lost 17"));
}

TEST(UftraceText, PassesOverWhatIsNoRecord) {
    for (const char* const line :
         {"5.000000001", "5.1000000000 4711: [entry] F(1) depth: 0", "x.000000001 4711: [entry] F(1) depth: 0",
          "99999999999.000000001 4711: [entry] F(1) depth: 0", "5.000000001 x: [entry] F(1) depth: 0",
          "5.000000001 4711: [entry", "5.000000001 4711: [other] F(1) depth: 0", "  args[0] i32: 0x1", ""}) {
        EXPECT_THAT(Parse(kThread + line + "\n"), ElementsAre("thread 4711")) << line;
    }
}

// Whatever is cut off, what came before it is there.
TEST(UftraceText, TakesEveryPrefix) {
    const std::string whole = kThread + Entry("F") +
                              Values("args ", 12, "  args[0] i32: 0x00000055\n  args[1] str: a\nb\n") + Exit("F") +
                              Values("retval", 4, "  retval i32: 0x00000055\n");
    for (std::size_t size = kThread.size(); size <= whole.size(); ++size) {
        EXPECT_EQ(Parse(whole.substr(0, size)).front(), "thread 4711") << size;
    }
    EXPECT_EQ(Parse(whole).size(), 3u);
}

TEST(UftraceText, KeepsNoMoreValuesThanACallMayHave) {
    std::string values;
    for (int i = 0; i < 100; ++i) values += "  args[" + std::to_string(i) + "] u8: 0x01\n";
    std::size_t kept = 0;
    UftraceText parser([&kept](const UftraceRecord& record) { kept = record.values.size(); });
    const std::string text = kThread + Entry("F") + Values("args ", 400, values);
    for (std::size_t begin = 0; begin < text.size(); begin = text.find('\n', begin) + 1) {
        parser.Take(std::string_view(text).substr(begin, text.find('\n', begin) - begin));
    }
    parser.Finish();
    EXPECT_EQ(kept, qxlt::kMostValues);
}

}  // namespace
