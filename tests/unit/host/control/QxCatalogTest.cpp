// The numbers and names that call sites and layouts go by in dumps, and what finds no place.
#include "QxCatalog.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "QxBytes.h"
#include "QxLayout.h"

namespace {

using namespace qxhost;

std::string Record(qxlayout::MetaKind kind, const std::string& content) {
    std::string record;
    AppendInteger(record, content.size() + 1, 4);
    record += static_cast<char>(kind);
    return record + content;
}

std::string Type(std::uint32_t size, const std::string& name) {
    std::string type;
    AppendVarint(type, size);
    AppendText(type, name);
    return type;
}

// A layout of one member, or of many of one kind.
std::string Layout(const std::string& name, const std::string& type, const std::string& member, unsigned count = 1) {
    std::string layout;
    AppendText(layout, name);
    AppendVarint(layout, 0);
    AppendVarint(layout, count);
    for (unsigned i = 0; i < count; ++i) {
        layout += type;
        AppendText(layout, member);
    }
    return Record(qxlayout::kMetaDescriptor, layout);
}

// A call site with one argument of that type, and a result if it has one.
std::string Site(const std::string& type, const std::string& method, const std::string& result = Type(0, "void")) {
    std::string site;
    AppendVarint(site, 12);
    AppendText(site, "file.cpp");
    AppendVarint(site, 1);
    AppendVarint(site, QxArgument::kAtEntry);
    site += type;
    site += result;
    AppendText(site, method);
    AppendText(site, "package");
    return Record(qxlayout::kMetaLocation, site);
}

const std::string kInt = Type(4, "int");

std::string Composite(const std::string& name) {
    return Type(QxType::kComposite, name);
}

// One recording's metadata and its view.
class Recording {
public:
    explicit Recording(const std::string& records) { m_metadata.Append(records); }
    Recording& In(QxCatalog& catalog) {
        catalog.Take(m_metadata, m_view);
        return *this;
    }
    void Append(const std::string& records) { m_metadata.Append(records); }
    const std::vector<std::uint32_t>& Numbers() const { return m_view.numbers; }
    // What the layouts are called in dumps, in order; "-" for those that found no place.
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (const QxDescriptor& descriptor : m_metadata.Descriptors()) {
            const auto found = m_view.typeNames.find(&descriptor);
            names.push_back(found == m_view.typeNames.end() ? "-" : found->second);
        }
        return names;
    }

private:
    QxMetadata m_metadata;
    QxCatalog::View m_view;
};

using Names = std::vector<std::string>;
using Numbers = std::vector<std::uint32_t>;

TEST(QxCatalogTest, WhatIsAlikeIsOne) {
    QxCatalog catalog;
    const std::string records =
        Layout("Point", kInt, "x") + Site(Composite("Point"), "SetPoint") + Site(kInt, "SetVolume");
    EXPECT_EQ(Recording(records).In(catalog).Numbers(), (Numbers{1, 2}));
    const std::string items = catalog.Items();
    Recording second(Site(kInt, "SetVolume"));
    EXPECT_EQ(second.In(catalog).Numbers(), (Numbers{2}));
    second.Append(Layout("Point", kInt, "x") + Site(Composite("Point"), "SetPoint") + Site(kInt, "Mute"));
    EXPECT_EQ(second.In(catalog).Numbers(), (Numbers{2, 1, 3}));
    EXPECT_EQ(second.Names(), Names{"Point"});
    EXPECT_GT(catalog.Items().size(), items.size());
}

TEST(QxCatalogTest, NamesakesGoByNamesOfTheirOwn) {
    QxCatalog catalog;
    EXPECT_EQ(Recording(Layout("Point", kInt, "x")).In(catalog).Names(), Names{"Point"});
    EXPECT_EQ(Recording(Layout("Point#2", kInt, "taken")).In(catalog).Names(), Names{"Point#2"});
    EXPECT_EQ(Recording(Layout("Point", kInt, "y")).In(catalog).Names(), Names{"Point#3"});
    EXPECT_EQ(Recording(Layout("Point", kInt, "z")).In(catalog).Names(), Names{"Point#4"});
    EXPECT_EQ(Recording(Layout("Point", kInt, "y")).In(catalog).Names(), Names{"Point#3"});
    EXPECT_EQ(Recording(Layout("Point", kInt, "x")).In(catalog).Names(), Names{"Point"});
}

// What holds a namesake is another layout, too.
TEST(QxCatalogTest, LayoutsAreToldApartByWhatTheyHold) {
    QxCatalog catalog;
    const std::string line = Layout("Line", Composite("Point"), "from");
    EXPECT_EQ(Recording(Layout("Point", kInt, "x") + line).In(catalog).Names(), (Names{"Point", "Line"}));
    EXPECT_EQ(Recording(Layout("Point", kInt, "y") + line).In(catalog).Names(), (Names{"Point#2", "Line#2"}));
}

