#include "QxCompCallParser.h"

#include "Decoding.h"

namespace {

using namespace dump;
using namespace std::string_literals;

class QxCompCallParserTest : public Decoding {
protected:
    // Decodes the value by the layout of the type; the pairs, with the values as they were traced.
    std::vector<std::pair<std::string, std::string>> Pairs(const std::string& type, const std::string& bytes) {
        ExactBytes exact(bytes);
        IQxData::_HSCompArgDesc desc;
        store->GetCompArgDesc(desc, type);
        IQxData::HSICallArg pairs(5, {"what stood there", "before, and is written over"});
        QxCursor cursor(exact.Data(), exact.Size(), "Test::Reads", parser.Log());
        QxCompCallParser::Parse(cursor, desc, pairs, parser);
        m_taken = cursor.Offset();
        for (auto& pair : pairs) {
            for (char& byte : pair.second) byte = static_cast<char>(static_cast<unsigned char>(byte) - 1);
        }
        return pairs;
    }
    void Describe(const std::string& descriptor) { ASSERT_GE(Item(kDescriptor, descriptor), 0); }

    using List = std::vector<std::pair<std::string, std::string>>;
    std::size_t m_taken = 0;
};

TEST_F(QxCompCallParserTest, ReadsMembersInOrder) {
    Describe(Descriptor("T").Member("a", 2).Member("b", 0).Member("c", kVariableSize).Member("d", 1));
    EXPECT_EQ(Pairs("T",
                    "xy\x03"
                    "fooz"),
              (List{{"a", "xy"}, {"b", ""}, {"c", "foo"}, {"d", "z"}}));
    EXPECT_EQ(m_taken, 7u);
}

TEST_F(QxCompCallParserTest, ALayoutWithoutMembersTakesNothing) {
    EXPECT_EQ(Pairs("unknown", "abc"), List());
    EXPECT_EQ(m_taken, 0u);
}

TEST_F(QxCompCallParserTest, AFixedNestedMemberGivesItsMembersThenItself) {
    Describe(Descriptor("In").Member("x", 1));
    Describe(Descriptor("T").Member("n", kCompositeSize, "In").Member("a", 1));
    EXPECT_EQ(Pairs("T", "pq"), (List{{"x", "p"}, {"n", ""}, {"a", "q"}}));
}

TEST_F(QxCompCallParserTest, AMarkedNestedMemberGivesItsMembersOnly) {
    Describe(Descriptor("In").Member("x", 1));
    Describe(Descriptor("T").Member("n", kVariableSize, "In").Member("a", 1));
    EXPECT_EQ(Pairs("T", Varint(kCompositeSize) + "pq"), (List{{"x", "p"}, {"a", "q"}}));
}

TEST_F(QxCompCallParserTest, ANestedMemberOfUnknownTypeGivesItselfAlone) {
    Describe(Descriptor("T").Member("n", kCompositeSize, "Nobody").Member("a", 1));
    EXPECT_EQ(Pairs("T", "q"), (List{{"n", ""}, {"a", "q"}}));
}

TEST_F(QxCompCallParserTest, LengthsOfNothingGiveEmptyValues) {
    Describe(Descriptor("T").Member("a", kVariableSize).Member("b", kVariableSize));
    EXPECT_EQ(Pairs("T", "\0"s + Varint(kVariableSize)), (List{{"a", ""}, {"b", ""}}));
}

TEST_F(QxCompCallParserTest, SizesKeepSixteenBits) {
    Describe(Descriptor("T").Member("a", 65536 + 2).Member("b", kVariableSize));
    EXPECT_EQ(Pairs("T", "xy" + Varint(65536 + 1) + "z"), (List{{"a", "xy"}, {"b", "z"}}));
}

TEST_F(QxCompCallParserTest, MembersBeyondTheListsHaveNoName) {
    Describe(Descriptor("T").Member("", 1).Member("b", 1));
    // The nameless member made no entry: the first name goes to the first member.
    EXPECT_EQ(Pairs("T", "xy"), (List{{"b", "x"}, {"", "y"}}));
}

TEST_F(QxCompCallParserTest, AContainerIsACountAndItsElements) {
    Describe(Descriptor("T", true).Member("a", 1).Member("b", 1));
    EXPECT_EQ(Pairs("T", "\0"s), List());
    EXPECT_EQ(m_taken, 1u);
    EXPECT_EQ(Pairs("T",
                    "\x03"
                    "pqrstu"),
              (List{{"a", "p"}, {"b", "q"}, {"a", "r"}, {"b", "s"}, {"a", "t"}, {"b", "u"}}));
    EXPECT_EQ(Pairs("T", Varint(0x80000000u)), List()) << "a negative count";
    EXPECT_EQ(m_taken, 5u);
}

TEST_F(QxCompCallParserTest, ANestedContainerIsReadAsOneComposite) {
    Describe(Descriptor("In", true).Member("x", 1));
    Describe(Descriptor("T").Member("n", kCompositeSize, "In"));
    EXPECT_EQ(Pairs("T", "p"), (List{{"x", "p"}, {"n", ""}}));
}

TEST_F(QxCompCallParserTest, AContainerOfElementsThatLeaveNoTraceEndsAfterTheFirst) {
    Describe(Descriptor("T", true));
    EXPECT_EQ(Pairs("T", Varint(0x7FFFFFFF)), List());
    Describe(Descriptor("U", true).Member("n", kVariableSize, "T"));
    EXPECT_THROW(Pairs("U", Varint(0x7FFFFFFF)), QxData::_PERR_TYPE) << "its length is missing";
}

TEST_F(QxCompCallParserTest, RefusesEveryCut) {
    Describe(Descriptor("T", true).Member("a", 2).Member("b", kVariableSize));
    const std::string whole =
        "\x02"
        "ab\x02"
        "cd"
        "ef\x01g";
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_THROW(Pairs("T", Cut(whole, size)), QxData::_PERR_TYPE) << size;
    }
    EXPECT_EQ(Pairs("T", whole).size(), 4u);
}

