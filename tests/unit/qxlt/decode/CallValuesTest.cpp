// Calls and their values as texts.
#include "CallValues.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>

#include "DumpWriter.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;

template <typename Number>
std::string BytesOfNumber(Number number) {
    return dump::Stored({reinterpret_cast<const char*>(&number), sizeof number});
}

// The text of one argument whose only pair holds these bytes, as that type reads them.
std::string TextOf(const std::string& stored, const std::string& type, std::uint32_t size) {
    const IQxData::HSICallArg pairs = {{"", stored}};
    ArgumentType read;
    read.plain = ValueTypeOf(type, size);
    return ValueText({CallValue::Moment::In, 0, &pairs, &read});
}

TEST(CallValues, ReadsPlainValuesByTheirTypes) {
    EXPECT_EQ(TextOf(BytesOfNumber(std::int32_t{-5}), "int", 4), "-5");
    EXPECT_EQ(TextOf(BytesOfNumber(std::uint32_t{0x41414141}), "unsigned int", 4), "1094795585");
    EXPECT_EQ(TextOf(BytesOfNumber(std::uint64_t{UINT64_MAX}), "uint64_t", 8), "18446744073709551615");
    EXPECT_EQ(TextOf(BytesOfNumber(std::int64_t{INT64_MIN}), "long", 8), "-9223372036854775808");
    EXPECT_EQ(TextOf(BytesOfNumber(true), "bool", 1), "true");
    EXPECT_EQ(TextOf(BytesOfNumber(2.5F), "float", 4), "2.5");
    EXPECT_EQ(TextOf(BytesOfNumber(std::nan("")), "double", 8), "nan");
    EXPECT_EQ(TextOf(dump::Stored("a\n\x1b"), "std::string", 16383), "\"a\\n\\x1b\"");
}

TEST(CallValues, ShowsTheBytesOfWhatNoTypeTells) {
    EXPECT_EQ(TextOf(dump::Stored("\x01\x02\x03"), "", 3), "0x010203");
    EXPECT_EQ(TextOf(dump::Stored("AAAA"), "Thing", 4), "\"AAAA\"");
    EXPECT_EQ(TextOf(dump::Stored("\x01\x02"), "int", 4), "513");  // fewer than the type has
}

TEST(CallValues, PutsMembersIntoBraces) {
    const IQxData::HSICallArg pairs = {{"x", BytesOfNumber(1)}, {"", dump::Stored("b")}, {"\x1b", BytesOfNumber(2)}};
    EXPECT_EQ(ValueText({CallValue::Moment::In, 0, &pairs, nullptr}), "{x:1 \"b\" \\x1b:2}");
    const IQxData::HSICallArg none;
    EXPECT_EQ(ValueText({CallValue::Moment::In, 0, &none, nullptr}), "{}");
}

TEST(CallValues, NamesValuesAsConditionsDo) {
    IQxData::HSCall call;
    call.args.in = {{{"", "1"}}, {{"", "2"}}};
    call.args.out = {{{"", "3"}}};
    call.args.ret = {{{"", "4"}}};
    const IQxData::_HSCallLocation location;
    const std::string process;
    std::vector<std::string> names;
    for (const CallValue& value : ValuesOf({call, location, process, std::nullopt})) names.push_back(value.Name());
    EXPECT_THAT(names, ElementsAre("in.0", "in.1", "out.0", "ret"));
}

TEST(CallValues, TellsWhatWentInAndWhatCameBack) {
    IQxData::HSCall call;
    call.locId = 9;
    IQxData::_HSCallLocation location;
    const std::string process;
    const CallView view{call, location, process, std::nullopt};
    EXPECT_EQ(EntryText(view), "location 9()");
    EXPECT_EQ(ExitText(view), "");
    EXPECT_EQ(ResultText(view), "");
    location.callerName = "Get";
    call.args.in = {{{"", dump::Stored("a")}}, {{"", dump::Stored("b")}}};
    EXPECT_EQ(EntryText(view), "Get(\"a\", \"b\")");
    location.packageName = "audio";
    call.args.out = {{{"", dump::Stored("c")}}};
    call.args.ret = {{{"", dump::Stored("d")}}};
    EXPECT_EQ(MethodName(view), "audio.Get");
    EXPECT_EQ(ExitText(view), " out (\"c\") = \"d\"");
    EXPECT_EQ(ResultText(view), "\"d\"");
    location.args.retType = "result<int>";
    location.args.retSize = dump::kCompositeSize;
    call.args.ret = {{}};
    EXPECT_EQ(ExitText(view), " out (\"c\") = no result");
}

}  // namespace
