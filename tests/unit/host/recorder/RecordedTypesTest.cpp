// Numbers with a fraction, addresses, spans of time, named enumerations, and all lists but the vector, as a tracker
// decodes them.
#include <qx/recorder.h>

#include <array>
#include <chrono>
#include <cstring>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <unordered_map>
#include <unordered_set>

#include "HostTest.h"

namespace device {

enum class State : signed char { Idle, Playing, Broken = -5 };

}  // namespace device

// Names that the recorder uses itself.
enum class Mode { Off, On };
struct Options {
    int value = 1;
};
struct Name {
    int value = 2;
};

enum Plain { kOff, kOn };

enum class Wide : std::int64_t { Zero };
enum class Large : std::uint64_t { Zero };

namespace {

struct Spot {
    int x = 0;
    int y = 0;
};

struct Reading {
    float level = 0;
    device::State state = device::State::Idle;
    std::optional<int> limit;
    std::array<std::uint16_t, 2> pair{};
    int plain[2] = {};
    std::map<std::string, int> counts;
    std::set<device::State> seen;
    std::chrono::milliseconds age{};
    const void* owner = nullptr;
};

}  // namespace

QX_TRACE_ENUM(device::State, device::State::Idle, device::State::Playing)
QX_TRACE_ENUM(Mode, Mode::Off, Mode::On)
QX_TRACE_STRUCT(Options, value)
QX_TRACE_STRUCT(Name, value)
QX_TRACE_ENUM(Plain, kOff, kOn)
QX_TRACE_ENUM(Wide, Wide::Zero)
QX_TRACE_ENUM(Large, Large::Zero)
QX_TRACE_STRUCT(Spot, x, y)
QX_TRACE_STRUCT(Reading, level, state, limit, pair, plain, counts, seen, age, owner)