TEST_F(QxCompCallParserTest, CompositesNestSixtyFourDeep) {
    // T0 holds T1 holds ... The last one has a plain member.
    for (int i = 0; i < 70; ++i) {
        Describe(Descriptor("T" + std::to_string(i)).Member("n", kCompositeSize, "T" + std::to_string(i + 1)));
    }
    Describe(Descriptor("T70").Member("x", 1));
    EXPECT_EQ(Pairs("T7", "p").size(), 64u);
    EXPECT_THROW(Pairs("T6", "p"), QxData::_PERR_TYPE);
    EXPECT_EQ(Logged("[QxCompCallParser::ParseComposite] Composites nest deeper than 64", DLOG_ERROR), 1);
}

TEST_F(QxCompCallParserTest, ALayoutThatNamesItselfIsRefused) {
    Describe(Descriptor("T").Member("n", kCompositeSize, "T"));
    EXPECT_THROW(Pairs("T", "p"), QxData::_PERR_TYPE);
    Describe(Descriptor("U").Member("a", kCompositeSize, "U").Member("b", kCompositeSize, "U"));
    EXPECT_THROW(Pairs("U", "p"), QxData::_PERR_TYPE);
}

TEST_F(QxCompCallParserTest, OneValueYieldsAMillionPairsAndNoMore) {
    Describe(Descriptor("T", true).Member("a", 0));
    EXPECT_EQ(Pairs("T", Varint(1048576)).size(), 1048576u);
    EXPECT_THROW(Pairs("T", Varint(1048577)), QxData::_PERR_TYPE);
    EXPECT_THROW(Pairs("T", Varint(0x7FFFFFFF)), QxData::_PERR_TYPE);
}