// With a look at every namesake before it, each would cost as much as all of them together.
TEST(QxCatalogTest, ManyNamesakesCostNoMoreThanOthers) {
    constexpr std::size_t kCount = 100000;
    QxCatalog catalog;
    std::string last;
    for (std::size_t done = 0; done < kCount; done += qxlayout::kMaxDescriptors) {
        std::string records;
        for (std::size_t i = 0; i < qxlayout::kMaxDescriptors; ++i) {
            records += Layout("A", kInt, std::to_string(done + i));
        }
        last = Recording(records).In(catalog).Names().back();
    }
    EXPECT_EQ(last, "A#" + std::to_string(kCount));
}

TEST(QxCatalogTest, ItemsFitIntoADump) {
    constexpr std::size_t kUnpacked = 64 << 20;
    const std::string longName(4096, 'n');
    QxCatalog catalog;
    std::string records;
    for (unsigned i = 0; i < 20; ++i) records += Layout("Big" + std::to_string(i), kInt, longName, 1000);
    for (unsigned i = 0; i < 20; ++i) records += Site(Composite("Big" + std::to_string(i)), "Set" + std::to_string(i));
    records += Layout("Bigger", Composite("Big19"), "big");
    records += Site(Composite("Bigger"), "SetBigger") + Site(kInt, "SetVolume");
    Recording recording(records);
    recording.In(catalog);
    EXPECT_LT(catalog.Items().size(), kUnpacked);
    EXPECT_EQ(recording.Names()[0], "Big0");
    EXPECT_EQ(recording.Names()[7], "Big7");
    EXPECT_EQ(recording.Names()[8], "-");
    EXPECT_EQ(recording.Names()[20], "-");
    EXPECT_EQ(recording.Numbers()[7], 8u);
    EXPECT_EQ(recording.Numbers()[8], 0u);
    EXPECT_EQ(recording.Numbers()[20], 0u);
    // What is small has place still.
    EXPECT_EQ(recording.Numbers()[21], 9u);
}

// To the byte: what is left is just enough for one, and not for the same with a longer name.
TEST(QxCatalogTest, ItemsTakeAtMost32MiB) {
    constexpr std::size_t kMax = 32 << 20;
    QxCatalog catalog;
    const std::string longName(4096, 'n');
    for (unsigned i = 0; i < 8; ++i) Recording(Layout("Big" + std::to_string(i), kInt, longName, 1000)).In(catalog);
    for (unsigned i = 0; kMax - catalog.Items().size() > 4000; ++i) {
        const std::string name = "Small" + std::to_string(i);
        EXPECT_EQ(Recording(Layout(name, kInt, std::string(3000, 'n'))).In(catalog).Names(), Names{name});
    }
    // Count, size, container and the sizes of names, and the names themselves.
    const std::size_t left = kMax - catalog.Items().size() - (1 + 1 + 1 + 1 + 2 + 1) - 3 - 4;
    ASSERT_GT(left, 128u);
    EXPECT_EQ(Recording(Layout("Last", kInt, std::string(left + 1, 'n'))).In(catalog).Names(), Names{"-"});
    EXPECT_EQ(Recording(Layout("Last", kInt, std::string(left, 'n'))).In(catalog).Names(), Names{"Last"});
}

TEST(QxCatalogTest, CallSitesHaveNumbersThatTheStoreTellsApart) {
    QxCatalog catalog;
    for (unsigned part = 0; part < 3; ++part) {
        std::string records;
        for (unsigned i = 0; i < 5000; ++i) records += Site(kInt, "Set" + std::to_string(part * 5000 + i));
        Recording recording(records);
        recording.In(catalog);
        EXPECT_EQ(recording.Numbers().front(), part < 2 ? part * 5000 + 1 : 0);
        EXPECT_EQ(recording.Numbers().back(), part == 0 ? 5000u : 0u);
    }
    EXPECT_EQ(Recording(Site(kInt, "Set9998")).In(catalog).Numbers(), Numbers{9999});
    EXPECT_EQ(Recording(Site(kInt, "Set9999")).In(catalog).Numbers(), Numbers{0});
}

// How often a text stands in the items as layouts have it: each byte one less.
std::size_t Shifted(const QxCatalog& catalog, std::string text) {
    for (char& byte : text) byte = static_cast<char>(byte - 1);
    const std::string items = catalog.Items();
    std::size_t count = 0;
    for (std::size_t at = items.find(text); at != std::string::npos; at = items.find(text, at + 1)) ++count;
    return count;
}

