#include "QxSubscriptions.h"

#include <gtest/gtest.h>

#include <vector>

#include "ExactBytes.h"
#include "QxData.h"
#include "QxXMLLoader.h"

namespace {

class QxSubscriptionsTest : public testing::Test {
protected:
    IQxData::_HSScriptPtr& Load(const std::string& xml) {
        ExactBytes text(xml);
        EXPECT_TRUE(QxXMLLoader::Parse(text.Pair(), m_store));
        IQxData::_HSScript* slot = nullptr;
        return **m_store->GetScript(&slot);
    }

    // "method of action: number of the action's element", in the table's order.
    static std::vector<std::string> Subscribed(const IQxData::_HSScriptPtr& root) {
        QxSubscriptions table;
        qxscript::Subscribe(root, table);
        std::vector<std::string> texts;
        for (const auto& [key, action] : table) {
            std::size_t number = 0;
            while (root.children[number] != action) ++number;
            texts.push_back(key.first + " of " + key.second + ": " + std::to_string(number));
        }
        return texts;
    }

    std::shared_ptr<QxData> m_store = std::make_shared<QxData>();
};

using Texts = std::vector<std::string>;

TEST_F(QxSubscriptionsTest, AMethodGoesToTheFirstActionOfAName) {
    EXPECT_EQ(Subscribed(Load("<Scenario><x name='b'><method name='M'/><method id='N'/></x>"
                              "<x name='b'><method name='M'/><method name='O'/></x><x name='a'><method name='M'/></x>"
                              "</Scenario>")),
              (Texts{"M of a: 2", "M of b: 0", "N of b: 0", "O of b: 1"}));
}

// Whatever a child of the top element is called, it is an action: its name counts for those that follow.
TEST_F(QxSubscriptionsTest, AMethodBelowTheTopIsAnActionToo) {
    EXPECT_EQ(Subscribed(Load("<Scenario><x name='a'/><method name='M'><method name='K'/></method>"
                              "<x><method name='L'/></x><event/><x><method name='L'/></x></Scenario>")),
              (Texts{"K of M: 1", "L of M: 2"}));
}

TEST_F(QxSubscriptionsTest, PassesOverWhatIsMissing) {
    IQxData::_HSScriptPtr& root = Load("<Scenario><x name='a'><method/><method name='M'/></x></Scenario>");
    root.children.insert(root.children.begin(), nullptr);
    root.children[1]->children.insert(root.children[1]->children.begin(), nullptr);
    QxSubscriptions table;
    Texts nameless;
    qxscript::Subscribe(root, table, [&](const IQxData::_HSScriptPtr& method, const std::string& action) {
        EXPECT_TRUE(method.attributes.empty());
        nameless.push_back(action);
    });
    EXPECT_EQ(table.size(), 1u);
    EXPECT_EQ(nameless, Texts{"a"});
}

TEST_F(QxSubscriptionsTest, TheLastOfRepeatedAttributesCounts) {
    IQxData::_HSScriptPtr element;
    element.attributes = {{"name", "a"}, {"x", "y"}, {"name", "b"}};
    EXPECT_EQ(*qxscript::FindAttribute(element, "name"), "b");
    EXPECT_EQ(qxscript::FindAttribute(element, "Name"), nullptr);
}

}  // namespace
