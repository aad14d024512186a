#include "IQxData.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <set>
#include <string>
#include <type_traits>

#include "HeldBytes.h"
#include "VirtualSlots.h"

namespace {

using Call = IQxData::HSCall;
using Element = IQxData::_HSScriptPtr;

using testing::ElementsAre;
using testing::Pair;

Element* Child(Element& parent, std::size_t nameSize) {
    auto* const child = new Element;
    child->name.assign(nameSize, 'x');
    child->parent = &parent;
    parent.children.push_back(child);
    return child;
}

}  // namespace

TEST(IQxData, InstanceMakesANewStoreEachTime) {
    const std::shared_ptr<IQxData> first = IQxData::Instance();
    const std::shared_ptr<IQxData> second = IQxData::Instance();
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_NE(first, second);
    EXPECT_EQ(first.use_count(), 1);
    Call call;
    first->AppendBeforeCall(call);
    EXPECT_EQ(first->GetCallIMap()->size(), 1u);
    EXPECT_TRUE(second->GetCallIMap()->empty());
}

TEST(IQxData, OperationsStandInTheirOrder) {
    const std::vector<std::size_t> slots =
        SlotsOf(&IQxData::clear, &IQxData::clearCalls, &IQxData::AppendHeader, &IQxData::AppendProcessName,
                &IQxData::AppendCurrentProcess, &IQxData::GetScript, &IQxData::AppendCallLocation,
                &IQxData::GetCallLocation, &IQxData::GetCallLocationWithPID, &IQxData::AppendCompArgDesc,
                &IQxData::GetCompArgDesc, &IQxData::AppendBeforeCall, &IQxData::AppendAfterCall, &IQxData::GetCall,
                &IQxData::GetCallIMap, &IQxData::AppendEvent, &IQxData::AppendThread, &IQxData::GetThread,
                &IQxData::ResetThreadTime, &IQxData::SetThreadTime, &IQxData::GetThreadTime, &IQxData::SetCurrentThread,
                &IQxData::GetCurrentThread, &IQxData::ResetLocationMarker, &IQxData::SetLocationMarker,
                &IQxData::GetLocationMarker, &IQxData::GetCurrentPID);
    ASSERT_EQ(slots.size(), 27u);
    for (std::size_t i = 0; i < slots.size(); ++i) EXPECT_EQ(slots[i], i + 2) << "operation " << i + 1;
}

TEST(HSICallArg, IsAListOfNamesAndValues) {
    static_assert(std::is_same<IQxData::HSICallArg, std::vector<std::pair<std::string, std::string>>>::value, "");
    const IQxData::HSICallArg argument = {{"y", "2"}, {"x", "1"}};
    EXPECT_THAT(argument, ElementsAre(Pair("y", "2"), Pair("x", "1")));
}

TEST(HSCall, FieldsStandInTheirOrder) {
    static_assert(std::is_same<decltype(Call::pid), unsigned short>::value, "");
    static_assert(std::is_same<decltype(Call::locId), unsigned int>::value, "");
    static_assert(std::is_same<decltype(Call::extra), unsigned int>::value, "");
    static_assert(std::is_same<decltype(Call::tid), unsigned short>::value, "");
    static_assert(std::is_same<decltype(Call::time), unsigned long long>::value, "");
    static_assert(std::is_same<decltype(Call::exitTime), unsigned long long>::value, "");
    const std::vector<std::size_t> offsets = {offsetof(Call, pid),  offsetof(Call, locId),    offsetof(Call, extra),
                                              offsetof(Call, tid),  offsetof(Call, time),     offsetof(Call, exitTime),
                                              offsetof(Call, args), offsetof(Call, args.out), offsetof(Call, args.ret)};
    EXPECT_EQ(std::set<std::size_t>(offsets.begin(), offsets.end()).size(), offsets.size());
    EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end()));
    EXPECT_EQ(offsetof(Call, args.in), offsetof(Call, args));
}

