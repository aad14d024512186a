// What a program records, as a tracker decodes it: values of every kind, results, and their limits.
#include <dlfcn.h>
#include <fcntl.h>
#include <qx/recorder.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <thread>
#include <utility>

#include "HostTest.h"
#include "QxFileName.h"
#include "QxProcessInfo.h"

#include "TracedCalls.h"

enum class Color : short { Red = -2, Green = 300 };

struct Point {
    int x = 0;
    int y = 0;
};

struct Shape {
    std::string title;
    Point origin;
    std::vector<std::uint16_t> weights;
    std::vector<std::string> tags;
    bool isFilled = false;
    char code[4] = {};
};

QX_TRACE_STRUCT(Point, x, y)
QX_TRACE_STRUCT(Shape, title, origin, weights, tags, isFilled, code)

namespace {

using RecordedValuesTest = HostTest;
using qx::recorder::Options;
using qxhost::QxFileName;
using qxhost::QxProcessInfo;

TEST_F(RecordedValuesTest, IntegersOfEverySize) {
    Run("traced", [] {
        QX_CALL(call, "p", "Integers", qx::In(true), qx::In('A'), qx::In(static_cast<short>(-2)), qx::In(Color::Green),
                qx::In(0x12345678u), qx::In(std::int64_t{-1}), qx::In(static_cast<unsigned char>(255)));
    });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& call = dump.Only("Integers");
    const std::uint64_t expected[] = {1, 'A', 0xFFFE, 300, 0x12345678, ~std::uint64_t{0}, 255};
    ASSERT_EQ(call.args.in.size(), std::size(expected));
    for (std::size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(Number(call.args.in[i]), expected[i]) << i;
    const IQxData::_HSCallLocation location = dump.data->GetCallLocationWithPID(call.locId, call.pid);
    const char* const longest = sizeof(long) == 8 ? "long" : "long long";
    EXPECT_EQ(location.args.argType,
              (std::vector<std::string>{"bool", "char", "short", "short", "unsigned int", longest, "unsigned char"}));
    EXPECT_EQ(location.args.argSize, (std::vector<unsigned>{1, 1, 2, 2, 4, 8, 1}));
    EXPECT_EQ(location.packageName, "p");
    EXPECT_EQ(location.srcCodeFileRaw, "RecordedValuesTest.cpp");
    EXPECT_EQ(location.args.retType, "void");
    EXPECT_GT(call.time, 0u);
    EXPECT_GT(call.exitTime, 0u);
}

TEST_F(RecordedValuesTest, TextsOfEveryKindAndEmptyOnesKeepTheirPlace) {
    Run("traced", [] {
        const std::string empty;
        const char* none = nullptr;
        QX_CALL(call, "p", "Texts", qx::In(empty), qx::In("literal"), qx::In(none), qx::In(std::string_view("view")),
                qx::In(std::string("a\0b", 3)), qx::In(7));
    });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& call = dump.Only("Texts");
    ASSERT_EQ(call.args.in.size(), 6u);
    EXPECT_EQ(call.args.in[0], (IQxData::HSICallArg{{"", ""}}));
    EXPECT_EQ(Bytes(call.args.in[1]), "literal");
    EXPECT_EQ(call.args.in[2], (IQxData::HSICallArg{{"", ""}}));
    EXPECT_EQ(Bytes(call.args.in[3]), "view");
    EXPECT_EQ(Bytes(call.args.in[4]), std::string("a\0b", 3));
    EXPECT_EQ(Number(call.args.in[5]), 7u);
}

Shape ChangeShape(Shape& shape) {
    QX_CALL_RETURNS(call, Shape, "p", "ChangeShape", qx::InOut(shape));
    shape.title = "changed";
    shape.origin = {-1, 9};
    return call.Return(shape);
}

TEST_F(RecordedValuesTest, StructsNestAndAreRecordedAtEntryAndExit) {
    Run("traced", [] {
        Shape shape{"", {1, 2}, {10, 256}, {"a", "", "bc"}, true, "xyz"};
        ChangeShape(shape);
    });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& call = dump.Only("ChangeShape");
    ASSERT_EQ(call.args.in.size(), 1u);
    const IQxData::HSICallArg& in = call.args.in[0];
    const char* names[] = {"title", "x", "y", "origin", "weights", "tags", "isFilled", "code"};
    ASSERT_EQ(in.size(), std::size(names));
    for (std::size_t i = 0; i < in.size(); ++i) EXPECT_EQ(in[i].first, names[i]);
    EXPECT_EQ(Bytes(in, 0), "");
    EXPECT_EQ(Number(in, 1), 1u);
    EXPECT_EQ(Number(in, 2), 2u);
    EXPECT_EQ(Bytes(in, 3), "");
    EXPECT_EQ(Bytes(in, 4), std::string("\x0A\0\0\x01", 4));
    EXPECT_EQ(Bytes(in, 5), std::string("a\0\0bc\0", 6));
    EXPECT_EQ(Number(in, 6), 1u);
    EXPECT_EQ(Bytes(in, 7), "xyz");
    ASSERT_EQ(call.args.out.size(), 1u);
    EXPECT_EQ(Bytes(call.args.out[0], 0), "changed");
    EXPECT_EQ(Number(call.args.out[0], 1), 0xFFFFFFFFu);
    ASSERT_EQ(call.args.ret.size(), 1u);
    EXPECT_EQ(call.args.ret[0], call.args.out[0]);
}

TEST_F(RecordedValuesTest, ListsComeOutElementByElement) {
    Run("traced", [] {
        const std::vector<int> numbers{1, -1, 3};
        const std::vector<std::string> texts{"a", "", "c"};
        const std::vector<Point> points{{1, 2}, {3, 4}};
        const std::vector<bool> flags{true, false};
        const std::vector<Point> none;
        const std::vector<std::vector<int>> nested{{1, 2}, {}};
        QX_CALL(call, "p", "Lists", qx::In(numbers), qx::In(texts), qx::In(points), qx::In(flags), qx::In(none),
                qx::In(nested));
    });
    const DecodedDump dump = Dump("traced", true);
    const std::vector<IQxData::HSICallArg> in = dump.Only("Lists").args.in;
    ASSERT_EQ(in.size(), 6u);
    ASSERT_EQ(in[0].size(), 3u);
    EXPECT_EQ(Number(in[0], 1), 0xFFFFFFFFu);
    EXPECT_EQ(in[0][0].first, "");
    ASSERT_EQ(in[1].size(), 3u);
    EXPECT_EQ(Bytes(in[1], 1), "");
    EXPECT_EQ(Bytes(in[1], 2), "c");
    ASSERT_EQ(in[2].size(), 4u);
    EXPECT_EQ(in[2][2].first, "x");
    EXPECT_EQ(Number(in[2], 3), 4u);
    ASSERT_EQ(in[3].size(), 2u);
    EXPECT_EQ(Number(in[3], 0), 1u);
    EXPECT_TRUE(in[4].empty());
    ASSERT_EQ(in[5].size(), 2u);
    EXPECT_EQ(Bytes(in[5], 0), std::string("\1\0\0\0\2\0\0\0", 8));
    EXPECT_EQ(Bytes(in[5], 1), "");
}

int Throw(std::string& text) {
    QX_CALL_RETURNS(call, int, "p", "Throw", qx::Out(text));
    text = "left";
    throw std::runtime_error("x");
}

using Values = std::vector<IQxData::HSICallArg>;

// Of what is recorded at exit only the result is missing.
TEST_F(RecordedValuesTest, ACallThatThrowsHasNoResult) {
    Run("traced", [] {
        std::string text;
        EXPECT_THROW(Throw(text), std::runtime_error);
    });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& call = dump.Only("Throw");
    EXPECT_EQ(Bytes(call.args.out[0]), "left");
    EXPECT_EQ(call.args.ret, Values{{}});
    EXPECT_NE(call.exitTime, 0u);
}

// Calls a method, once for each of the results and once without.
template <class Result>
void Give(const char* method, std::initializer_list<Result> results) {
    std::vector<const Result*> all;
    for (const Result& result : results) all.push_back(&result);
    all.push_back(nullptr);
    for (const Result* const result : all) {
        QX_CALL_RETURNS(call, Result, "p", method);
        if (result != nullptr) call.Return(*result);
    }
}

// Cannot be made out of nothing.
struct Handle {
    explicit Handle(int number) : value(number) {}
    int value;
};

}  // namespace

QX_TRACE_STRUCT(Handle, value)

namespace {

// What the store holds of traced bytes: each plus one.
std::string Stored(std::string bytes) {
    for (char& byte : bytes) byte = static_cast<char>(static_cast<unsigned char>(byte) + 1);
    return bytes;
}

std::string StoredInt(char value) {
    return Stored(std::string{value, 0, 0, 0});
}

TEST_F(RecordedValuesTest, NoResultIsToldFromEveryResult) {
    Run("traced", [] {
        Give("Int", {0, 7});
        Give("Long", {std::int64_t{-1}});
        Give("Bool", {false});
        Give("Text", {std::string("on"), std::string()});
        Give("Point", {Point{1, 2}});
        Give("List", {std::vector<Point>{{1, 2}, {3, 4}}});
        Give("Handle", {Handle(7)});
    });
    const DecodedDump dump = Dump("traced", true);
    const std::pair<const char*, Values> rows[] = {
        {"Int", {{{"", StoredInt(0)}}, {{"", StoredInt(7)}}}},
        {"Long", {{{"", Stored(std::string(8, '\xFF'))}}}},
        {"Bool", {{{"", Stored(std::string(1, '\0'))}}}},
        {"Text", {{{"", Stored("on")}}, {{"", ""}}}},
        {"Point", {{{"x", StoredInt(1)}, {"y", StoredInt(2)}}}},
        {"List", {{{"x", StoredInt(1)}, {"y", StoredInt(2)}, {"x", StoredInt(3)}, {"y", StoredInt(4)}}}},
        {"Handle", {{{"value", StoredInt(7)}}}},
    };
    for (const auto& [method, results] : rows) {
        const std::vector<IQxData::HSCall> calls = dump.Of(method);
        ASSERT_EQ(calls.size(), results.size() + 1) << method;
        for (std::size_t i = 0; i < results.size(); ++i) EXPECT_EQ(calls[i].args.ret, Values{results[i]}) << method;
        EXPECT_EQ(calls.back().args.ret, Values{{}}) << method;
        EXPECT_NE(calls.back().exitTime, 0u) << method;
    }
}

// The trace format has no other word for an empty list.
TEST_F(RecordedValuesTest, AnEmptyListReadsLikeNoResult) {
    Run("traced", [] { Give("List", {std::vector<int>()}); });
    const std::vector<IQxData::HSCall> calls = Dump("traced", true).Of("List");
    ASSERT_EQ(calls.size(), 2u);
    for (const IQxData::HSCall& call : calls) EXPECT_EQ(call.args.ret, Values{{}});
}

TEST_F(RecordedValuesTest, AMethodWithoutResultHasNoPlaceForOne) {
    Run("traced", [] { Note(1); });
    EXPECT_EQ(Dump("traced", true).Only("Note").args.ret, Values());
}

TEST_F(RecordedValuesTest, OnlyTheFirstReturnCounts) {
    Run("traced", [] {
        QX_CALL_RETURNS(call, int, "p", "Twice");
        call.Return(1);
        call.Return(2);
    });
    EXPECT_EQ(Number(Dump("traced", true).Only("Twice").args.ret[0]), 1u);
}

// The layouts of the results and of the arguments of one type stand side by side.
TEST_F(RecordedValuesTest, AResultThatMayBeMissingIsDescribedAsAListOfOne) {
    Run("traced", [] {
        Give<std::string>("GiveText", {});
        NoteText("a");
        Give<std::vector<int>>("GiveList", {});
    });
    const DecodedDump dump = Dump("traced", true);
    const auto location = [&dump](const char* method) {
        const IQxData::HSCall& call = dump.Only(method);
        return dump.data->GetCallLocationWithPID(call.locId, call.pid);
    };
    EXPECT_EQ(location("GiveText").args.retType, "result<string>");
    EXPECT_EQ(location("GiveText").args.retSize, 16382u);
    IQxData::_HSCompArgDesc result;
    dump.data->GetCompArgDesc(result, "result<string>");
    EXPECT_EQ(result.isContainer, 1);
    EXPECT_EQ(result.memberSizes, std::vector<unsigned>{16383});
    EXPECT_EQ(result.memberTypes, std::vector<std::string>{"string"});
    EXPECT_TRUE(result.memberNames.empty());
    EXPECT_EQ(location("NoteText").args.argType[0], "string");
    IQxData::_HSCompArgDesc argument;
    dump.data->GetCompArgDesc(argument, "string");
    EXPECT_EQ(argument.isContainer, 0);
    EXPECT_EQ(Bytes(dump.Only("NoteText").args.in[0]), "a");
    EXPECT_EQ(location("GiveList").args.retType, "vector<int>");
    EXPECT_EQ(location("NoteText").args.retType, "void");
}

TEST_F(RecordedValuesTest, LogItemsTakeNoExitAndEmptyTextsKeepTheirPlace) {
    Run("traced", [] {
        QX_CALL(call, "p", "Around");
        QX_LOG("p", "Inside", 5, "text", std::string(), true);
        QX_LOG("p", "Bare");
    });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& inside = dump.Only("Inside");
    ASSERT_EQ(inside.args.in.size(), 4u);
    EXPECT_EQ(Number(inside.args.in[0]), 5u);
    EXPECT_EQ(Bytes(inside.args.in[1]), "text");
    EXPECT_EQ(Bytes(inside.args.in[2]), std::string(1, '\0'));
    EXPECT_EQ(Number(inside.args.in[3]), 1u);
    EXPECT_EQ(inside.exitTime, 0u);
    EXPECT_EQ(dump.Only("Bare").exitTime, 0u);
    EXPECT_NE(dump.Only("Around").exitTime, 0u);
}

TEST_F(RecordedValuesTest, LongTextsAndListsAreCutAndCounted) {
    Run("traced", [] {
        const std::string text(qx::recorder::kMaxText + 1, 't');
        const std::vector<int> list(qx::recorder::kMaxElements + 1, 1);
        Shape shape;
        shape.weights.resize(qx::recorder::kMaxText);
        NoteText(text);
        NoteText(text.substr(1));
        { QX_CALL(call, "p", "List", qx::In(list)); }
        { QX_CALL(call, "p", "Run", qx::In(shape)); }
        EXPECT_EQ(qx::recorder::GetCounters().cut, 3u);
    });
    const DecodedDump dump = Dump("traced", true);
    for (const IQxData::HSCall& call : dump.Of("NoteText")) {
        EXPECT_EQ(Bytes(call.args.in[0]), std::string(qx::recorder::kMaxText, 't'));
    }
    EXPECT_EQ(dump.Only("List").args.in[0].size(), qx::recorder::kMaxElements);
    EXPECT_EQ(Bytes(dump.Only("Run").args.in[0], 4).size(), qx::recorder::kMaxText);
}

TEST_F(RecordedValuesTest, WhatFindsNoRoomIsNotCut) {
    Run("traced", [] {
        EXPECT_TRUE(qx::recorder::Configure({256, 4}));
        const std::string text(qx::recorder::kMaxText + 1, 't');
        NoteText(text);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 1u);
        EXPECT_EQ(qx::recorder::GetCounters().cut, 0u);
        { QX_CALL(call, "p", "Exit", qx::Out(text)); }
        EXPECT_EQ(qx::recorder::GetCounters().recorded, 2u);
        EXPECT_EQ(qx::recorder::GetCounters().exitsRefused, 1u);
    });
}

TEST_F(RecordedValuesTest, ACallThatIsTooLargeIsRefusedAndAnExitThatIsLeavesItsCall) {
    Run("traced", [] {
        const std::vector<std::string> large(8, std::string(qx::recorder::kMaxText, 'x'));
        { QX_CALL(call, "p", "LargeEntry", qx::In(large)); }
        { QX_CALL(call, "p", "LargeExit", qx::In(1), qx::Out(large)); }
        Note(3);
        const qx::recorder::Counters counters = qx::recorder::GetCounters();
        EXPECT_EQ(counters.recorded, 3u);
        EXPECT_EQ(counters.refused, 1u);
        EXPECT_EQ(counters.exits, 2u);
        EXPECT_EQ(counters.exitsRefused, 1u);
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.calls.size(), 2u);
    EXPECT_EQ(dump.Only("LargeExit").exitTime, 0u);
    EXPECT_NE(dump.Only("Note").exitTime, 0u);
    const qx::host::Loss loss = Total("traced");
    ExpectBalanced(loss);
    EXPECT_EQ(loss.refused, 1u);
    EXPECT_EQ(loss.exitsRefused, 1u);
}

TEST_F(RecordedValuesTest, NestedCallsEachKeepTheirOwnExit) {
    Run("traced", [] {
        QX_CALL_RETURNS(outer, int, "p", "Outer", qx::In(1));
        {
            QX_CALL_RETURNS(inner, int, "p", "Inner", qx::In(2));
            inner.Return(20);
        }
        Note(3);
        outer.Return(10);
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(Number(dump.Only("Outer").args.ret[0]), 10u);
    EXPECT_EQ(Number(dump.Only("Inner").args.ret[0]), 20u);
    EXPECT_LT(dump.Only("Outer").time, dump.Only("Inner").time);
    EXPECT_GE(dump.Only("Outer").exitTime + 2000, dump.Only("Note").exitTime);
}

}  // namespace
