// The recorder and the decoder share no code: what a program records comes out of the decoder as it went in, and what
// is left of a dump that was cut or changed is still read.
#include <qx/recorder.h>
#include <time.h>

#include <random>
#include <stdexcept>

#include "Diagnostics.h"
#include "ExactBytes.h"
#include "HostTest.h"
#include "QxParser.h"

namespace {

struct Place {
    std::int32_t x = 0;
    std::string name;
};

struct Thing {
    std::string title;
    Place place;
    std::vector<std::uint16_t> weights;
    std::uint64_t serial = 0;
    bool isFilled = false;
};

}  // namespace

QX_TRACE_STRUCT(Place, x, name)
QX_TRACE_STRUCT(Thing, title, place, weights, serial, isFilled)

namespace {

constexpr std::uint32_t kCalls = 5000;

// Values that depend on nothing but a number, so that both sides know them.
class Values {
public:
    explicit Values(std::uint32_t seed) : m_random(seed) {}

    std::uint64_t Integer() { return static_cast<std::uint64_t>(m_random()) << 32 | m_random(); }
    // Mostly short; all bytes occur.
    std::string Text() {
        std::string text(Size(), '\0');
        for (char& byte : text) byte = static_cast<char>(m_random());
        return text;
    }
    std::vector<std::uint16_t> Numbers() {
        std::vector<std::uint16_t> numbers(Size());
        for (std::uint16_t& number : numbers) number = static_cast<std::uint16_t>(m_random());
        return numbers;
    }
    Place APlace() {
        Place place;
        place.x = static_cast<std::int32_t>(m_random());
        place.name = Text();
        return place;
    }
    std::vector<Place> Places() {
        std::vector<Place> places(Size() % 8);
        for (Place& place : places) place = APlace();
        return places;
    }
    Thing AThing() {
        Thing thing;
        thing.title = Text();
        thing.place = APlace();
        thing.weights = Numbers();
        thing.serial = Integer();
        thing.isFilled = Integer() % 2 == 1;
        return thing;
    }

private:
    std::size_t Size() {
        const std::size_t limits[] = {1, 4, 20, 300};
        return m_random() % limits[m_random() % 4];
    }

