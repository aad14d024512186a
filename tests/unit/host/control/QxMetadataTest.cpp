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
        {Layout("A", "int", 9), "a type has no valid size"},
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
