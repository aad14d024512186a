#include "Decoding.h"

namespace {

using namespace dump;
using QxCallLocationTest = Decoding;
using namespace std::string_literals;

TEST_F(QxCallLocationTest, KeepsAllFields) {
    const std::string payload = Location(3)
                                    .Source("v.cpp", 70000)
                                    .Name("Set", "pack")
                                    .Arg("int", kIn, 4)
                                    .Arg("P", 0xFF, kCompositeSize)
                                    .Returns("string", kVariableSize);
    EXPECT_EQ(Item(kLocation, payload), static_cast<int>(payload.size()));
    ASSERT_EQ(store->locations.size(), 1u);
    const IQxData::_HSCallLocation& location = store->locations[0];
    EXPECT_EQ(location.locId, 3u);
    EXPECT_EQ(location.srcCodeAux, 70000u);
    EXPECT_EQ(location.srcCodeFileRaw, "v.cpp");
    EXPECT_EQ(location.args.argFlags, (std::vector<unsigned>{1, 255}));
    EXPECT_EQ(location.args.argSize, (std::vector<unsigned>{4, 16382}));
    EXPECT_EQ(location.args.argType, (std::vector<std::string>{"int", "P"}));
    EXPECT_EQ(location.args.retType, "string");
    EXPECT_EQ(location.args.retSize, 16383u);
    EXPECT_EQ(location.callerName, "Set");
    EXPECT_EQ(location.packageName, "pack");
    EXPECT_EQ(store->GetCallLocationWithPID(3, kPid).callerName, "Set");
}

TEST_F(QxCallLocationTest, NoArgumentsCarryNothing) {
    Item(kLocation, Location(3));
    EXPECT_TRUE(store->locations.at(0).args.argType.empty());
    EXPECT_TRUE(store->locations.at(0).args.argFlags.empty());
}

TEST_F(QxCallLocationTest, RefusesOneByteMore) {
    EXPECT_EQ(Item(kLocation, std::string(Location(3)) + "x"), kInvalidSize);
    EXPECT_EQ(Logged("[QxCallLocation::Append] Throwing Invalid Size..", DLOG_ERROR), 1);
    EXPECT_TRUE(store->locations.empty());
}

TEST_F(QxCallLocationTest, NamesTheFieldThatIsTooLong) {
    struct Row {
        std::string before;
        const char* field;
    };
    const Row rows[] = {{"\x00"s, "srcCodeFileRaw, size"},
                        {"\x00\x00\x03\x01\x01\x04"s, "argType,  argTypeSize"},
                        {"\x00\x00\x03\x00"s, "args.retType, size"},
                        {"\x00\x00\x03\x00\x00\x00"s, "callerName, size"},
                        {"\x00\x00\x03\x00\x00\x00\x00"s, "packageName, size"}};
    for (const Row& row : rows) {
        const std::string payload = row.before +
                                    "\x05"
                                    "abcd";
        EXPECT_EQ(Item(kLocation, payload), kInvalidSize);
        EXPECT_EQ(Logged("[QxCallLocation::Append] Invalid size for "s + row.field + "+offset: " +
                             std::to_string(payload.size() + 1) + ", payload.size: " + std::to_string(payload.size()),
                         DLOG_ERROR),
                  1)
            << row.field;
    }
}

TEST_F(QxCallLocationTest, RefusesEveryPrefix) {
    ExpectNoPrefixIsAccepted(kLocation, Location(3).Arg("int", kIn, 4).Arg("int", kIn, 300).Returns("int", 4));
}

}  // namespace
