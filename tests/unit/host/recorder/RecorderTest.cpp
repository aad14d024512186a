// What a program records, as a tracker decodes it.
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

// Described by a call of the test's, made within the recorder.
struct Hooked {
    int value = 0;
    static inline std::function<void()> hook;
};

template <>
struct qx::recorder::StructTrait<Hooked> {
    static const char* Name() {
        if (Hooked::hook) std::exchange(Hooked::hook, nullptr)();
        return "Hooked";
    }
    template <class Visitor>
    static void ForEach(Visitor&& visit) {
        visit("value", &Hooked::value);
    }
};

namespace {

using RecorderTest = HostTest;
using qx::recorder::Options;
using qxhost::QxFileName;
using qxhost::QxProcessInfo;

void Note(int value) {
    QX_CALL(call, "p", "Note", qx::In(value));
}

void NoteText(const std::string& text) {
    QX_CALL(call, "p", "NoteText", qx::In(text));
}

// Traces a call during whose description the hook runs.
template <int N>
void NoteHooked(const std::function<void()>& hook) {
    Hooked::hook = hook;
    const Hooked hooked;
    QX_CALL(call, "p", "NoteHooked", qx::In(hooked));
}

template <int N>
void NoteMany() {
    {
        static const std::string method = "Method" + std::to_string(N);
        QX_CALL(call, "p", method.c_str());
    }
    if constexpr (N > 0) NoteMany<N - 1>();
}

TEST_F(RecorderTest, IntegersOfEverySize) {
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
    EXPECT_EQ(location.srcCodeFileRaw, "RecorderTest.cpp");
    EXPECT_EQ(location.args.retType, "void");
    EXPECT_GT(call.time, 0u);
    EXPECT_GT(call.exitTime, 0u);
}

TEST_F(RecorderTest, TextsOfEveryKindAndEmptyOnesKeepTheirPlace) {
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

TEST_F(RecorderTest, StructsNestAndAreRecordedAtEntryAndExit) {
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

TEST_F(RecorderTest, ListsComeOutElementByElement) {
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
TEST_F(RecorderTest, ACallThatThrowsHasNoResult) {
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

TEST_F(RecorderTest, NoResultIsToldFromEveryResult) {
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
TEST_F(RecorderTest, AnEmptyListReadsLikeNoResult) {
    Run("traced", [] { Give("List", {std::vector<int>()}); });
    const std::vector<IQxData::HSCall> calls = Dump("traced", true).Of("List");
    ASSERT_EQ(calls.size(), 2u);
    for (const IQxData::HSCall& call : calls) EXPECT_EQ(call.args.ret, Values{{}});
}

TEST_F(RecorderTest, AMethodWithoutResultHasNoPlaceForOne) {
    Run("traced", [] { Note(1); });
    EXPECT_EQ(Dump("traced", true).Only("Note").args.ret, Values());
}

TEST_F(RecorderTest, OnlyTheFirstReturnCounts) {
    Run("traced", [] {
        QX_CALL_RETURNS(call, int, "p", "Twice");
        call.Return(1);
        call.Return(2);
    });
    EXPECT_EQ(Number(Dump("traced", true).Only("Twice").args.ret[0]), 1u);
}

// The layouts of the results and of the arguments of one type stand side by side.
TEST_F(RecorderTest, AResultThatMayBeMissingIsDescribedAsAListOfOne) {
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

TEST_F(RecorderTest, LogItemsTakeNoExitAndEmptyTextsKeepTheirPlace) {
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

TEST_F(RecorderTest, LongTextsAndListsAreCutAndCounted) {
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

TEST_F(RecorderTest, ACallThatIsTooLargeIsRefusedAndAnExitThatIsLeavesItsCall) {
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

TEST_F(RecorderTest, NestedCallsEachKeepTheirOwnExit) {
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

TEST_F(RecorderTest, ThreadsGoByTheirSystemNameOrTheOneTheyGive) {
    Run("traced", [] {
        Note(0);
        std::thread([] {
            Note(1);
            qx::recorder::SetThreadName("given");
            Note(2);
        }).join();
    });
    const DecodedDump dump = Dump("traced", true);
    std::set<std::string> names;
    for (const IQxData::HSCall& call : dump.Of("Note")) names.insert(dump.data->GetThread(call.tid).name);
    EXPECT_EQ(names, (std::set<std::string>{"traced", "given"}));
}

// Holds threads until all have come.
class Gate {
public:
    explicit Gate(int count) : m_missing(count) {}
    void Pass() {
        std::unique_lock<std::mutex> lock(m_mutex);
        --m_missing;
        m_changed.notify_all();
        m_changed.wait(lock, [this] { return m_missing <= 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_missing;
};

TEST_F(RecorderTest, MoreThreadsThanSlotsAreRefusedAndCounted) {
    constexpr int kThreads = 70;
    Run("traced", [] {
        Gate gate(kThreads);
        std::vector<std::thread> threads;
        for (int i = 0; i < kThreads; ++i) {
            threads.emplace_back([&gate, i] {
                Note(i);
                gate.Pass();
                // Those that have a ring keep it until all have tried again.
                Note(i);
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(qx::recorder::GetThreadCounters().size(), 64u);
        const qx::recorder::Counters counters = qx::recorder::GetCounters();
        EXPECT_EQ(counters.recorded, 2u * kThreads);
        EXPECT_GE(counters.refused, 6u);
        Note(1000);
    });
    const DecodedDump dump = Dump("traced", true);
    const qx::host::Loss loss = Total("traced");
    ExpectBalanced(loss);
    EXPECT_EQ(loss.recorded, 2u * kThreads + 1);
    EXPECT_EQ(loss.delivered, dump.calls.size());
    std::set<unsigned> values;
    for (const IQxData::HSCall& call : dump.calls) values.insert(static_cast<unsigned>(Number(call.args.in[0])));
    EXPECT_EQ(values.count(1000), 1u);
}

TEST_F(RecorderTest, AThreadThatWasRefusedRecordsOnceASlotIsFree) {
    Run("traced", [] {
        Gate all(65);
        Gate ended(2);
        std::vector<std::thread> threads;
        for (int i = 0; i < 64; ++i) {
            threads.emplace_back([&all, i] {
                Note(i);
                all.Pass();
            });
        }
        while (qx::recorder::GetCounters().recorded < 64) std::this_thread::yield();
        std::thread late([&] {
            Note(64);
            all.Pass();
            ended.Pass();
            Note(65);
        });
        for (std::thread& thread : threads) thread.join();
        ended.Pass();
        late.join();
        EXPECT_EQ(qx::recorder::GetCounters().refused, 1u);
    });
    std::set<std::uint64_t> values;
    for (const IQxData::HSCall& call : Dump("traced", true).calls) values.insert(Number(call.args.in[0]));
    EXPECT_EQ(values.size(), 65u);
    EXPECT_EQ(values.count(64), 0u);
    EXPECT_EQ(values.count(65), 1u);
}

TEST_F(RecorderTest, ThreadsThatComeAndGoUseNothingUp) {
    constexpr int kThreads = 3000;
    Run("traced", [] {
        for (int i = 0; i < kThreads; ++i) std::thread([i] { Note(i); }).join();
        EXPECT_EQ(qx::recorder::GetThreadCounters().size(), 1u);
    });
    const DecodedDump dump = Dump("traced", true);
    ASSERT_EQ(dump.calls.size(), static_cast<std::size_t>(kThreads));
    std::set<unsigned> tids;
    for (std::size_t i = 0; i < kThreads; ++i) {
        ASSERT_EQ(Number(dump.calls[i].args.in[0]), i);
        tids.insert(dump.calls[i].tid);
    }
    EXPECT_EQ(tids.size(), static_cast<std::size_t>(kThreads));
}

TEST_F(RecorderTest, TidsAreUsedAgainOnceTheirThreadsAreGone) {
    PausingChild child(m_directory, "traced", [](const PausingChild::Pause& pause) {
        for (int round = 0; round < 5; ++round) {
            for (int i = 0; i < 10; ++i) std::thread([i] { Note(i); }).join();
            pause();
        }
    });
    unsigned highest = 0;
    for (int round = 0; round < 5; ++round) {
        if (round > 0) child.Continue();
        for (const IQxData::HSCall& call : Dump("traced", round == 0).calls)
            highest = std::max<unsigned>(highest, call.tid);
    }
    child.Finish();
    EXPECT_LE(highest, 12u);
}

TEST_F(RecorderTest, EntryTimesOfAllThreadsDiffer) {
    constexpr int kThreads = 8;
    constexpr int kCalls = 3000;
    Run("traced", [] {
        Gate gate(kThreads);
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t) {
            threads.emplace_back([&gate] {
                gate.Pass();
                for (int i = 0; i < kCalls; ++i) QX_LOG("p", "Tick");
            });
        }
        for (std::thread& thread : threads) thread.join();
    });
    const DecodedDump dump = Dump("traced", true);
    std::set<unsigned long long> times;
    for (const IQxData::HSCall& call : dump.calls) times.insert(call.time);
    EXPECT_EQ(dump.calls.size(), static_cast<std::size_t>(kThreads * kCalls));
    EXPECT_EQ(times.size(), dump.calls.size());
}

TEST_F(RecorderTest, AForkedChildRecordsForItself) {
    Run("traced", [] {
        QX_CALL(call, "p", "Parent", qx::In(::getpid()));
        Note(1);
        const pid_t pid = ::fork();
        if (pid == 0) {
            Note(2);
            std::thread([] { Note(3); }).join();
            EXPECT_EQ(qx::recorder::GetCounters().recorded, 2u);
            // Leaves the scope of the parent's call, which must not record its exit here.
            return;
        }
        EXPECT_EQ(::waitpid(pid, nullptr, 0), pid);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, 2u);
    });
    EXPECT_EQ(Files(".qxrec").size(), 2u);
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.calls.size(), 4u);
    EXPECT_NE(dump.Only("Parent").exitTime, 0u);
    std::set<unsigned> tids;
    for (const IQxData::HSCall& call : dump.calls) tids.insert(call.tid);
    EXPECT_EQ(tids.size(), 3u);
    const qx::host::Loss loss = Total("traced");
    ExpectBalanced(loss);
    EXPECT_EQ(loss.exitsDelivered, 4u);
}

// Fork handlers that were added before the recorder's own: in the child they run before the recording of the parent is
// left, and ahead of the fork while it is held.
std::function<void()> g_atFork;

void ExpectEndedWell(pid_t pid) {
    int status = -1;
    EXPECT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_EQ(status, 0);
}

void AtFork() {
    if (g_atFork) g_atFork();
}

__attribute__((constructor(101))) void AddForkHandlers() {
    ::pthread_atfork(AtFork, AtFork, AtFork);
}

TEST_F(RecorderTest, CallsOfEarlyForkHandlersAreRefusedAndCounted) {
    Run("traced", [] {
        Note(1);
        g_atFork = [] { Note(2); };
        const pid_t pid = ::fork();
        g_atFork = nullptr;
        Note(3);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, pid == 0 ? 2u : 4u);
        EXPECT_EQ(qx::recorder::GetCounters().refused, pid == 0 ? 1u : 2u);
        if (pid != 0) ExpectEndedWell(pid);
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.calls.size(), 3u);
    ExpectBalanced(Total("traced"));
    EXPECT_EQ(Total("traced").refused, 3u);
}

TEST_F(RecorderTest, CallsFromWithinTheRecorderAreRefusedAndCounted) {
    Run("traced", [] {
        NoteHooked<1>([] {
            Note(1);
            qx::recorder::SetThreadName("within");
            EXPECT_FALSE(qx::recorder::Configure({}));
            EXPECT_TRUE(qx::recorder::GetThreadCounters().empty());
        });
        Note(2);
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 2u);
    EXPECT_EQ(Total("traced").refused, 1u);
}

void ForkAndWait(int) {
    const pid_t pid = ::fork();
    if (pid == 0) ::_exit(0);
    ExpectEndedWell(pid);
}

TEST_F(RecorderTest, ASignalWhoseHandlerForksComesAfterwards) {
    Run("traced", [] {
        ::signal(SIGUSR1, ForkAndWait);
        NoteHooked<2>([] { ::raise(SIGUSR1); });
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 1u);
    EXPECT_EQ(Total("traced").refused, 0u);
}

// The child leaves its parent's recording when it leaves the recorder.
TEST_F(RecorderTest, AForkFromWithinTheRecorderLeavesTwoProgramsThatRecord) {
    Run("traced", [] {
        pid_t pid = -1;
        NoteHooked<3>([&pid] {
            pid = ::fork();
            if (pid == 0) Note(1);
        });
        Note(2);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, pid == 0 ? 3u : 2u);
        if (pid != 0) ExpectEndedWell(pid);
    });
    EXPECT_EQ(Files(".qxrec").size(), 2u);
    EXPECT_EQ(Dump("traced", true).calls.size(), 4u);
    ExpectBalanced(Total("traced"));
    EXPECT_EQ(Total("traced").recorded, 5u);
    EXPECT_EQ(Total("traced").refused, 1u);
    EXPECT_EQ(Total("traced").dropped, 0u);
}

TEST_F(RecorderTest, ACancelledThreadIsCancelledAfterItsFirstCall) {
    Run("traced", [] {
        std::thread([] {
            ::pthread_cancel(::pthread_self());
            Note(1);
            qx::recorder::SetThreadName("cancelled");
            ::pthread_testcancel();
            ADD_FAILURE();
        }).join();
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 1u);
}

TEST_F(RecorderTest, ErrnoStaysAsItIs) {
    Run("traced", [] {
        errno = EDOM;
        Note(1);
        EXPECT_EQ(errno, EDOM);
        NoteHooked<4>([] { errno = ERANGE; });
        EXPECT_EQ(errno, EDOM);
    });
    Child(m_directory + "/missing/deeper", "traced", [] {
        errno = EDOM;
        Note(1);
        EXPECT_EQ(errno, EDOM);
    }).Join();
}

TEST_F(RecorderTest, ACallThatFindsNoMemoryIsRefusedAndTheNextOneTriesAgain) {
    const auto note = [](const std::function<void()>& hook) { NoteHooked<5>(hook); };
    Run("traced", [&] {
        note([] { throw std::bad_alloc(); });
        note(nullptr);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 1u);
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 1u);
}

TEST_F(RecorderTest, AForkedChildHasRoomForWhatItsParentDescribed) {
    Run("traced", [] {
        NoteMany<50>();
        const pid_t pid = ::fork();
        if (pid == 0) {
            EXPECT_TRUE(qx::recorder::Configure({4096, 64, 256}));
            NoteMany<50>();
            EXPECT_EQ(qx::recorder::GetCounters().refused, 0u);
            return;
        }
        ExpectEndedWell(pid);
    });
    EXPECT_EQ(Dump("traced", true).Of("Method50").size(), 2u);
}

TEST_F(RecorderTest, WithoutAThreadSpecificKeyCallsAreRefused) {
    Run("traced", [] {
        pthread_key_t key;
        while (::pthread_key_create(&key, nullptr) == 0) continue;
        void* plugin = ::dlopen(QX_TEST_PLUGIN, RTLD_NOW);
        ASSERT_NE(plugin, nullptr) << ::dlerror();
        reinterpret_cast<void (*)(int)>(::dlsym(plugin, "RecordInPlugin"))(1);
    });
    EXPECT_TRUE(Files(".qxrec").empty());
}

TEST_F(RecorderTest, AProgramThatClosesAllItsFilesGoesOnRecording) {
    Run("traced", [] {
        Note(1);
        for (int fd = 3; fd < 100; ++fd) ::close(fd);
        const int own = ::open("/dev/null", O_RDWR);
        std::thread([] { Note(2); }).join();
        EXPECT_EQ(::write(own, "x", 1), 1);
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 2u);
}

void LimitFileSize(rlim_t size) {
    struct rlimit limit {};
    EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &limit), 0);
    limit.rlim_cur = size;
    EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
}

bool IsPending(int signal) {
    sigset_t set;
    return ::sigpending(&set) == 0 && ::sigismember(&set, signal) == 1;
}

// The signal that the recorder's failure raised is taken back, that of the program is not.
TEST_F(RecorderTest, ASignalThatWasPendingStaysPending) {
    Run("traced", [] {
        sigset_t set;
        ::sigemptyset(&set);
        ::sigaddset(&set, SIGXFSZ);
        ::pthread_sigmask(SIG_BLOCK, &set, nullptr);
        LimitFileSize(1 << 20);
        Note(1);
        EXPECT_FALSE(IsPending(SIGXFSZ));
        std::thread([] {
            ::raise(SIGXFSZ);
            Note(2);
            EXPECT_TRUE(IsPending(SIGXFSZ));
        }).join();
        EXPECT_EQ(qx::recorder::GetCounters().refused, 2u);
    });
}

TEST_F(RecorderTest, ADumpThatExceedsTheLimitOfFilesEndsNoProgram) {
    Run("traced", [this] {
        Note(1);
        LimitFileSize(1);
        std::vector<char> path;
        EXPECT_FALSE(m_control->getQxBufferDump(path, "traced", true));
    });
}

// The limit's signal would end a program that did not reach the limit by itself.
TEST_F(RecorderTest, ARecordingThatFindsNoRoomRefusesCallsAndSaysSoOnce) {
    const std::string log = m_directory + "/log";
    Run("traced", [&] {
        ::setenv("QX_LOG", log.c_str(), 1);
        LimitFileSize(1 << 20);
        for (int i = 0; i < 10000; ++i) Note(i);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 10000u);
    });
    EXPECT_TRUE(Files(".qxrec").empty());
    EXPECT_TRUE(Files(".qxnew").empty());
}

// In a file system that has room for the recording and one ring.
void RecordOnFullFileSystem(const std::string& directory) {
    ASSERT_EQ(::chmod(directory.c_str(), 0700), 0);
    Note(1);
    std::thread([] {
        Note(2);
        Note(3);
    }).join();
    EXPECT_EQ(qx::recorder::GetCounters().refused, 2u);
    qxhost::QxControl control(directory);
    control.SetOpenCallLimit(0);
    std::vector<char> path;
    EXPECT_FALSE(control.getQxBufferDump(path, "traced", true));
    EXPECT_TRUE(path.empty());
    qx::host::Loss loss;
    EXPECT_TRUE(control.GetLoss("traced", &loss, nullptr));
    EXPECT_EQ(loss.refused, 2u);
    EXPECT_EQ(loss.delivered, 0u);
    // With room again, the dump holds what the one that failed should have held.
    EXPECT_EQ(::mount("none", directory.c_str(), "tmpfs", MS_REMOUNT, "size=4m"), 0);
    EXPECT_TRUE(control.getQxBufferDump(path, "traced", false));
    EXPECT_TRUE(control.GetLoss("traced", &loss, nullptr));
    EXPECT_EQ(loss.delivered, 1u);
    ExpectBalanced(loss);
}

TEST_F(RecorderTest, AFullFileSystemRefusesCallsAndLosesNoDump) {
    if (::geteuid() != 0) GTEST_SKIP() << "only root can mount a small file system";
    Run("traced", [this] {
        if (::unshare(CLONE_NEWNS) != 0 || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0) return;
        // Front and one ring: 1.0625 MiB and 256 KiB, and a page for the directory.
        if (::mount("none", m_directory.c_str(), "tmpfs", 0, "size=1376256") != 0) return;
        RecordOnFullFileSystem(m_directory);
    });
}

TEST_F(RecorderTest, WithoutARuntimeDirectoryCallsAreRefusedAndCounted) {
    Child(m_directory + "/missing/deeper", "traced", [] {
        for (int i = 0; i < 10; ++i) Note(i);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, 10u);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 10u);
        EXPECT_TRUE(qx::recorder::Configure({}));
    }).Join();
}

TEST_F(RecorderTest, OptionsAreCheckedAndFixedOnceRecordingBegan) {
    Run("traced", [] {
        EXPECT_FALSE(qx::recorder::Configure({4095, 64}));
        EXPECT_FALSE(qx::recorder::Configure({128, 64}));
        EXPECT_FALSE(qx::recorder::Configure({2 << 20, 2}));
        EXPECT_FALSE(qx::recorder::Configure({4096, 1}));
        EXPECT_FALSE(qx::recorder::Configure({1 << 20, 17}));
        EXPECT_FALSE(qx::recorder::Configure({4096, 64, 255}));
        EXPECT_TRUE(qx::recorder::Configure({1 << 20, 16}));
        EXPECT_TRUE(qx::recorder::Configure({256, 2}));
        Note(1);
        EXPECT_FALSE(qx::recorder::Configure({}));
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 1u);
}

TEST_F(RecorderTest, TheEnvironmentOverridesTheProgram) {
    Run("traced", [] {
        ::setenv("QX_RING_PAGE_SIZE", "256", 1);
        ::setenv("QX_RING_PAGES", "2", 1);
        ::setenv("QX_RING_MODE", "discard", 1);
        EXPECT_TRUE(qx::recorder::Configure({4096, 64}));
        for (int i = 0; i < 100; ++i) Note(i);
        EXPECT_GT(qx::recorder::GetCounters().refused, 50u);
    });
    // The first calls are those that stay.
    EXPECT_EQ(Number(Dump("traced", true).calls.front().args.in[0]), 0u);
}

// Calls that end on other threads, where no exit is recorded, keep no room for one in a ring that discards.
TEST_F(RecorderTest, CallsThatEndOnOtherThreadsUseNoRoomUp) {
    using Call = qx::recorder::Call<void>;
    Run("traced", [this] {
        EXPECT_TRUE(qx::recorder::Configure({4096, 4, 1 << 16, qx::recorder::Mode::Discard}));
        static qx::recorder::detail::Site site{"file", 1, {0}};
        for (int round = 0; round < 12; ++round) {
            std::vector<std::unique_ptr<Call>> calls;
            for (int i = 0; i < 200; ++i) calls.push_back(std::make_unique<Call>(site, "p", "Async"));
            std::thread([&calls] { calls.clear(); }).join();
            std::vector<char> path;
            m_control->getQxBufferDump(path, "traced", round == 0);
        }
        EXPECT_EQ(qx::recorder::GetCounters().refused, 0u);
    });
}

TEST_F(RecorderTest, NonsenseInTheEnvironmentIsIgnored) {
    Run("traced", [] {
        ::setenv("QX_RING_PAGE_SIZE", "many", 1);
        ::setenv("QX_RING_PAGES", "2", 1);
        for (int i = 0; i < 1000; ++i) Note(i);
    });
    EXPECT_EQ(Dump("traced", true).calls.size(), 1000u);
}

// Loads the plugin, records through it, also on a thread that outlives it, and unloads it.
void UsePlugin(int value) {
    void* plugin = ::dlopen(QX_TEST_PLUGIN, RTLD_NOW);
    ASSERT_NE(plugin, nullptr) << ::dlerror();
    const auto record = reinterpret_cast<void (*)(int)>(::dlsym(plugin, "RecordInPlugin"));
    ASSERT_NE(record, nullptr);
    record(value);
    Gate recorded(2);
    Gate unloaded(2);
    std::thread thread([&] {
        record(value + 1);
        recorded.Pass();
        unloaded.Pass();
    });
    recorded.Pass();
    EXPECT_EQ(::dlclose(plugin), 0);
    EXPECT_EQ(::dlopen(QX_TEST_PLUGIN, RTLD_NOW | RTLD_NOLOAD), nullptr);
    unloaded.Pass();
    thread.join();
}

TEST_F(RecorderTest, APluginMayBeLoadedAndUnloadedForEver) {
    constexpr int kRounds = 200;
    Run("traced", [] {
        for (int i = 0; i < kRounds; ++i) UsePlugin(2 * i);
    });
    const DecodedDump dump = Dump("traced", true);
    ASSERT_EQ(dump.calls.size(), 2u * kRounds);
    for (std::size_t i = 0; i < dump.calls.size(); ++i) {
        EXPECT_EQ(Number(dump.calls[i].args.in.at(0)), i);
        // Coming back, a call site is known again and takes no room.
        EXPECT_EQ(dump.calls[i].locId, 1u);
    }
}

TEST_F(RecorderTest, WithoutRoomForItsDescriptionACallIsRefused) {
    Run("traced", [] {
        EXPECT_TRUE(qx::recorder::Configure({4096, 64, 256}));
        NoteMany<50>();
        NoteMany<50>();
        const qx::recorder::Counters counters = qx::recorder::GetCounters();
        EXPECT_EQ(counters.recorded, 102u);
        EXPECT_GT(counters.refused, 50u);
        EXPECT_LT(counters.refused, 102u);
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.Of("Method50").size(), 2u);
    ExpectBalanced(Total("traced"));
    EXPECT_EQ(Total("traced").recorded, 102u);
}

TEST_F(RecorderTest, RecordingsArePrivate) {
    Run("traced", [] {
        ::umask(0);
        Note(1);
    });
    struct stat status {};
    ASSERT_EQ(::stat(Files(".qxrec").at(0).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(RecorderTest, ARecordingThatFindsItsPlaceTakenLeavesNothing) {
    Run("traced", [this] {
        const QxFileName name{"traced", ::getpid(), QxProcessInfo::StartTime(::getpid()), QxFileName::kRecording};
        const QxFileName replaced{"traced", ::getpid(), 0, QxFileName::kRecording};
        for (const QxFileName& taken : {name, replaced}) {
            ASSERT_EQ(::mkdir((m_directory + "/" + taken.ToString()).c_str(), 0700), 0);
            WriteFile(m_directory + "/" + taken.ToString() + "/file", "");
        }
        Note(1);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 1u);
        EXPECT_TRUE(Files(".qxnew").empty());
    });
}

}  // namespace
