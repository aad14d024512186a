#include "QxCompCallArg.h"

#include "Decoding.h"

namespace {

using namespace dump;
using QxCompCallArgTest = Decoding;
using namespace std::string_literals;

TEST_F(QxCompCallArgTest, ReadStringArgAddsOneToEachByte) {
    std::string out = "x";
    EXPECT_EQ(ReadStringArg("\x60\xFF\x61", 3, out), 3u);
    EXPECT_EQ(out, "xa\0b"s);
    EXPECT_EQ(out.c_str()[out.size()], '\0') << "the text's own end is none of its bytes";
    EXPECT_EQ(ReadStringArg("", 0, out), 0u);
}

TEST_F(QxCompCallArgTest, ReadStringArgReportsNoBuffer) {
    std::string out = "x";
    EXPECT_EQ(ReadStringArg(nullptr, 5, out), 5u);
    EXPECT_EQ(out, "x");
    EXPECT_EQ(Logged("[ReadStringArg] pBuffer is NULL", DLOG_ERROR), 1);
}

TEST_F(QxCompCallArgTest, KeepsTheLayoutUnderItsName) {
    // By hand: one member of 4 bytes, type "i" sent as "h", name "b" sent as "a", type name "T" sent as "S", a
    // container.
    EXPECT_EQ(Item(kDescriptor,
                   "\x01\x04\x01"
                   "h\x01"
                   "a\x01"
                   "S\x05"s),
              9);
    ASSERT_EQ(store->descriptors.size(), 1u);
    EXPECT_EQ(store->descriptors[0].first, "T");
    const IQxData::_HSCompArgDesc& desc = store->descriptors[0].second;
    EXPECT_EQ(desc.isContainer, 1);
    EXPECT_EQ(desc.memberSizes, std::vector<unsigned>{4});
    EXPECT_EQ(desc.memberTypes, std::vector<std::string>{"i"});
    EXPECT_EQ(desc.memberNames, std::vector<std::string>{"b"});
}

TEST_F(QxCompCallArgTest, EmptyNamesMakeNoEntries) {
    Item(kDescriptor, Descriptor("").Member("", 1, "").Member("y", 2, ""));
    const auto& entry = store->descriptors.at(0);
    EXPECT_EQ(entry.first, "");
    EXPECT_EQ(entry.second.memberSizes.size(), 2u);
    EXPECT_EQ(entry.second.memberNames, std::vector<std::string>{"y"});
    EXPECT_TRUE(entry.second.memberTypes.empty());
}

TEST_F(QxCompCallArgTest, ALaterLayoutReplacesAnEarlierOne) {
    Item(kDescriptor, Descriptor("T").Member("a", 1));
    Item(kDescriptor, Descriptor("T").Member("b", 1));
    IQxData::_HSCompArgDesc desc;
    store->GetCompArgDesc(desc, "T");
    EXPECT_EQ(desc.memberNames, std::vector<std::string>{"b"});
}

TEST_F(QxCompCallArgTest, RefusesOneByteMore) {
    EXPECT_EQ(Item(kDescriptor, std::string(Descriptor("T").Member("a", 1)) + "x"), kInvalidSize);
    EXPECT_EQ(Logged("QxCompCallArg, Append.. Throwing Invalid size..", DLOG_ERROR), 1);
    EXPECT_TRUE(store->descriptors.empty());
}

TEST_F(QxCompCallArgTest, RefusesEveryPrefix) {
    ExpectNoPrefixIsAccepted(kDescriptor, Descriptor("T").Member("a", 300).Member("b", kVariableSize));
}

}  // namespace
