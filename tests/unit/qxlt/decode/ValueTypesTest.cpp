// Which type is told of each pair that a call holds.
#include "ValueTypes.h"

#include <gmock/gmock.h>

#include "QxFormat.h"

namespace {

using namespace qxlt;
using testing::ElementsAre;

constexpr unsigned kComposite = qxformat::kComposite;
constexpr unsigned kCounted = qxformat::kVariableLength;

IQxData::HSICallArg Pairs(const std::vector<std::string>& names) {
    IQxData::HSICallArg argument;
    for (const std::string& name : names) argument.emplace_back(name, "\1");
    return argument;
}

class ValueTypesTest : public testing::Test {
protected:
    ValueTypesTest() {
        m_store.AppendProcessName(7, "m");
        m_store.AppendCurrentProcess("m");
        m_call.pid = 7;
        m_call.locId = 3;
    }

    void Describe(const std::string& name, IQxData::_HSCompArgDesc descriptor) {
        m_types.Forget();
        m_store.AppendCompArgDesc(name, std::move(descriptor));
    }

    // A site with one argument.
    void SetSite(const std::string& type, unsigned size, unsigned flags = 1) {
        IQxData::_HSCallLocation location;
        location.locId = 3;
        location.args.argType = {type};
        location.args.argFlags = {flags};
        location.args.argSize = {size};
        SetSite(location);
    }
    void SetSite(IQxData::_HSCallLocation& location) {
        m_types.Forget();
        m_store.AppendCallLocation(location);
    }

    // The kinds of the pairs of the call's first argument.
    std::vector<ValueKind> KindsAtEntry(const std::vector<std::string>& names) {
        m_call.args.in = {Pairs(names)};
        return Kinds(m_types.Of(m_call).in, m_call.args.in);
    }

    static std::vector<ValueKind> Kinds(const ArgumentTypes* types, const std::vector<IQxData::HSICallArg>& list) {
        std::vector<ValueKind> kinds;
        if (types == nullptr) return kinds;
        for (std::size_t i = 0; i < list.front().size(); ++i) {
            kinds.push_back(types->front().Of(list.front(), i).kind);
        }
        return kinds;
    }