namespace {

using device::State;
using RecordedTypesTest = HostTest;
using Names = std::vector<std::string>;

template <class T>
std::string BytesOf(T value) {
    std::string bytes(sizeof(value), '\0');
    std::memcpy(bytes.data(), &value, sizeof(value));
    return bytes;
}

IQxData::_HSCallLocation::Args ArgumentsOf(const DecodedDump& dump, const char* method) {
    const IQxData::HSCall& call = dump.Only(method);
    return dump.data->GetCallLocationWithPID(call.locId, call.pid).args;
}

TEST_F(RecordedTypesTest, NumbersWithAFractionAreTheirBytes) {
    Run("traced", [] {
        QX_CALL_RETURNS(call, double, "p", "Fractions", qx::In(1.5f), qx::In(-0.1), qx::In(1.25L));
        call.Return(2.5);
    });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& call = dump.Only("Fractions");
    ASSERT_EQ(call.args.in.size(), 3u);
    EXPECT_EQ(Bytes(call.args.in[0]), BytesOf(1.5f));
    EXPECT_EQ(Bytes(call.args.in[1]), BytesOf(-0.1));
    EXPECT_EQ(Bytes(call.args.ret.at(0)), BytesOf(2.5));
    const IQxData::_HSCallLocation::Args types = ArgumentsOf(dump, "Fractions");
    EXPECT_EQ(types.argType, (Names{"float", "double", "long double"}));
    EXPECT_EQ(types.argSize, (std::vector<unsigned>{4, 8, sizeof(long double)}));
}

// What fills up the room of a long double is whatever lay there before.
TEST_F(RecordedTypesTest, OfALongDoubleOnlyTheBytesOfItsValueAreRecorded) {
    Run("traced", [] {
        long double value = 0;
        std::memset(&value, 0xAA, sizeof(value));
        value = 1.25L;
        QX_CALL(call, "p", "Long", qx::In(value));
    });
    const std::string bytes = Bytes(Dump("traced", true).Only("Long").args.in.at(0));
    ASSERT_EQ(bytes.size(), sizeof(long double));
    const std::size_t used = std::numeric_limits<long double>::digits == 64 ? 10 : sizeof(long double);
    EXPECT_EQ(bytes.substr(used), std::string(bytes.size() - used, '\0'));
    long double read = 0;
    std::memcpy(&read, bytes.data(), used);
    EXPECT_EQ(read, 1.25L);
}

TEST_F(RecordedTypesTest, AddressesAreIntegers) {
    static int target = 0;
    Run("traced", [] {
        int* const none = nullptr;
        QX_CALL(call, "p", "Addresses", qx::In(&target), qx::In(none), qx::In(&::abort), qx::In(nullptr));
    });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& call = dump.Only("Addresses");
    ASSERT_EQ(call.args.in.size(), 4u);
    EXPECT_EQ(Number(call.args.in[0]), reinterpret_cast<std::uintptr_t>(&target));
    EXPECT_EQ(Number(call.args.in[1]), 0u);
    EXPECT_EQ(Number(call.args.in[2]), reinterpret_cast<std::uintptr_t>(&::abort));
    EXPECT_EQ(Number(call.args.in[3]), 0u);
    EXPECT_EQ(ArgumentsOf(dump, "Addresses").argType, Names(4, "void*"));
    EXPECT_EQ(ArgumentsOf(dump, "Addresses").argSize, std::vector<unsigned>(4, sizeof(void*)));
}

TEST_F(RecordedTypesTest, SpansOfTimeAreTheNumberOfTheirUnits) {
    using namespace std::chrono_literals;
    Run("traced", [] {
        const std::chrono::duration<float> fraction(0.5f);
        const std::chrono::duration<std::int32_t, std::ratio<1, 30>> frames(7);
        const std::chrono::duration<std::int32_t, std::ratio<86400>> days(3);
        QX_CALL(call, "p", "Spans", qx::In(5ns), qx::In(-6us), qx::In(7ms), qx::In(8s), qx::In(9min), qx::In(10h),
                qx::In(days), qx::In(frames), qx::In(fraction));
    });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& call = dump.Only("Spans");
    ASSERT_EQ(call.args.in.size(), 9u);
    const std::int64_t expected[] = {5, -6, 7, 8, 9, 10};
    for (std::size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(Bytes(call.args.in[i]), BytesOf(expected[i])) << i;
    EXPECT_EQ(Bytes(call.args.in[6]), BytesOf(std::int32_t{3}));
    EXPECT_EQ(Bytes(call.args.in[7]), BytesOf(std::int32_t{7}));
    EXPECT_EQ(Bytes(call.args.in[8]), BytesOf(0.5f));
    EXPECT_EQ(ArgumentsOf(dump, "Spans").argType, (Names{"nanoseconds", "microseconds", "milliseconds", "seconds",
                                                         "minutes", "hours", "days", "1/30 seconds", "float seconds"}));
}

TEST_F(RecordedTypesTest, EnumerationsWithATableGoByTheirNames) {
    Run("traced", [] {
        QX_CALL_RETURNS(call, State, "p", "Names", qx::In(State::Idle), qx::In(State::Broken), qx::In(kOn),
                        qx::In(std::vector<State>{State::Playing, State::Idle}));
        call.Return(State::Playing);
    });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& call = dump.Only("Names");
    ASSERT_EQ(call.args.in.size(), 4u);
    EXPECT_EQ(Bytes(call.args.in[0]), "Idle");
    // It stands in no table.
    EXPECT_EQ(Bytes(call.args.in[1]), "-5");
    EXPECT_EQ(Bytes(call.args.in[2]), "kOn");
    ASSERT_EQ(call.args.in[3].size(), 2u);
    EXPECT_EQ(Bytes(call.args.in[3], 0), "Playing");
    EXPECT_EQ(Bytes(call.args.in[3], 1), "Idle");
    EXPECT_EQ(Bytes(call.args.ret.at(0)), "Playing");
    EXPECT_EQ(ArgumentsOf(dump, "Names").argType,
              (Names{"device::State", "device::State", "Plain", "vector<device::State>"}));
    EXPECT_EQ(ArgumentsOf(dump, "Names").retType, "result<device::State>");
}

TEST_F(RecordedTypesTest, AProgramMayUseTheRecordersOwnNames) {
    Run("traced", [] { QX_CALL(call, "p", "Own", qx::In(Mode::On), qx::In(Options()), qx::In(Name())); });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& call = dump.Only("Own");
    EXPECT_EQ(Bytes(call.args.in.at(0)), "On");
    EXPECT_EQ(Number(call.args.in.at(1)), 1u);
    EXPECT_EQ(Number(call.args.in.at(2)), 2u);
    EXPECT_EQ(ArgumentsOf(dump, "Own").argType, (Names{"Mode", "Options", "Name"}));
}

TEST(EnumTextTest, EveryNumberFits) {
    const qx::recorder::detail::EnumText<Wide> lowest(static_cast<Wide>(INT64_MIN));
    EXPECT_EQ(std::string_view(lowest), std::to_string(INT64_MIN));
    const qx::recorder::detail::EnumText<Large> highest(static_cast<Large>(UINT64_MAX));
    EXPECT_EQ(std::string_view(highest), std::to_string(UINT64_MAX));
}

TEST_F(RecordedTypesTest, ListsOfEveryKindReadAlike) {
    Run("traced", [] {
        const int plain[] = {7, 8, 9};
        const std::set<std::string> texts{"b", "a"};
        const std::multiset<int> numbers{4, 4};
        const std::unordered_set<int> hashed{6};
        const std::array<Spot, 2> spots{{{1, 2}, {3, 4}}};
        QX_CALL(call, "p", "Lists", qx::In(std::array<int, 2>{1, 2}), qx::In(plain), qx::In(texts), qx::In(numbers),
                qx::In(hashed), qx::In(spots), qx::In(std::array<int, 0>()));
    });
    const DecodedDump dump = Dump("traced", true);
    const std::vector<IQxData::HSICallArg>& in = dump.Only("Lists").args.in;
    ASSERT_EQ(in.size(), 7u);
    const std::size_t sizes[] = {2, 3, 2, 2, 1, 4, 0};
    for (std::size_t i = 0; i < in.size(); ++i) ASSERT_EQ(in[i].size(), sizes[i]) << i;
    EXPECT_EQ(Number(in[0], 1), 2u);
    EXPECT_EQ(Number(in[1], 2), 9u);
    EXPECT_EQ(Bytes(in[2], 0), "a");
    EXPECT_EQ(Number(in[3], 1), 4u);
    EXPECT_EQ(Number(in[4], 0), 6u);
    EXPECT_EQ(in[5][3].first, "y");
    EXPECT_EQ(Number(in[5], 3), 4u);
    EXPECT_EQ(ArgumentsOf(dump, "Lists").argType, (Names{"array<int,2>", "array<int,3>", "set<string>", "multiset<int>",
                                                         "unordered_set<int>", "array<Spot,2>", "array<int,0>"}));
}

TEST_F(RecordedTypesTest, MapsReadAsKeysAndValuesInTurn) {
    Run("traced", [] {
        const std::map<std::string, Spot> spots{{"one", {1, 2}}, {"two", {3, 4}}};
        const std::unordered_map<int, double> weights{{3, 0.5}};
        const std::multimap<int, std::vector<int>> lists{{1, {1, 2}}, {1, {}}};
        QX_CALL(call, "p", "Maps", qx::In(spots), qx::In(weights), qx::In(lists));
    });
    const DecodedDump dump = Dump("traced", true);
    const std::vector<IQxData::HSICallArg>& in = dump.Only("Maps").args.in;
    ASSERT_EQ(in.size(), 3u);
    Names names;
    for (const auto& [name, bytes] : in[0]) names.push_back(name);
    // A struct within a value is followed by its own name.
    EXPECT_EQ(names, (Names{"key", "x", "y", "value", "key", "x", "y", "value"}));
    EXPECT_EQ(Bytes(in[0], 4), "two");
    EXPECT_EQ(Number(in[0], 5), 3u);
    ASSERT_EQ(in[1].size(), 2u);
    EXPECT_EQ(Number(in[1], 0), 3u);
    EXPECT_EQ(Bytes(in[1], 1), BytesOf(0.5));
    ASSERT_EQ(in[2].size(), 4u);
    EXPECT_EQ(Bytes(in[2], 1), std::string("\1\0\0\0\2\0\0\0", 8));
    EXPECT_EQ(Bytes(in[2], 3), "");
    EXPECT_EQ(ArgumentsOf(dump, "Maps").argType,
              (Names{"map<string,Spot>", "unordered_map<int,double>", "multimap<int,vector<int>>"}));
}

TEST_F(RecordedTypesTest, AValueThatMayBeMissingIsAListOfOneAtMost) {
    Run("traced", [] {
        const std::optional<Spot> spot(Spot{5, 6});
        QX_CALL_RETURNS(call, std::optional<int>, "p", "Maybe", qx::In(std::optional<int>(0)),
                        qx::In(std::optional<int>()), qx::In(spot), qx::In(std::optional<std::string>("")));
        call.Return(7);
    });
    const DecodedDump dump = Dump("traced", true);
    const IQxData::HSCall& call = dump.Only("Maybe");
    ASSERT_EQ(call.args.in.size(), 4u);
    ASSERT_EQ(call.args.in[0].size(), 1u);
    EXPECT_EQ(Number(call.args.in[0]), 0u);
    EXPECT_TRUE(call.args.in[1].empty());
    ASSERT_EQ(call.args.in[2].size(), 2u);
    EXPECT_EQ(Number(call.args.in[2], 1), 6u);
    ASSERT_EQ(call.args.in[3].size(), 1u);
    EXPECT_EQ(Bytes(call.args.in[3]), "");
    EXPECT_EQ(Number(call.args.ret.at(0)), 7u);
    EXPECT_EQ(ArgumentsOf(dump, "Maybe").argType,
              (Names{"optional<int>", "optional<int>", "optional<Spot>", "optional<string>"}));
    EXPECT_EQ(ArgumentsOf(dump, "Maybe").retType, "optional<int>");
}

TEST_F(RecordedTypesTest, MembersOfStructsAreOfAllTheseTypes) {
    Run("traced", [] {
        Reading reading;
        reading.level = 0.75f;
        reading.state = State::Playing;
        reading.limit = 9;
        reading.pair = {1, 258};
        reading.plain[1] = 3;
        reading.counts = {{"a", 1}, {"bc", -1}};
        reading.seen = {State::Idle, State::Playing};
        reading.age = std::chrono::milliseconds(12);
        QX_CALL(call, "p", "Members", qx::In(reading), qx::In(Reading()));
    });
    const DecodedDump dump = Dump("traced", true);
    const std::vector<IQxData::HSICallArg>& in = dump.Only("Members").args.in;
    ASSERT_EQ(in.size(), 2u);
    ASSERT_EQ(in[0].size(), 9u);
    EXPECT_EQ(Bytes(in[0], 0), BytesOf(0.75f));
    EXPECT_EQ(Bytes(in[0], 1), "Playing");
    EXPECT_EQ(Number(in[0], 2), 9u);
    EXPECT_EQ(Bytes(in[0], 3), std::string("\1\0\2\1", 4));
    EXPECT_EQ(Bytes(in[0], 4), std::string("\0\0\0\0\3\0\0\0", 8));
    EXPECT_EQ(Bytes(in[0], 5), std::string("a\0\1\0\0\0bc\0\xFF\xFF\xFF\xFF", 13));
    EXPECT_EQ(Bytes(in[0], 6), std::string("Idle\0Playing\0", 13));
    EXPECT_EQ(Number(in[0], 7), 12u);
    EXPECT_EQ(Number(in[0], 8), 0u);
    EXPECT_EQ(in[1].size(), 9u);
    EXPECT_EQ(Bytes(in[1], 2), "");
}

TEST_F(RecordedTypesTest, LogItemsTakeNumbersAndNames) {
    Run("traced",
        [] { QX_LOG("p", "Log", 0.5, State::Playing, std::chrono::seconds(3), static_cast<const void*>(nullptr)); });
    const DecodedDump dump = Dump("traced", true);
    const std::vector<IQxData::HSICallArg>& in = dump.Only("Log").args.in;
    ASSERT_EQ(in.size(), 4u);
    EXPECT_EQ(Bytes(in[0]), BytesOf(0.5));
    EXPECT_EQ(Bytes(in[1]), "Playing");
    EXPECT_EQ(Number(in[2]), 3u);
    EXPECT_EQ(Bytes(in[3]), std::string(sizeof(void*), '\0'));
}

TEST_F(RecordedTypesTest, LongListsOfEveryKindAreCutAtAnElement) {
    Run("traced", [] {
        std::set<int> numbers;
        for (int i = 0; i <= static_cast<int>(qx::recorder::kMaxElements); ++i) numbers.insert(i);
        { QX_CALL(call, "p", "Many", qx::In(numbers)); }
        Reading reading;
        reading.counts = {{std::string(8000, 'a'), 1}, {std::string(300, 'b'), 2}};
        { QX_CALL(call, "p", "Long", qx::In(reading)); }
        EXPECT_EQ(qx::recorder::GetCounters().cut, 2u);
    });
    const DecodedDump dump = Dump("traced", true);
    EXPECT_EQ(dump.Only("Many").args.in[0].size(), qx::recorder::kMaxElements);
    EXPECT_EQ(Bytes(dump.Only("Long").args.in[0], 5).size(), 8005u);
}

}  // namespace
