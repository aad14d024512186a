// Records of a dump as lines for a person.
#include "DecodeLines.h"

#include <gmock/gmock.h>

#include "Format.h"
#include "QxFormat.h"

namespace {

using namespace qxlt;

IQxData::HSICallArg Value(const std::string& bytes) {
    // The store keeps each byte one larger than it was traced.
    std::string stored;
    for (const char byte : bytes) stored += static_cast<char>(byte + 1);
    return {{"", stored}};
}

TEST(DecodeLines, ShowSizesAndMomentsOfArguments) {
    IQxData::_HSCallLocation location;
    location.locId = 9;
    location.packageName = "p";
    location.callerName = "Move";
    location.srcCodeFileRaw = "m.cpp";
    location.args.argType = {"int", "string", "Point", "a\nb", "lonely"};
    location.args.argFlags = {0, 1, 2, 3, 1};
    location.args.argSize = {4, qxformat::kVariableLength, qxformat::kComposite, 1};
    location.args.retType = "bool";
    location.args.retSize = 1;
    EXPECT_EQ(
        LocationLine(Format::Text, 7, location),
        "location   pid 7, 9: p.Move(int unrecorded:4, string in:counted, Point out:composite, a\\nb in+out:1) -> "
        "bool:1 in m.cpp");
}

// A member without a name or a type has no entry in its list.
TEST(DecodeLines, ShowLayoutsWhoseListsDoNotMatch) {
    struct Row {
        unsigned char isContainer;
        std::vector<std::string> names;
        std::vector<unsigned int> sizes;
        std::vector<std::string> types;
        const char* members;
    };
    const Row rows[] = {{0, {}, {}, {}, "{}"},
                        {1, {}, {4}, {"int"}, "[int:4]"},
                        {0, {"x", "y"}, {4, 8}, {"int", "double"}, "{int x:4, double y:8}"},
                        {0, {"x"}, {4, 8}, {"int"}, "{int x:4, ?:8}"},
                        {0, {"x"}, {4}, {"int", "Point"}, "{int x:4, Point}"}};
    for (const Row& row : rows) {
        const IQxData::_HSCompArgDesc layout{row.isContainer, row.names, row.sizes, row.types};
        EXPECT_EQ(DescriptorLine(Format::Text, "T", layout), std::string("descriptor T ") + row.members);
    }
}

TEST(DecodeLines, ShowCalls) {
    IQxData::_HSCallLocation location;
    IQxData::HSCall call;
    call.pid = 7;
    call.tid = 2;
    call.locId = 5;
    call.time = 10;
    const auto line = [&](std::optional<std::uint32_t> maker) {
        return CallLine(Format::Text, {call, location, "m", std::nullopt, maker});
    };
    EXPECT_EQ(line(std::nullopt), "call       m[7] location 5() at 10, tid 2");
    location.callerName = "Move";
    call.exitTime = 15;
    EXPECT_EQ(line(70007), "call       m[70007] Move() at 10, took 5 ns, tid 2");
    location.packageName = "p";
    call.args.in = {Value("on"), Value("\5")};
    EXPECT_EQ(line({}), "call       m[7] p.Move(\"on\", 5) at 10, took 5 ns, tid 2");
    call.args.out = {{{"x", "\2"}, {"", "\3"}}, {}};
    EXPECT_EQ(line({}), "call       m[7] p.Move(\"on\", 5) out ({x:1 2}, {}) at 10, took 5 ns, tid 2");
    call.args.ret = {Value("\1")};
    EXPECT_EQ(line({}), "call       m[7] p.Move(\"on\", 5) out ({x:1 2}, {}) = 1 at 10, took 5 ns, tid 2");
}

TEST(DecodeLines, ShowHowADumpEnded) {
    EXPECT_EQ(EndLine(Format::Text, {"a\tb", 1, 2, true, true}), "end        a\\tb: 1 byte, 2 calls");
    EXPECT_EQ(EndLine(Format::Text, {"a", 2, 1, false, true}), "end        a: 2 bytes, 1 call, damaged");
    EXPECT_EQ(EndLine(Format::Text, {"a", 2, 1, true, false}), "end        a: 2 bytes, 1 call, damaged");
}

}  // namespace