    std::mt19937 m_random;
};

// Every third call ends by an exception.
bool Fails(std::uint32_t n) {
    return n % 3 == 1;
}

Thing Exchange(std::uint32_t n) {
    Values values(n);
    Thing thing = values.AThing();
    const std::vector<Place> places = values.Places();
    const std::string text = values.Text();
    const std::uint64_t integer = values.Integer();
    std::vector<std::uint16_t> numbers = values.Numbers();
    QX_CALL_RETURNS(call, Thing, "p", "Exchange", qx::In(n), qx::InOut(thing), qx::In(places), qx::In(text),
                    qx::In(integer), qx::InOut(numbers));
    QX_LOG("p", "Exchanging", n, text);
    thing = values.AThing();
    numbers = values.Numbers();
    if (Fails(n)) throw std::runtime_error("failed");
    return call.Return(values.AThing());
}

void TryExchange(std::uint32_t n) {
    try {
        Exchange(n);
        EXPECT_FALSE(Fails(n));
    } catch (const std::runtime_error&) {
        EXPECT_TRUE(Fails(n));
    }
}

std::string Little(std::uint64_t value, std::size_t size) {
    std::string bytes;
    for (std::size_t i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
    return bytes;
}

// A value as the decoder gives it: pairs of a member's name and its bytes.
using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs PairsOf(const Place& place) {
    return {{"x", Little(static_cast<std::uint32_t>(place.x), 4)}, {"name", place.name}};
}

// A member that is a struct itself has a pair, too, behind those of its members.
Pairs PairsOf(const Thing& thing) {
    Pairs pairs{{"title", thing.title}};
    for (const auto& pair : PairsOf(thing.place)) pairs.push_back(pair);
    std::string weights;
    for (const std::uint16_t weight : thing.weights) weights += Little(weight, 2);
    pairs.insert(pairs.end(), {{"place", ""},
                               {"weights", weights},
                               {"serial", Little(thing.serial, 8)},
                               {"isFilled", Little(thing.isFilled ? 1 : 0, 1)}});
    return pairs;
}

Pairs PairsOf(const std::vector<Place>& places) {
    Pairs pairs;
    for (const Place& place : places) {
        for (const auto& pair : PairsOf(place)) pairs.push_back(pair);
    }
    return pairs;
}

Pairs PairsOf(const std::vector<std::uint16_t>& numbers) {
    Pairs pairs;
    for (const std::uint16_t number : numbers) pairs.emplace_back("", Little(number, 2));
    return pairs;
}

Pairs PairsOf(const std::string& bytes) {
    return {{"", bytes}};
}

Pairs Traced(const IQxData::HSICallArg& argument) {
    Pairs pairs;
    for (std::size_t i = 0; i < argument.size(); ++i) pairs.emplace_back(argument[i].first, Bytes(argument, i));
    return pairs;
}

std::vector<Pairs> Traced(const std::vector<IQxData::HSICallArg>& arguments) {
    std::vector<Pairs> all;
    for (const IQxData::HSICallArg& argument : arguments) all.push_back(Traced(argument));
    return all;
}

void ExpectExchange(const IQxData::HSCall& call, std::uint32_t n) {
    Values values(n);
    std::vector<Pairs> in{PairsOf(Little(n, 4)), PairsOf(values.AThing()), PairsOf(values.Places())};
    in.push_back(PairsOf(values.Text()));
    in.push_back(PairsOf(Little(values.Integer(), 8)));
    in.push_back(PairsOf(values.Numbers()));
    ASSERT_EQ(Traced(call.args.in), in);
    std::vector<Pairs> out{PairsOf(values.AThing())};
    out.push_back(PairsOf(values.Numbers()));
    ASSERT_EQ(Traced(call.args.out), out);
    ASSERT_EQ(Traced(call.args.ret), std::vector<Pairs>{Fails(n) ? Pairs() : PairsOf(values.AThing())});
}

using RoundTripTest = HostTest;

TEST_F(RoundTripTest, RandomCallsComeOutAsTheyWentIn) {
    Run("traced", [] {
        EXPECT_TRUE(qx::recorder::Configure({1 << 20, 16}));
        for (std::uint32_t n = 0; n < kCalls; ++n) TryExchange(n);
    });
    const DecodedDump dump = Dump("traced", true);
    const std::vector<IQxData::HSCall> calls = dump.Of("Exchange");
    ASSERT_EQ(calls.size(), kCalls);
    for (std::uint32_t n = 0; n < kCalls; ++n) {
        SCOPED_TRACE(n);
        ExpectExchange(calls[n], n);
        if (HasFatalFailure()) return;
    }
    EXPECT_EQ(dump.Of("Exchanging").size(), kCalls);
}

std::map<unsigned long long, IQxData::HSCall> DecodeDamaged(const std::string& bytes) {
    const std::shared_ptr<IQxData> store = IQxData::Instance();
    ExactBytes exact(bytes);
    QxParser parser(nullptr, nullptr);
    parser.Parse(exact.Pair(), store);
    parser.Extract();
    return *store->GetCallIMap();
}

class DamagedDumpTest : public HostTest {
protected:
    DamagedDumpTest() {
        Run("traced", [] {
            for (std::uint32_t n = 0; n < 3; ++n) TryExchange(n);
        });
        m_bytes = Dump("traced", true).bytes;
    }

    std::string m_bytes;

private:
    const Diagnostics m_silent{Silent};
};

TEST_F(DamagedDumpTest, EveryPrefixGivesCallsOfTheWhole) {
    const auto whole = DecodeDamaged(m_bytes);
    ASSERT_EQ(whole.size(), 6u);
    std::size_t most = 0;
    for (std::size_t size = 0; size <= m_bytes.size(); ++size) {
        SCOPED_TRACE(size);
        const auto calls = DecodeDamaged(m_bytes.substr(0, size));
        for (const auto& [key, call] : calls) {
            ASSERT_EQ(whole.count(key), 1u);
            ASSERT_EQ(call.args.in, whole.at(key).args.in);
        }
        ASSERT_GE(calls.size(), most);
        most = calls.size();
    }
    EXPECT_EQ(most, 6u);
}

TEST_F(DamagedDumpTest, EveryChangedByteIsBorne) {
    for (std::size_t at = 0; at < m_bytes.size(); ++at) {
        for (const unsigned flipped : {0x01u, 0x80u, 0xFFu}) {
            std::string changed = m_bytes;
            changed[at] = static_cast<char>(static_cast<unsigned char>(changed[at]) ^ flipped);
            ASSERT_LE(DecodeDamaged(changed).size(), m_bytes.size());
        }
    }
}

TEST_F(RoundTripTest, PausesLongerThanADeltaHoldsAreKept) {
    // 4.3 s of pause are not waited for: the first item of a ring has the same form, its time is counted from boot.
    Run("traced", [] { QX_LOG("p", "Log", 0u, 0u); });
    struct timespec now {};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    const DecodedDump dump = Dump("traced", true);
    const auto nowNs = static_cast<unsigned long long>(now.tv_sec) * 1000000000u;
    EXPECT_GT(dump.calls.at(0).time + 60000000000u, nowNs);
}

}  // namespace