TEST_F(QxCompCallParserTest, OneDumpYieldsPairsInProportionToItsBytes) {
    // Two values of 600,000 pairs each are too many for so small a dump.
    const std::string dump =
        Persistent({dump::Item(kDescriptor, Descriptor("T", true).Member("a", 0)),
                    dump::Item(kLocation, Location(1).Arg("T", kIn, kCompositeSize).Arg("T", kIn, kCompositeSize))});
    EXPECT_EQ(Decode(dump + Persistent(dump::Item(kBefore, Before(1, 1, Varint(600000) + Varint(400000))))), 1);
    EXPECT_EQ(Decode(dump + Persistent(dump::Item(kBefore, Before(1, 1, Varint(600000) + Varint(600000))))), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many argument pairs", DLOG_ERROR), 1);
}

TEST_F(QxCompCallParserTest, OneLongNameDoesNotFillTheMemory) {
    const std::string dump =
        Persistent({dump::Item(kDescriptor, Descriptor("T", true).Member(std::string(60000, 'n'), 0)),
                    dump::Item(kLocation, Location(1).Arg("T", kIn, kCompositeSize)),
                    dump::Item(kBefore, Before(1, 1, Varint(1000000)))});
    EXPECT_EQ(Decode(dump), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many name bytes", DLOG_ERROR), 1);
}

// Each value's type is looked up by its name, which takes as long as the name is.
TEST_F(QxCompCallParserTest, OneLongTypeNameDoesNotTakeForEver) {
    const std::string type(65000, 't');
    const std::string dump =
        Persistent({dump::Item(kDescriptor, Descriptor("T", true).Member("", kCompositeSize, type)),
                    dump::Item(kLocation, Location(1).Arg("T", kIn, kCompositeSize)),
                    dump::Item(kLocation, Location(2).Arg(type, kIn, kCompositeSize))});
    const auto calls = [](unsigned count) {
        std::string items;
        for (unsigned i = 0; i < count; ++i) items += dump::Item(kBefore, Before(1, 2));
        return Persistent(items);
    };
    EXPECT_EQ(Decode(dump + Persistent(dump::Item(kBefore, Before(1, 1, Varint(1000))))), 1);
    EXPECT_EQ(Decode(dump + calls(1000)), 1);
    EXPECT_EQ(Decode(dump + Persistent(dump::Item(kBefore, Before(1, 1, Varint(2000))))), 0);
    EXPECT_EQ(Decode(dump + calls(2000)), 0);
    EXPECT_EQ(Logged("[QxDumpBudget::Take] The dump holds too many name bytes", DLOG_ERROR), 2);
}

TEST_F(QxCompCallParserTest, BareBytesGiveTheSame) {
    Describe(Descriptor("T", true).Member("a", 1));
    IQxData::_HSCompArgDesc desc;
    store->GetCompArgDesc(desc, "T");
    char bytes[] =
        "\x02"
        "pq";
    IQxData::HSICallArg pairs;
    EXPECT_EQ(QxCompCallParser::Parse(bytes, desc, pairs, &parser), 3);
    EXPECT_EQ(QxCompCallParser::ParseContainer(bytes, desc, pairs, &parser), 3);
    EXPECT_EQ(QxCompCallParser::ParseComposite(bytes, desc, pairs, &parser), 1);
    EXPECT_EQ(pairs.size(), 5u);
}

TEST_F(QxCompCallParserTest, AValueChoosesHowDeepALayoutThatNamesItselfGoes) {
    Describe(Descriptor("T").Member("n", kVariableSize, "T"));
    const auto nested = [](int levels) {
        std::string bytes;
        for (int i = 1; i < levels; ++i) bytes += Varint(kCompositeSize);
        return bytes + Variable("x");
    };
    EXPECT_EQ(Pairs("T", nested(64)), (List{{"n", "x"}}));
    EXPECT_THROW(Pairs("T", nested(65)), QxData::_PERR_TYPE);
    EXPECT_EQ(Logged("[QxCompCallParser::ParseComposite] Composites nest deeper than 64", DLOG_ERROR), 1);
}

TEST_F(QxCompCallParserTest, ATreeOfLayoutsIsHeldToThePairs) {
    // Two members at each of 60 levels: 2^60 values of no bytes.
    for (int i = 0; i < 60; ++i) {
        const std::string next = "T" + std::to_string(i + 1);
        Describe(
            Descriptor("T" + std::to_string(i)).Member("a", kCompositeSize, next).Member("b", kCompositeSize, next));
    }
    EXPECT_THROW(Pairs("T0", ""), QxData::_PERR_TYPE);
    EXPECT_EQ(Logged("[QxCompCallParser::Parse] One value holds too many argument pairs", DLOG_ERROR), 1);
}

}  // namespace
