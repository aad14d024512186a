// What a program in C records is what one in C++ does: the same types, layouts and bytes, and the same account of it.
#include <qx/recorder.h>
#include <qx/recorder_c.h>
#include <signal.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <set>
#include <thread>

#include "HostTest.h"

#include "TracedCalls.h"
#include "c/c_calls.h"

namespace {

// The twins of the structs in C. What those have in buffers and runs of bytes are texts here.
struct Point {
    int x;
    std::int64_t y;
};

struct Shape {
    const char* title;
    std::string owner;
    Point origin;
    std::string code;
    bool is_filled;
    std::string_view data;
    double weight;
    const void* next;
};

}  // namespace

template <>
struct qx_traits::StructTrait<Point> {
    static const char* QxName() { return "CPoint"; }
    template <class Visitor>
    static void QxForEach(Visitor&& visit) {
        visit("x", &Point::x);
        visit("y", &Point::y);
    }
};

template <>
struct qx_traits::StructTrait<Shape> {
    static const char* QxName() { return "CShape"; }
    template <class Visitor>
    static void QxForEach(Visitor&& visit) {
        visit("title", &Shape::title);
        visit("owner", &Shape::owner);
        visit("origin", &Shape::origin);
        visit("code", &Shape::code);
        visit("is_filled", &Shape::is_filled);
        visit("data", &Shape::data);
        visit("weight", &Shape::weight);
        visit("next", &Shape::next);
    }
};

