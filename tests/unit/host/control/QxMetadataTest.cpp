// What a recording describes is checked to the byte.
#include "QxMetadata.h"

#include <gtest/gtest.h>

#include <string>

#include "QxBytes.h"
#include "QxLayout.h"

namespace {

using namespace qxlayout;

std::string Record(MetaKind kind, const std::string& content) {
    std::string record;
    qxhost::AppendInteger(record, content.size() + 1, 4);
    record += static_cast<char>(kind);
    return record + content;
}

std::string Layout(const std::string& name, const std::string& type, unsigned size, bool isContainer = false,
                   unsigned memberCount = 1) {
    std::string content;
    qxhost::AppendText(content, name);
    qxhost::AppendVarint(content, isContainer ? 1 : 0);
    qxhost::AppendVarint(content, memberCount);
    for (unsigned i = 0; i < memberCount; ++i) {
        qxhost::AppendVarint(content, size);
        qxhost::AppendText(content, type);
        qxhost::AppendText(content, "m");
    }
    return Record(kMetaDescriptor, content);
}

TEST(QxMetadata, RefusesWhatNoRecorderWrites) {
    const struct {
        std::string records;
        const char* reason;
    } rows[] = {
        {Layout("A", "A", 16382), "a type has no layout"},
        {Layout("A", "int", 0), "a type has no valid size"},
        {Layout("A", "int", 17), "a type has no valid size"},
        {Layout("L", "int", 4, true) + Layout("A", "L", 16382), "a list lies within a layout"},
        {Record(kMetaDescriptor, std::string("\1A\0\0", 4)), "a layout has no members"},
        {Record(static_cast<MetaKind>(9), ""), "its metadata holds a record of no known kind"},
        {Record(kMetaLocation, "\1"), "a value runs past the end of its record"},
        {Layout("A", "int", 4) + "\xFF", "a value runs past the end of its record"},
        {Record(kMetaDescriptor, Layout("A", "int", 4).substr(5) + "x"), "a record holds more than its values"},
    };
    for (const auto& row : rows) {
        qxhost::QxMetadata metadata;
        try {
            metadata.Append(row.records);
            ADD_FAILURE() << row.reason;
        } catch (const qxhost::QxDamage& damage) {
            EXPECT_STREQ(damage.what(), row.reason);
        }
    }
}

TEST(QxMetadata, LayoutsNestSixtyDeepAndNoDeeper) {
    std::string records = Layout("0", "int", 4);
    for (int i = 1; i < 60; ++i) records += Layout(std::to_string(i), std::to_string(i - 1), 16382);
    qxhost::QxMetadata good;
    good.Append(records);
    EXPECT_EQ(good.Descriptors().size(), 60u);
    qxhost::QxMetadata bad;
    EXPECT_THROW(bad.Append(records + Layout("60", "59", 16382)), qxhost::QxDamage);
}

std::string Site(const std::string& method, std::size_t argumentCount, unsigned flags = 1) {
    std::string content;
    qxhost::AppendVarint(content, 7);
    qxhost::AppendText(content, "file.cpp");
    qxhost::AppendVarint(content, argumentCount);
    for (std::size_t i = 0; i < argumentCount; ++i) {
        qxhost::AppendVarint(content, flags);
        qxhost::AppendVarint(content, 8);
        qxhost::AppendText(content, "long");
    }
    qxhost::AppendVarint(content, 0);
    qxhost::AppendText(content, "void");
    qxhost::AppendText(content, method);
    qxhost::AppendText(content, "p");
    return Record(kMetaLocation, content);
}

// The reason for which records are refused; "none" when they are taken.
std::string Refusal(const std::string& records) {
    qxhost::QxMetadata metadata;
    try {
        metadata.Append(records);
    } catch (const qxhost::QxDamage& damage) {
        return damage.what();
    }
    return "none";
}

TEST(QxMetadata, EachPartHasItsLimit) {
    EXPECT_EQ(Refusal(Site(std::string(4096, 'm'), 1)), "none");
    EXPECT_EQ(Refusal(Site(std::string(4097, 'm'), 1)), "a name is too long");
    EXPECT_EQ(Refusal(Site("m", 1024)), "none");
    EXPECT_EQ(Refusal(Site("m", 1025)), "a call site or layout has too many parts");
    EXPECT_EQ(Refusal(Site("m", 1, 3)), "none");
    EXPECT_EQ(Refusal(Site("m", 1, 4)), "an argument has unknown flags");
    EXPECT_EQ(Refusal(Layout("A", "int", 8)), "none");
    EXPECT_EQ(Refusal(Layout("A", "long double", 16)), "none");
    EXPECT_EQ(Refusal(Layout("A", "int", 4, false, 1025)), "a call site or layout has too many parts");
}

TEST(QxMetadata, ACallSiteComesOutAsItWentIn) {
    qxhost::QxMetadata metadata;
    metadata.Append(Site("first", 2, 3) + Site("second", 0));
    ASSERT_EQ(metadata.Locations().size(), 2u);
    const qxhost::QxLocation& location = metadata.Locations()[0];
    EXPECT_EQ(location.line, 7u);
    EXPECT_EQ(location.file, "file.cpp");
    ASSERT_EQ(location.arguments.size(), 2u);
    EXPECT_EQ(location.arguments[1].flags, 3u);
    EXPECT_EQ(location.arguments[1].type.size, 8u);
    EXPECT_EQ(location.arguments[1].type.name, "long");
    EXPECT_EQ(location.result.size, 0u);
    EXPECT_EQ(location.result.name, "void");
    EXPECT_EQ(location.method, "first");
    EXPECT_EQ(location.package, "p");
    EXPECT_EQ(metadata.Locations()[1].method, "second");
}

// Takes a layout of so many members, so often, and then refuses one with one member, for that reason.
void ExpectFullAfter(std::size_t count, unsigned memberCount, const std::string& reason) {
    qxhost::QxMetadata metadata;
    const std::string layout = Layout("A", "int", 4, false, memberCount);
    for (std::size_t i = 0; i < count; ++i) metadata.Append(layout);
    EXPECT_EQ(metadata.Descriptors().size(), count);
    try {
        metadata.Append(Layout("B", "int", 4));
        ADD_FAILURE() << reason;
    } catch (const qxhost::QxDamage& damage) {
        EXPECT_EQ(damage.what(), reason);
    }
}

TEST(QxMetadata, WhatAProcessDescribesIsBounded) {
    ExpectFullAfter(kMaxDescriptors, 1, "it has too many layouts");
    ExpectFullAfter(kMaxParts / 1024, 1024, "it has too many arguments and members");
}

TEST(QxMetadata, ArgumentsCountLikeMembers) {
    qxhost::QxMetadata metadata;
    const std::string layout = Layout("A", "int", 4, false, 1024);
    for (std::size_t i = 1; i < kMaxParts / 1024; ++i) metadata.Append(layout);
    metadata.Append(Site("m", 1023));
    EXPECT_THROW(metadata.Append(Layout("B", "int", 4, false, 2)), qxhost::QxDamage);
    metadata.Append(Layout("B", "int", 4));
    EXPECT_THROW(metadata.Append(Site("m", 1)), qxhost::QxDamage);
}

TEST(QxMetadata, CallSitesAreAsManyAsTheRecorderGives) {
    qxhost::QxMetadata metadata;
    for (std::size_t i = 0; i < kMaxLocations; ++i) metadata.Append(Site("m", 0));
    try {
        metadata.Append(Site("m", 0));
        ADD_FAILURE() << "one more was taken";
    } catch (const qxhost::QxDamage& damage) {
        EXPECT_STREQ(damage.what(), "it has too many call sites");
    }
}

TEST(QxMetadata, ValuesAreCheckedToTheByte) {
    qxhost::QxMetadata metadata;
    metadata.Append(Layout("Item", "string", 16383, true));
    qxhost::QxLocation location;
    location.AddArgument({1, {"int", 4, nullptr}});
    location.AddArgument({2, {"string", 16383, nullptr}});
    location.AddArgument({1, {"Item", 16382, &metadata.Descriptors()[0]}});
    const std::string good("abcd\2\1x\0", 8);
    qxhost::QxMetadata::CheckEntry(location, good.data(), good.size());
    for (std::size_t size = 0; size < good.size(); ++size) {
        EXPECT_THROW(qxhost::QxMetadata::CheckEntry(location, good.data(), size), qxhost::QxDamage) << size;
    }
    const std::string longer = good + "x";
    EXPECT_THROW(qxhost::QxMetadata::CheckEntry(location, longer.data(), longer.size()), qxhost::QxDamage);
    const std::string endless("abcd\xFF\xFF\xFF\xFF\x0F", 9);
    EXPECT_THROW(qxhost::QxMetadata::CheckEntry(location, endless.data(), endless.size()), qxhost::QxDamage);
    const std::string exit("\3abc", 4);
    qxhost::QxMetadata::CheckExit(location, exit.data(), exit.size());
    EXPECT_THROW(qxhost::QxMetadata::CheckLog(location, good.data(), good.size()), qxhost::QxDamage);
}

TEST(QxMetadata, ALocationKnowsWhichOfItsArgumentsACallRecords) {
    qxhost::QxLocation location;
    for (const unsigned flags : {0u, 1u, 2u, 3u, 0u}) location.AddArgument({flags, {"int", 4, nullptr}});
    EXPECT_EQ(location.arguments.size(), 5u);
    EXPECT_EQ(location.atEntry, (std::vector<std::size_t>{1, 3}));
    EXPECT_EQ(location.atExit, (std::vector<std::size_t>{2, 3}));
}

}  // namespace