// Clients are compiled apart from the library: a call has the same places in both, on machines of 32 and of 64 bits.
TEST(HSCall, FieldsStandAtTheirPlaces) {
    const std::vector<std::size_t> offsets = {offsetof(Call, pid), offsetof(Call, locId), offsetof(Call, extra),
                                              offsetof(Call, tid), offsetof(Call, time),  offsetof(Call, exitTime)};
    EXPECT_THAT(offsets, ElementsAre(0, 4, 8, 12, 16, 24));
    constexpr std::size_t kList = 3 * sizeof(void*);
    EXPECT_EQ(offsetof(Call, args), 32u);
    EXPECT_EQ(offsetof(Call, args.out), 32 + kList);
    EXPECT_EQ(offsetof(Call, args.ret), 32 + 2 * kList);
    EXPECT_EQ(sizeof(Call), sizeof(void*) == 8 ? 104u : 72u);
}

TEST(HSCall, StartsZeroAndEmpty) {
    const Call call;
    EXPECT_EQ(call.pid, 0);
    EXPECT_EQ(call.locId, 0u);
    EXPECT_EQ(call.extra, 0u);
    EXPECT_EQ(call.tid, 0);
    EXPECT_EQ(call.time, 0u);
    EXPECT_EQ(call.exitTime, 0u);
    EXPECT_TRUE(call.args.in.empty());
    EXPECT_TRUE(call.args.out.empty());
    EXPECT_TRUE(call.args.ret.empty());
}

TEST(HSCall, CopiesAreDeep) {
    Call call;
    call.pid = 1;
    call.time = 2;
    call.args.in = {{{"", "in"}}};
    call.args.out = {{{"", "out"}}};
    call.args.ret = {{{"", "ret"}}};
    const Call copy = call;
    call.pid = 9;
    call.args.in[0][0].second = "changed";
    call.args.out.clear();
    call.args.ret[0].clear();
    EXPECT_EQ(copy.pid, 1);
    EXPECT_EQ(copy.time, 2u);
    EXPECT_THAT(copy.args.in, ElementsAre(ElementsAre(Pair("", "in"))));
    EXPECT_THAT(copy.args.out, ElementsAre(ElementsAre(Pair("", "out"))));
    EXPECT_THAT(copy.args.ret, ElementsAre(ElementsAre(Pair("", "ret"))));
}

TEST(HSCallLocation, FieldsStandInTheirOrder) {
    using Location = IQxData::_HSCallLocation;
    const std::vector<std::size_t> offsets = {offsetof(Location, locId),          offsetof(Location, srcCodeAux),
                                              offsetof(Location, srcCodeFileRaw), offsetof(Location, args.argType),
                                              offsetof(Location, args.argFlags),  offsetof(Location, args.argSize),
                                              offsetof(Location, args.retType),   offsetof(Location, args.retSize),
                                              offsetof(Location, callerName),     offsetof(Location, packageName)};
    EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end()));
    static_assert(std::is_same<decltype(Location::Args::argFlags), std::vector<unsigned int>>::value, "");
    static_assert(std::is_same<decltype(Location::Args::argSize), std::vector<unsigned int>>::value, "");
    static_assert(std::is_same<decltype(Location::Args::retSize), unsigned int>::value, "");
}

TEST(HSCallLocation, StartsZeroAndEmpty) {
    const IQxData::_HSCallLocation location;
    EXPECT_EQ(location.locId, 0u);
    EXPECT_EQ(location.srcCodeAux, 0u);
    EXPECT_EQ(location.args.retSize, 0u);
    EXPECT_TRUE(location.args.argType.empty() && location.args.argFlags.empty() && location.args.argSize.empty());
    EXPECT_EQ(location.callerName + location.packageName + location.srcCodeFileRaw + location.args.retType, "");
}

TEST(HSCompArgDesc, FieldsStandInTheirOrder) {
    using Desc = IQxData::_HSCompArgDesc;
    const std::vector<std::size_t> offsets = {offsetof(Desc, isContainer), offsetof(Desc, memberNames),
                                              offsetof(Desc, memberSizes), offsetof(Desc, memberTypes)};
    EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end()));
    static_assert(sizeof(Desc::isContainer) == 1, "");
    EXPECT_EQ(Desc().isContainer, 0);
    EXPECT_TRUE(Desc().memberSizes.empty());
}