namespace {

using RecordedFromCTest = HostTest;

// The call of the one method is described as that of the other, and holds the same. A type that goes by the same name
// has the same layout: another one would have been given a name of its own.
void ExpectTwins(const DecodedDump& dump, const char* one, const char* other) {
    const IQxData::HSCall& c = dump.Only(one);
    const IQxData::HSCall& cpp = dump.Only(other);
    const IQxData::_HSCallLocation::Args types = dump.data->GetCallLocationWithPID(c.locId, c.pid).args;
    const IQxData::_HSCallLocation::Args wanted = dump.data->GetCallLocationWithPID(cpp.locId, cpp.pid).args;
    EXPECT_EQ(types.argType, wanted.argType);
    EXPECT_EQ(types.argSize, wanted.argSize);
    EXPECT_EQ(types.argFlags, wanted.argFlags);
    EXPECT_EQ(types.retType, wanted.retType);
    EXPECT_EQ(types.retSize, wanted.retSize);
    EXPECT_EQ(c.args.in, cpp.args.in);
    EXPECT_EQ(c.args.out, cpp.args.out);
    EXPECT_EQ(c.args.ret, cpp.args.ret);
    EXPECT_EQ(c.exitTime == 0, cpp.exitTime == 0);
}

TEST_F(RecordedFromCTest, NumbersOfEveryKind) {
    static const int target = 0;
    Run("traced", [] {
        c_numbers(&target);
        using Long = std::conditional_t<sizeof(long) == 8, long, long long>;
        QX_CALL(call, "c", "Numbers", qx::In(true), qx::In('A'), qx::In(static_cast<signed char>(-1)),
                qx::In(static_cast<unsigned char>(255)), qx::In(static_cast<short>(-2)),
                qx::In(static_cast<unsigned short>(65535)), qx::In(-3), qx::In(0x12345678u), qx::In(-4L), qx::In(5UL),
                qx::In(-6LL), qx::In(7ULL), qx::In(std::int8_t{-8}), qx::In(std::uint8_t{9}), qx::In(std::int16_t{-10}),
                qx::In(std::uint16_t{11}), qx::In(std::int32_t{-12}), qx::In(std::uint32_t{13}),
                qx::In(std::int64_t{INT64_MIN}), qx::In(std::uint64_t{UINT64_MAX}), qx::In(std::size_t{14}),
                qx::In(1.5f), qx::In(-0.1), qx::In(1.25L), qx::In(static_cast<const void*>(&target)));
        static_assert(std::is_same_v<Long, std::int64_t>);
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.Only("NumbersOfC").args.in.size(), 25u);
    ExpectTwins(dump, "NumbersOfC", "Numbers");
}

TEST_F(RecordedFromCTest, TextsOfEveryKind) {
    Run("traced", [] {
        char owned[] = "owned";
        c_texts(owned, "a\0b", 3);
        const char* const none = nullptr;
        QX_CALL(call, "c", "Texts", qx::In("literal"), qx::In(none), qx::In(""), qx::In(owned),
                qx::In(std::string("a\0b", 3)), qx::In(std::string()));
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(Bytes(dump.Only("TextsOfC").args.in.at(4)), std::string("a\0b", 3));
    ExpectTwins(dump, "TextsOfC", "Texts");
}

// Four letters fill the room for a text to its end.
c_shape MakeShape(const char* code, char* owner, unsigned char* data) {
    c_shape shape{"title", owner, {1, -2}, {}, true, data, 3, 0.5, data};
    std::memcpy(shape.code, code, sizeof(shape.code));
    return shape;
}

TEST_F(RecordedFromCTest, StructsNestAndAreRecordedAtEntryAndExit) {
    Run("traced", [] {
        char owner[] = "owner";
        unsigned char data[] = {1, 0, 2};
        c_shape shape = MakeShape("full", owner, data);
        c_change(&shape);
        Shape twin{"title", owner, {1, -2},
                   "full",  true,  std::string_view(reinterpret_cast<const char*>(data), sizeof(data)),
                   0.5,     data};
        QX_CALL_RETURNS(call, Point, "c", "Change", qx::InOut(twin));
        twin.title = "changed";
        twin.origin.x = -1;
        call.Return(twin.origin);
    });
    const DecodedDump dump = Dump("traced", true);
    ASSERT_EQ(dump.Only("ChangeOfC").args.in.at(0).size(), 10u);
    EXPECT_EQ(Bytes(dump.Only("ChangeOfC").args.out.at(0), 0), "changed");
    ExpectTwins(dump, "ChangeOfC", "Change");
}

TEST_F(RecordedFromCTest, WhatACallFillsInIsRecordedAtItsExit) {
    Run("traced", [] {
        int number = 0;
        const char* text = "before";
        char buffer[4] = "a";
        unsigned char data[8] = {1, 2};
        std::size_t size = 2;
        void* handle = nullptr;
        c_point point{0, 9};
        EXPECT_STREQ(c_fill(&number, &text, buffer, sizeof(buffer), data, &size, &handle, &point), "done");
        std::string_view filled("\1\2");
        std::string_view written("a");
        const void* twinHandle = nullptr;
        Point twinPoint{0, 9};
        std::size_t twinSize = 2;
        QX_CALL_RETURNS(call, const char*, "c", "Fill", qx::Out(number), qx::Out(text), qx::InOut(written),
                        qx::Out(filled), qx::Out(twinHandle), qx::Out(twinPoint), qx::InOut(twinSize),
                        qx::InOut(twinHandle), qx::InOut(filled));
        written = "bbbb";
        filled = "\7\7\7";
        twinSize = 3;
        twinHandle = &number;
        twinPoint.x = 5;
        call.Return("done");
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(Number(dump.Only("FillOfC").args.out.at(0)), 42u);
    EXPECT_EQ(Bytes(dump.Only("FillOfC").args.in.at(3)), "\1\2");
    ExpectTwins(dump, "FillOfC", "Fill");
}

TEST_F(RecordedFromCTest, ACallThatIsLeftHasNoResultAndTheFirstOneCounts) {
    Run("traced", [] {
        EXPECT_EQ(c_leave(false), 0);
        EXPECT_EQ(c_leave(true), 2);
    });
    const std::vector<IQxData::HSCall> calls = Dump("traced", true).Of("LeftOfC");
    ASSERT_EQ(calls.size(), 2u);
    EXPECT_EQ(calls[0].args.ret, std::vector<IQxData::HSICallArg>{{}});
    EXPECT_NE(calls[0].exitTime, 0u);
    EXPECT_EQ(Number(calls[1].args.ret.at(0)), 1u);
}

TEST_F(RecordedFromCTest, NestedCallsAndLogItemsKeepTheirPlaces) {
    Run("traced", [] { c_nested([] { c_note(3); }); });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.calls.size(), 5u);
    EXPECT_EQ(Number(dump.Only("InnerOfC").args.ret.at(0)), 20u);
    EXPECT_EQ(Number(dump.Only("NoteOfC").args.ret.at(0)), 4u);
    EXPECT_EQ(Number(dump.Only("LogOfC").args.in.at(0)), 3u);
    EXPECT_EQ(Bytes(dump.Only("LogOfC").args.in.at(1)), "noted");
    EXPECT_EQ(dump.Only("BetweenOfC").exitTime, 0u);
    EXPECT_GE(dump.Only("OuterOfC").exitTime, dump.Only("InnerOfC").exitTime);
    const IQxData::HSCall& call = dump.Only("OuterOfC");
    EXPECT_EQ(dump.data->GetCallLocationWithPID(call.locId, call.pid).srcCodeFileRaw, "c_calls.c");
    EXPECT_EQ(dump.data->GetCallLocationWithPID(call.locId, call.pid).packageName, "c");
}

TEST_F(RecordedFromCTest, ALogItemTakesTheMembersOfAStructOneByOne) {
    Run("traced", [] {
        char owner[] = "";
        unsigned char data[] = {1, 2, 3};
        const c_shape shape = MakeShape("a\0\0", owner, data);
        c_log_struct(&shape);
    });
    const DecodedDump dump = Dump("traced", true);
    const std::vector<IQxData::HSICallArg>& in = dump.Only("LogStructOfC").args.in;
    ASSERT_EQ(in.size(), 11u);
    EXPECT_EQ(Bytes(in[0]), "title");
    // The format would drop an empty one.
    EXPECT_EQ(Bytes(in[1]), std::string(1, '\0'));
    EXPECT_EQ(Number(in[2]), 1u);
    EXPECT_EQ(Bytes(in[4]), "a");
    EXPECT_EQ(Bytes(in[6]), "\1\2\3");
    EXPECT_EQ(Bytes(in[9]), std::string(1, '\0'));
}

TEST_F(RecordedFromCTest, AStructWithoutMembersIsRefusedAndHarmsNoOtherCall) {
    Run("traced", [] {
        c_empty_table();
        c_note(1);
        EXPECT_EQ(qx::recorder::GetCounters().refused, 1u);
    });
    EXPECT_EQ(Dump("traced", true).Of("NoteOfC").size(), 1u);
    ExpectBalanced(Total("traced"));
}

TEST_F(RecordedFromCTest, LongTextsAreCutAndCounted) {
    Run("traced", [] {
        const std::string text(qx::recorder::kMaxText + 1, 't');
        c_text(text.c_str());
        char owner[] = "";
        c_texts(owner, text.data(), text.size());
        qx_recorder_counters counters;
        EXPECT_TRUE(qx_recorder_get_counters(&counters));
        EXPECT_EQ(counters.cut, 2u);
        EXPECT_EQ(counters.recorded, 2u);
        EXPECT_EQ(counters.exits, 2u);
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(Bytes(dump.Only("TextOfC").args.in[0]).size(), qx::recorder::kMaxText);
    EXPECT_EQ(Bytes(dump.Only("TextsOfC").args.in[4]).size(), qx::recorder::kMaxText);
}

TEST_F(RecordedFromCTest, OptionsAreCheckedAndTheSwitchSwitches) {
    Run("traced", [] {
        qx_recorder_options options{128, 0, 0, QX_RECORDER_OVERWRITE};
        EXPECT_FALSE(qx_recorder_configure(&options));
        options = {0, 0, 0, QX_RECORDER_DISCARD + 1};
        EXPECT_FALSE(qx_recorder_configure(&options));
        options = {256, 2, 4096, QX_RECORDER_DISCARD};
        EXPECT_TRUE(qx_recorder_configure(&options));
        EXPECT_TRUE(qx_recorder_is_enabled());
        qx_recorder_set_enabled(false);
        c_note(1);
        EXPECT_FALSE(qx_recorder_is_enabled());
        EXPECT_FALSE(qx::recorder::IsEnabled());
        EXPECT_EQ(qx::recorder::GetCounters().recorded, 0u);
        qx_recorder_set_enabled(true);
        for (unsigned i = 0; i < 1000; ++i) c_note(i);
        qx_recorder_counters counters;
        EXPECT_TRUE(qx_recorder_get_counters(&counters));
        EXPECT_EQ(counters.recorded, 2000u);
        EXPECT_GT(counters.refused, 1000u);
        EXPECT_EQ(counters.overwritten, 0u);
    });
    EXPECT_EQ(Number(Dump("traced", true).Of("NoteOfC").front().args.in[0]), 0u);
    ExpectBalanced(Total("traced"));
}

TEST_F(RecordedFromCTest, WhatAFullRingLosesIsCounted) {
    Run("traced", [] {
        const qx_recorder_options options{256, 4, 0, QX_RECORDER_OVERWRITE};
        EXPECT_TRUE(qx_recorder_configure(&options));
        for (unsigned i = 0; i < 1000; ++i) c_note(i);
        qx_recorder_counters counters;
        EXPECT_TRUE(qx_recorder_get_counters(&counters));
        EXPECT_EQ(counters.recorded, 2000u);
        EXPECT_EQ(counters.refused, 0u);
        EXPECT_GT(counters.overwritten, 1000u);
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(Number(dump.Of("NoteOfC").back().args.in[0]), 999u);
    const qx::host::Loss loss = Total("traced");
    ExpectBalanced(loss);
    EXPECT_EQ(loss.recorded, 2000u);
    EXPECT_EQ(loss.delivered, dump.calls.size());
}

TEST_F(RecordedFromCTest, ThreadsHaveTheirNamesAndRings) {
    Run("traced", [] {
        std::thread([] {
            qx_recorder_set_thread_name("given");
            c_note(1);
        }).join();
        std::thread([] {
            qx_recorder_set_thread_name(std::string(100, 'n').c_str());
            c_note(2);
        }).join();
    });
    const DecodedDump dump = Dump("traced", true);
    std::set<std::string> names;
    for (const IQxData::HSCall& call : dump.Of("NoteOfC")) names.insert(dump.data->GetThread(call.tid).name);
    EXPECT_EQ(names, (std::set<std::string>{"given", std::string(64, 'n')}));
}

// Threads that pass a call site for the first time at once have it numbered once.
TEST_F(RecordedFromCTest, ThreadsThatComeToACallSiteTogetherShareIt) {
    Run("traced", [] {
        Gate gate(8);
        std::vector<std::thread> threads;
        for (unsigned t = 0; t < 8; ++t) {
            threads.emplace_back([&gate, t] {
                gate.Pass();
                for (unsigned i = 0; i < 500; ++i) c_note(t);
            });
        }
        for (std::thread& thread : threads) thread.join();
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.calls.size(), 8000u);
    std::set<unsigned> sites;
    for (const IQxData::HSCall& call : dump.calls) sites.insert(call.locId);
    EXPECT_EQ(sites.size(), 2u);
}

pid_t g_child;

TEST_F(RecordedFromCTest, AForkedChildRecordsForItselfAndLeavesTheCallToItsParent) {
    Run("traced", [] {
        const pid_t self = ::getpid();
        c_nested([] {
            g_child = ::fork();
            c_note(g_child == 0 ? 2 : 1);
        });
        // The calls that it was forked in began in its parent, and have no exit here.
        if (::getpid() != self) {
            EXPECT_EQ(qx::recorder::GetCounters().exits, 1u);
            return;
        }
        int status = -1;
        EXPECT_EQ(::waitpid(g_child, &status, 0), g_child);
        EXPECT_EQ(status, 0);
    });
    EXPECT_EQ(Files(".qxrec").size(), 2u);
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(Number(dump.Only("InnerOfC").args.ret.at(0)), 20u);
    EXPECT_NE(dump.Only("OuterOfC").exitTime, 0u);
    EXPECT_EQ(dump.Of("NoteOfC").size(), 2u);
    ExpectBalanced(Total("traced"));
    EXPECT_EQ(Total("traced").exits, 4u);
}

volatile sig_atomic_t g_signals;

void TraceInHandler(int) {
    c_note(0);
    g_signals = g_signals + 1;
}

// Handlers may not trace; whatever becomes of their calls, it is counted, and the program's own are whole. A first call
// takes memory to describe its site, which no handler may.
TEST_F(RecordedFromCTest, SignalsInTheMidstOfRecordingHarmNothing) {
    Run("traced", [] {
        unsigned made = 0;
        c_note(made++);
        struct sigaction action {};
        action.sa_handler = TraceInHandler;
        action.sa_flags = SA_RESTART;
        ::sigaction(SIGALRM, &action, nullptr);
        const itimerval often{{0, 100}, {0, 100}};
        ::setitimer(ITIMER_REAL, &often, nullptr);
        for (; g_signals < 200; ++made) c_note(made);
        const itimerval never{};
        ::setitimer(ITIMER_REAL, &never, nullptr);
        EXPECT_EQ(qx::recorder::GetCounters().recorded, 2u * (made + static_cast<unsigned>(g_signals)));
    });
    EXPECT_FALSE(Dump("traced", true).calls.empty());
    ExpectBalanced(Total("traced"));
}

TEST_F(RecordedFromCTest, ErrnoStaysAsItIs) {
    Run("traced", [] {
        errno = EDOM;
        c_note(1);
        qx_recorder_set_thread_name("name");
        EXPECT_EQ(errno, EDOM);
    });
}

}  // namespace
