#include "QxXMLLoader.h"

#include <gtest/gtest.h>

#include <new>
#include <set>

#include "Diagnostics.h"
#include "ExactBytes.h"
#include "QxData.h"
#include "SystemCalls.h"
#include "dlog.h"

namespace {

class QxXMLLoaderTest : public testing::Test {
protected:
    bool Load(const std::string& xml) {
        ExactBytes text(xml);
        return QxXMLLoader::Parse(text.Pair(), store);
    }
    IQxData::_HSScriptPtr* Root() {
        IQxData::_HSScript* slot = nullptr;
        store->GetScript(&slot);
        return *slot;
    }
    std::shared_ptr<QxData> store = std::make_shared<QxData>();
};

TEST_F(QxXMLLoaderTest, AnEmptyTextFails) {
    EXPECT_FALSE(Load(""));
    std::pair<int, char*> negative(-1, nullptr);
    EXPECT_FALSE(QxXMLLoader::Parse(negative, store));
    EXPECT_EQ(Root(), nullptr);
}

TEST_F(QxXMLLoaderTest, ATopElementAloneIsARootWithoutChildren) {
    ASSERT_TRUE(Load("<Scenario/>"));
    EXPECT_EQ(Root()->name, "Scenario");
    EXPECT_TRUE(Root()->children.empty());
    EXPECT_EQ(Root()->parent, nullptr);
}

TEST_F(QxXMLLoaderTest, KeepsElementsAndAttributesInDocumentOrder) {
    ASSERT_TRUE(Load("<?xml version='1.0'?><!-- c --><S z='1' a='2 &amp; 3'>text<b/><?pi x?><c q='&gt;'/></S>"));
    using Attributes = std::vector<std::pair<std::string, std::string>>;
    EXPECT_EQ(Root()->attributes, (Attributes{{"z", "1"}, {"a", "2 & 3"}}));
    ASSERT_EQ(Root()->children.size(), 2u);
    EXPECT_EQ(Root()->children[0]->name, "b");
    EXPECT_EQ(Root()->children[1]->attributes, (Attributes{{"q", ">"}}));
    EXPECT_EQ(Root()->children[1]->parent, Root());
}

TEST_F(QxXMLLoaderTest, ASecondScriptHangsBelowTheFirst) {
    ASSERT_TRUE(Load("<Scenario><a/></Scenario>"));
    IQxData::_HSScriptPtr* const root = Root();
    ASSERT_TRUE(Load("<Scenario><b/></Scenario>"));
    EXPECT_EQ(Root(), root);
    ASSERT_EQ(root->children.size(), 2u);
    EXPECT_EQ(root->children[1]->name, "Scenario");
    EXPECT_EQ(root->children[1]->children.at(0)->name, "b");
}

// Nothing but the document type's own length bounds what it adds to every element.
TEST_F(QxXMLLoaderTest, ADocumentTypeAddsAttributesInProportionToTheText) {
    const auto script = [](int defaults, int elements) {
        std::string text = "<!DOCTYPE S [<!ATTLIST x";
        for (int i = 0; i < defaults; ++i) text += " d" + std::to_string(i) + " CDATA '" + std::string(1000, 'v') + "'";
        text += ">]><S a='1'>\n";
        for (int i = 0; i < elements; ++i) text += "<x own='2'/>";
        return text + "</S>";
    };
    const Diagnostics diagnostics(Major);
    ASSERT_TRUE(Load(script(10, 50)));
    ASSERT_EQ(Root()->children.size(), 50u);
    EXPECT_EQ(Root()->children[49]->attributes.size(), 11u);
    EXPECT_EQ(Root()->children[49]->attributes[0].first, "own");
    EXPECT_TRUE(RecordingLog::Lines().empty());
    EXPECT_FALSE(Load(script(10, 2000)));
    EXPECT_EQ(
        RecordingLog::Messages(DLOG_ERROR),
        std::vector<std::string>{"[QxXMLLoader::Parse] The document type gives elements too many attributes, line: 2"});
}

// 1 MiB and 16 for each byte of the text, of which each name and value takes 32 and its characters.
TEST_F(QxXMLLoaderTest, ADocumentTypeAddsUpToTheLimitAndNotOneMore) {
    constexpr std::size_t kElements = 17;
    const auto script = [](std::size_t valueSize) {
        std::string text = "<!DOCTYPE S [<!ATTLIST x d CDATA '" + std::string(valueSize, 'v') + "'>]><S>";
        for (std::size_t i = 0; i < kElements; ++i) text += "<x/>";
        return text + "</S>";
    };
    // What 17 values take grows by 17 with each byte of the value, what is allowed by 16.
    const std::size_t allowed = 1048576 + 16 * script(0).size();
    const std::size_t fits = allowed - kElements * (32 + 1 + 32);
    EXPECT_TRUE(Load(script(fits)));
    EXPECT_EQ(Root()->children.size(), kElements);
    EXPECT_FALSE(Load(script(fits + 1)));
}

TEST_F(QxXMLLoaderTest, AScriptThatFailsLeavesTheCursorOnTheOpenElement) {
    EXPECT_FALSE(Load("<Scenario><a><b></a></Scenario>"));
    EXPECT_EQ(Root()->name, "b");
    ASSERT_TRUE(Load("<Scenario/>"));
    EXPECT_EQ(Root()->name, "b");
    EXPECT_EQ(Root()->children.at(0)->name, "Scenario");
}

// The parser tells of an empty element's end even when it was stopped at its start.
TEST_F(QxXMLLoaderTest, AnElementThatIsRefusedLeavesTheCursorOnTheOneAroundIt) {
    for (const char* const refused : {"<x/>", "<x></x>", "<x>text"}) {
        store = std::make_shared<QxData>();
        std::string xml = "<!DOCTYPE S [<!ATTLIST x d CDATA '" + std::string(100000, 'v') + "'>]><Scenario><a><b>";
        for (int i = 0; i < 26; ++i) xml += "<x/>";
        EXPECT_FALSE(Load(xml + refused)) << refused;
        ASSERT_EQ(Root()->name, "b") << refused;
        EXPECT_EQ(Root()->children.size(), 26u);
        ASSERT_TRUE(Load("<Scenario/>"));
        EXPECT_EQ(Root()->name, "b");
    }
}

TEST_F(QxXMLLoaderTest, MemoryThatRunsOutLeavesTheCursorOnTheOpenElement) {
    SystemCalls calls;
    std::set<std::string> open;
    ExactBytes text("<Scenario><action-of-some-length><method-of-some-length/></action-of-some-length></Scenario>");
    for (int allowed = 0; allowed < 100; ++allowed) {
        store = std::make_shared<QxData>();
        calls.allocationsLeft = allowed;
        bool failed = false;
        try {
            QxXMLLoader::Parse(text.Pair(), store);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        calls.allocationsLeft = -1;
        if (!failed) break;
        if (Root() == nullptr) continue;
        EXPECT_TRUE(Root()->children.empty()) << allowed << " allocations: " << Root()->name;
        open.insert(Root()->name);
    }
    EXPECT_EQ(open, (std::set<std::string>{"Scenario", "action-of-some-length"}));
}

TEST_F(QxXMLLoaderTest, RefusesWhatIsNotWellFormed) {
    for (const char* const xml :
         {"<a>", "<a></b>", "<a x='1' x='2'/>", "<a/><b/>", "text", "<a b=1/>", "<a>&unknown;</a>"}) {
        store = std::make_shared<QxData>();
        EXPECT_FALSE(Load(xml)) << xml;
    }
}

TEST_F(QxXMLLoaderTest, DepthDoesNotMatter) {
    constexpr int kDepth = 200000;
    std::string xml = "<Scenario>";
    for (int i = 0; i < kDepth; ++i) xml += "<a>";
    for (int i = 0; i < kDepth; ++i) xml += "</a>";
    ASSERT_TRUE(Load(xml + "</Scenario>"));
    EXPECT_EQ(Root()->name, "Scenario");
    store.reset();
}

TEST_F(QxXMLLoaderTest, EntitiesDoNotMultiplyWithoutLimit) {
    std::string xml = "<!DOCTYPE S [<!ENTITY e0 'aaaaaaaaaa'>";
    for (int i = 1; i < 12; ++i) {
        const std::string inner = "&e" + std::to_string(i - 1) + ";";
        xml += "<!ENTITY e" + std::to_string(i) + " '";
        for (int k = 0; k < 10; ++k) xml += inner;
        xml += "'>";
    }
    EXPECT_FALSE(Load(xml + "]><S a='&e11;'/>"));
}

}  // namespace