TEST(HSIThreadId, OrdersByProcessThenThreadAsUnsigned) {
    const auto id = [](unsigned short pid, unsigned short tid) {
        IQxData::HSIThreadId made;
        made.pid = pid;
        made.tid = tid;
        return made;
    };
    EXPECT_TRUE(id(1, 9) < id(2, 0));
    EXPECT_FALSE(id(2, 0) < id(1, 9));
    EXPECT_TRUE(id(3, 4) < id(3, 5));
    EXPECT_FALSE(id(3, 5) < id(3, 4));
    EXPECT_FALSE(id(3, 5) < id(3, 5));
    EXPECT_TRUE(id(1, 0) < id(0xFFFF, 0));
    EXPECT_TRUE(id(1, 1) < id(1, 0xFFFF));
}

TEST(HSIThread, StartsZeroAndEmpty) {
    const IQxData::HSIThread thread;
    EXPECT_EQ(thread.pid, 0);
    EXPECT_EQ(thread.tid, 0);
    EXPECT_EQ(thread.name, "");
}

TEST(HSScriptPtr, AppendSetsNameAndAttributesInOrder) {
    const char* attributes[] = {"name", "volume", "process", "media-server", "a", "", nullptr};
    Element element;
    element.Append("action", attributes);
    EXPECT_EQ(element.name, "action");
    EXPECT_THAT(element.attributes,
                ElementsAre(Pair("name", "volume"), Pair("process", "media-server"), Pair("a", "")));
    EXPECT_TRUE(element.children.empty());
    EXPECT_EQ(element.parent, nullptr);
}

TEST(HSScriptPtr, AppendStopsAtTheFirstNullName) {
    const char* attributes[] = {"a", "1", nullptr, "b", "2", nullptr};
    Element element;
    element.Append("event", attributes);
    EXPECT_THAT(element.attributes, ElementsAre(Pair("a", "1")));
}

TEST(HSScriptPtr, AppendWithoutAttributesGivesANameOnly) {
    const char* attributes[] = {nullptr, "unused"};
    Element element;
    element.Append("event", attributes);
    EXPECT_EQ(element.name, "event");
    EXPECT_TRUE(element.attributes.empty());
}

TEST(HSScriptPtr, AppendKeepsChildrenAndEarlierAttributes) {
    const char* first[] = {"a", "1", nullptr};
    const char* second[] = {"b", "2", nullptr};
    Element element;
    Element* const child = Child(element, 1);
    element.Append("one", first);
    element.Append("two", second);
    EXPECT_EQ(element.name, "two");
    EXPECT_THAT(element.attributes, ElementsAre(Pair("a", "1"), Pair("b", "2")));
    EXPECT_THAT(element.children, ElementsAre(child));
}

TEST(HSScriptPtr, AppendCopiesItsTexts) {
    char name[] = "event";
    char attribute[] = "tag";
    char value[] = "IN";
    const char* attributes[] = {attribute, value, nullptr};
    Element element;
    element.Append(name, attributes);
    name[0] = attribute[0] = value[0] = '?';
    EXPECT_EQ(element.name, "event");
    EXPECT_THAT(element.attributes, ElementsAre(Pair("tag", "IN")));
}

TEST(HSScriptPtr, DestroyingFreesAllButNullChildren) {
    constexpr std::size_t kMiB = 1 << 20;
    const std::size_t before = HeldBytes();
    {
        Element root;
        Child(root, kMiB);
        root.children.push_back(nullptr);
        Element* const last = Child(root, kMiB);
        Child(*last, kMiB);
        last->children.push_back(nullptr);
        Child(*Child(*last, kMiB), kMiB);
    }
    EXPECT_LT(HeldBytes(), before + kMiB / 2);
}

TEST(HSScriptPtr, DestroysTreesDeeperThanTheStack) {
    auto root = std::make_unique<Element>();
    Element* deepest = root.get();
    for (int depth = 0; depth < 1000000; ++depth) deepest = Child(*deepest, 0);
    root.reset();
}