TEST(QxCatalogTest, ResultsOfOneTypeShareALayout) {
    QxCatalog catalog;
    const std::string point = Layout("Point", kInt, "x");
    Recording(point + Site(kInt, "A", kInt) + Site(kInt, "B", kInt) + Site(kInt, "C", Composite("Point")) +
              Site(kInt, "D", Composite("Point")))
        .In(catalog);
    Recording(Site(kInt, "E", kInt)).In(catalog);
    EXPECT_EQ(Shifted(catalog, "result<int>"), 1u);
    EXPECT_EQ(Shifted(catalog, "result<Point>"), 1u);
    EXPECT_EQ(Shifted(catalog, "Point"), 2u);
}

// A result's layout is that of its type, whichever of the namesakes it is.
TEST(QxCatalogTest, ResultsOfNamesakesAreToldApart) {
    QxCatalog catalog;
    Recording(Layout("Point", kInt, "x") + Site(kInt, "A", Composite("Point"))).In(catalog);
    Recording(Layout("Point", kInt, "y") + Site(kInt, "B", Composite("Point"))).In(catalog);
    Recording(Layout("result<int>", kInt, "z") + Site(Composite("result<int>"), "C", kInt)).In(catalog);
    Recording(Site(kInt, "D", Type(2, "int"))).In(catalog);
    EXPECT_EQ(Shifted(catalog, "result<Point>"), 1u);
    EXPECT_EQ(Shifted(catalog, "result<Point#2>"), 1u);
    EXPECT_EQ(Shifted(catalog, "result<int>#2"), 1u);
    EXPECT_EQ(Shifted(catalog, "result<int>#3"), 1u);
}

// A layout is taken over once for all call sites that return it: else a few bytes each would make megabytes of work.
TEST(QxCatalogTest, ManySitesWithOneLargeResultCostNoMoreThanOthers) {
    const std::string longName(4096, 'n');
    std::string records = Layout("Big", kInt, longName, 1000);
    for (unsigned i = 0; i < 9000; ++i) records += Site(kInt, "Get" + std::to_string(i), Composite("Big"));
    QxCatalog catalog;
    EXPECT_EQ(Recording(records).In(catalog).Numbers().back(), 9000u);
    EXPECT_EQ(Shifted(catalog, "result<Big>"), 1u);
}

// A call site whose result finds no place has none either.
TEST(QxCatalogTest, ResultsFitIntoADump) {
    const std::string longName(4096, 'n');
    std::string records;
    for (unsigned i = 0; i < 6; ++i) records += Layout("Big" + std::to_string(i), kInt, longName, 1000);
    for (unsigned i = 0; i < 6; ++i) {
        records += Site(kInt, "Get" + std::to_string(i), Composite("Big" + std::to_string(i)));
    }
    records += Site(kInt, "GetAgain", Composite("Big5")) + Site(kInt, "GetVolume", kInt);
    QxCatalog catalog;
    EXPECT_EQ(Recording(records).In(catalog).Numbers(), (Numbers{1, 2, 0, 0, 0, 0, 0, 3}));
    EXPECT_LT(catalog.Items().size(), 33u << 20);
}

TEST(QxCatalogTest, ExitsSayWhetherThereIsAResult) {
    QxMetadata metadata;
    std::string list;
    AppendText(list, "List");
    AppendVarint(list, 1);
    AppendVarint(list, 1);
    list += kInt;
    AppendText(list, "");
    metadata.Append(Record(qxlayout::kMetaDescriptor, list) + Site(kInt, "None") + Site(kInt, "Int", kInt) +
                    Site(kInt, "List", Composite("List")));
    const auto exit = [&metadata](std::size_t site, const std::string& values) {
        const QxLocation& location = metadata.Locations()[site];
        const std::size_t resultAt = QxMetadata::CheckExit(location, values.data(), values.size());
        return QxCatalog::ExitValues(location, values, resultAt);
    };
    EXPECT_EQ(exit(0, ""), "");
    EXPECT_EQ(exit(1, ""), std::string(1, '\0'));
    EXPECT_EQ(exit(1, "abcd"),
              "\1"
              "abcd");
    EXPECT_EQ(exit(2, ""), std::string(1, '\0'));
    EXPECT_EQ(exit(2, std::string(1, '\0')), std::string(1, '\0'));
    EXPECT_EQ(exit(2,
                   "\2"
                   "abcdefgh"),
              "\2"
              "abcdefgh");
    for (const char* const damaged : {"abc", "abcde"}) EXPECT_THROW(exit(1, damaged), QxDamage) << damaged;
    EXPECT_THROW(exit(0, "a"), QxDamage);
}

TEST(QxMetadataTest, ThreadNamesAreAsManyAsTheRecorderGives) {
    QxMetadata metadata;
    for (std::size_t i = 0; i < qxlayout::kMaxNames; ++i) metadata.Append(Record(qxlayout::kMetaName, "main"));
    EXPECT_EQ(metadata.Name(qxlayout::kMaxNames), "main");
    EXPECT_THROW(metadata.Append(Record(qxlayout::kMetaName, "main")), QxDamage);
}

}  // namespace