    QxData m_store;
    ValueTypes m_types{m_store};
    IQxData::HSCall m_call;
};

TEST_F(ValueTypesTest, AreThoseOfTheMomentThatAValueWasRecordedAt) {
    IQxData::_HSCallLocation location;
    location.locId = 3;
    location.args.argType = {"int", "bool", "float", "never"};
    location.args.argFlags = {2, 3, 1, 0};
    location.args.argSize = {4, 1, 4, 4};
    location.args.retType = "string";
    location.args.retSize = kCounted;
    SetSite(location);
    m_call.args.in = {Pairs({""}), Pairs({""})};
    m_call.args.out = {Pairs({""}), Pairs({""})};
    m_call.args.ret = {Pairs({""})};
    const CallTypes types = m_types.Of(m_call);
    ASSERT_EQ(types.in->size(), 2U);
    EXPECT_EQ(types.in->at(0).plain.kind, ValueKind::Bool);
    EXPECT_EQ(types.in->at(1).plain.kind, ValueKind::Float);
    EXPECT_EQ(types.out->at(0).plain.kind, ValueKind::Signed);
    EXPECT_EQ(types.out->at(1).plain.kind, ValueKind::Bool);
    EXPECT_EQ(types.ret->at(0).plain.kind, ValueKind::Text);
}

// A log record carries whatever its site declares.
TEST_F(ValueTypesTest, OfALogRecordAreThoseOfAllArguments) {
    SetSite("int", 4, 0);
    EXPECT_THAT(KindsAtEntry({""}), ElementsAre(ValueKind::Signed));
}

TEST_F(ValueTypesTest, OfNestedMembersStandInTheOrderOfTheirPairs) {
    Describe("Point", {0, {"x", "y"}, {4, 1}, {"int", "bool"}});
    Describe("Line", {0, {"from", "name"}, {kComposite, kCounted}, {"Point", "string"}});
    SetSite("Line", kComposite);
    EXPECT_THAT(KindsAtEntry({"x", "y", "from", "name"}),
                ElementsAre(ValueKind::Signed, ValueKind::Bool, ValueKind::Untold, ValueKind::Text));
}

TEST_F(ValueTypesTest, OfAContainerRepeat) {
    Describe("vector<Point>", {1, {"x", "y"}, {4, 1}, {"int", "bool"}});
    SetSite("vector<Point>", kComposite);
    EXPECT_THAT(KindsAtEntry({"x", "y", "x", "y"}),
                ElementsAre(ValueKind::Signed, ValueKind::Bool, ValueKind::Signed, ValueKind::Bool));
    EXPECT_THAT(KindsAtEntry({"x", "y", "x"}), ElementsAre(ValueKind::Untold, ValueKind::Untold, ValueKind::Untold));
    EXPECT_THAT(KindsAtEntry({}), ElementsAre());
}

// Members without a name or a type have no entry in their list.
TEST_F(ValueTypesTest, OfMembersWithoutNamesAreTold) {
    Describe("string", {0, {}, {kCounted}, {"string"}});
    SetSite("string", kComposite);
    EXPECT_THAT(KindsAtEntry({""}), ElementsAre(ValueKind::Text));
    Describe("Two", {0, {"a"}, {4, 4}, {"int"}});
    SetSite("Two", kComposite);
    EXPECT_THAT(KindsAtEntry({"a", ""}), ElementsAre(ValueKind::Signed, ValueKind::Untold));
}

TEST_F(ValueTypesTest, AreNotToldOfPairsThatDoNotFit) {
    Describe("Point", {0, {"x", "y"}, {4, 4}, {"int", "int"}});
    SetSite("Point", kComposite);
    EXPECT_THAT(KindsAtEntry({"x", "z"}), ElementsAre(ValueKind::Signed, ValueKind::Untold));
    EXPECT_THAT(KindsAtEntry({"x"}), ElementsAre(ValueKind::Untold));
    EXPECT_THAT(KindsAtEntry({"x", "y", "x", "y"}), testing::Each(ValueKind::Untold));
    SetSite("int", 4);
    EXPECT_THAT(KindsAtEntry({"", ""}), testing::Each(ValueKind::Untold));
}

TEST_F(ValueTypesTest, AreNotToldOfListsOfAnotherLength) {
    SetSite("int", 4);
    m_call.args.in = {Pairs({""}), Pairs({""})};
    m_call.args.out = {Pairs({""})};
    m_call.args.ret = {Pairs({""}), Pairs({""})};
    const CallTypes types = m_types.Of(m_call);
    EXPECT_EQ(types.in, nullptr);
    EXPECT_EQ(types.out, nullptr);
    EXPECT_EQ(types.ret, nullptr);
    m_call.locId = 99;
    EXPECT_EQ(m_types.Of(m_call).in, nullptr);
}

TEST_F(ValueTypesTest, FollowANewDescription) {
    Describe("Point", {0, {"x"}, {4}, {"int"}});
    SetSite("Point", kComposite);
    EXPECT_THAT(KindsAtEntry({"x"}), ElementsAre(ValueKind::Signed));
    Describe("Point", {0, {"x"}, {4}, {"float"}});
    EXPECT_THAT(KindsAtEntry({"x"}), ElementsAre(ValueKind::Float));
}

// Each type holds the one before it twice: the last one stands for more pairs than any machine could keep.
TEST_F(ValueTypesTest, AreNotToldOfTypesWithoutEnd) {
    Describe("T0", {0, {"x"}, {4}, {"int"}});
    for (int i = 1; i < 60; ++i) {
        const std::string inner = "T" + std::to_string(i - 1);
        Describe("T" + std::to_string(i), {0, {"a", "b"}, {kComposite, kComposite}, {inner, inner}});
    }
    SetSite("T59", kComposite);
    EXPECT_THAT(KindsAtEntry({"x"}), ElementsAre(ValueKind::Untold));
    Describe("Self", {0, {"x"}, {kComposite}, {"Self"}});
    SetSite("Self", kComposite);
    EXPECT_THAT(KindsAtEntry({"x"}), ElementsAre(ValueKind::Untold));
}

}  // namespace
