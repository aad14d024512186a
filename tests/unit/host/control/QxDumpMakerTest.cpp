// Dumps of calls that others recorded, as the library decodes them.
#include <gmock/gmock.h>
#include <qx/dumps.h>

#include "IQxData.h"
#include "QxParser.h"

namespace {

using qx::host::CallRecord;
using qx::host::CallSite;
using qx::host::CallThread;
using qx::host::DumpMaker;
using qx::host::ValueType;
using testing::ElementsAre;

const ValueType kInt{"int32_t", {{"", "int32_t", 4}}, false};
const ValueType kText{"string", {{"", "string", ValueType::kCounted}}, false};
const ValueType kPoint{"Point", {{"x", "int32_t", 4}, {"name", "string", ValueType::kCounted}}, false};
const ValueType kList{"int32_t[]", {{"", "int32_t", 4}}, true};

std::string Int(std::uint32_t number) {
    std::string bytes;
    qx::host::AppendNumber(bytes, number, 4);
    return bytes;
}
std::string Text(const std::string& text) {
    std::string bytes;
    qx::host::AppendText(bytes, text);
    return bytes;
}
std::string Count(std::size_t count) {
    std::string bytes;
    qx::host::AppendCount(bytes, count);
    return bytes;
}

// Values are stored with one added to each byte.
std::string Stored(std::string bytes) {
    for (char& c : bytes) c = static_cast<char>(c + 1);
    return bytes;
}

class QxDumpMakerTest : public testing::Test {
protected:
    QxDumpMakerTest() {
        store->AppendProcessName(7, "tuner");
        store->AppendCurrentProcess("tuner");
    }

    // Returns what Parse and Extract did.
    int Decode(std::string dump) {
        std::pair<int, char*> bytes(static_cast<int>(dump.size()), dump.data());
        const int parsed = parser.Parse(bytes, store);
        return parser.Extract() & parsed;
    }

    std::vector<IQxData::HSCall> Calls() const {
        std::vector<IQxData::HSCall> calls;
        for (const auto& [key, call] : *store->GetCallIMap()) calls.push_back(call);
        return calls;
    }

    const CallThread thread{100007, 3, "main"};
    std::shared_ptr<IQxData> store = IQxData::Instance();
    QxParser parser{nullptr, nullptr};
    DumpMaker maker{"tuner"};
};

TEST_F(QxDumpMakerTest, WritesCallsAsTheyAreDecoded) {
    const std::uint32_t site = maker.Site({"SetVolume", "audio", "volume.cpp", 12, {kInt, kText}, {kInt}, kInt});
    ASSERT_NE(site, 0u);
    CallRecord call;
    call.site = site;
    call.time = 5000;
    call.in = Int(85) + Text("");
    call.exit = {8000, Int(1), Int(2)};
    EXPECT_TRUE(maker.Add(thread, call));
    EXPECT_EQ(Decode(maker.Take()), 1);
    const std::vector<IQxData::HSCall> calls = Calls();
    ASSERT_EQ(calls.size(), 1u);
    EXPECT_EQ(calls[0].pid, 7);
    EXPECT_EQ(calls[0].tid, 3);
    EXPECT_EQ(calls[0].time, 5000u);
    EXPECT_EQ(calls[0].exitTime, 8000u);
    ASSERT_EQ(calls[0].args.in.size(), 2u);
    EXPECT_EQ(calls[0].args.in[0][0].second, Stored(Int(85)));
    EXPECT_EQ(calls[0].args.in[1][0].second, "");
    EXPECT_EQ(calls[0].args.out[0][0].second, Stored(Int(1)));
    EXPECT_EQ(calls[0].args.ret[0][0].second, Stored(Int(2)));
    const IQxData::_HSCallLocation location = store->GetCallLocation(calls[0].locId);
    EXPECT_EQ(location.callerName, "SetVolume");
    EXPECT_EQ(location.packageName, "audio");
    EXPECT_EQ(location.srcCodeFileRaw, "volume.cpp");
    EXPECT_EQ(store->GetThread(3).name, "main");
}

TEST_F(QxDumpMakerTest, WritesCompositesAndLists) {
    CallRecord call;
    call.site = maker.Site({"Move", "", "", 0, {kPoint, kList}, {}, std::nullopt});
    call.in = Int(1) + Text("a") + Count(2) + Int(5) + Int(6);
    EXPECT_TRUE(maker.Add(thread, call));
    EXPECT_EQ(Decode(maker.Take()), 1);
    const IQxData::HSCall decoded = Calls().at(0);
    ASSERT_EQ(decoded.args.in.size(), 2u);
    EXPECT_THAT(decoded.args.in[0],
                ElementsAre(testing::Pair("x", Stored(Int(1))), testing::Pair("name", Stored("a"))));
    EXPECT_THAT(decoded.args.in[1], ElementsAre(testing::Pair("", Stored(Int(5))), testing::Pair("", Stored(Int(6)))));
    EXPECT_EQ(decoded.exitTime, 0u);
}

TEST_F(QxDumpMakerTest, ASiteHasOneNumber) {
    const CallSite site{"F", "", "", 0, {kInt}, {}, std::nullopt};
    const std::uint32_t number = maker.Site(site);
    EXPECT_EQ(maker.Site(site), number);
    EXPECT_NE(maker.Site({"F", "", "", 0, {kText}, {}, std::nullopt}), number);
}

// Two layouts may go by one name.
TEST_F(QxDumpMakerTest, ALayoutStaysThatOfItsSite) {
    const ValueType other{"Point", {{"y", "int32_t", 4}}, false};
    const CallSite first{"F", "", "", 0, {kPoint}, {}, std::nullopt};
    CallRecord call;
    call.site = maker.Site(first);
    EXPECT_NE(maker.Site({"F", "", "", 0, {other}, {}, std::nullopt}), call.site);
    EXPECT_EQ(maker.Site(first), call.site);
    call.in = Int(1) + Text("a");
    maker.Add(thread, call);
    EXPECT_EQ(Decode(maker.Take()), 1);
    EXPECT_EQ(Calls().at(0).args.in[0][1].first, "name");
}

TEST_F(QxDumpMakerTest, TwoLayoutsOfOneNameStandInOneSite) {
    const ValueType other{"Point", {{"y", "int32_t", 4}}, false};
    CallRecord call;
    call.site = maker.Site({"F", "", "", 0, {kPoint, other}, {}, std::nullopt});
    call.in = Int(1) + Text("a") + Int(2);
    maker.Add(thread, call);
    EXPECT_EQ(Decode(maker.Take()), 1);
    const IQxData::HSCall decoded = Calls().at(0);
    ASSERT_EQ(decoded.args.in.size(), 2u);
    EXPECT_EQ(decoded.args.in[0].size(), 2u);
    EXPECT_EQ(decoded.args.in[1][0].second, Stored(Int(2)));
}

TEST_F(QxDumpMakerTest, EachDumpHoldsItsOwnCalls) {
    CallRecord call;
    call.site = maker.Site({"F", "", "", 0, {kInt}, {}, std::nullopt});
    call.in = Int(1);
    maker.Add(thread, call);
    EXPECT_EQ(maker.Size(), 4u);
    EXPECT_EQ(Decode(maker.Take()), 1);
    store->clear();
    store->AppendProcessName(7, "tuner");
    store->AppendCurrentProcess("tuner");
    EXPECT_EQ(maker.Size(), 0u);
    call.time = 9;
    maker.Add(thread, call);
    EXPECT_EQ(Decode(maker.Take()), 1);
    ASSERT_EQ(Calls().size(), 1u);
    EXPECT_EQ(Calls()[0].time, 9u);
    EXPECT_EQ(Calls()[0].args.in.size(), 1u);
}

TEST_F(QxDumpMakerTest, RefusesWhatHasNoPlace) {
    CallRecord call;
    call.site = maker.Site({"F", "", "", 0, std::vector<ValueType>(8, kText), {}, std::nullopt});
    for (int i = 0; i < 8; ++i) call.in += Text(std::string(8192, 'x'));
    EXPECT_FALSE(maker.Add(thread, call));
    EXPECT_EQ(maker.Site({"G", "", "", 0, std::vector<ValueType>(1025, kInt), {}, std::nullopt}), 0u);
    EXPECT_EQ(maker.Site({std::string(4097, 'x'), "", "", 0, {}, {}, std::nullopt}), 0u);
    EXPECT_NE(maker.Site({"G", "", "", 0, {kInt}, {}, std::nullopt}), 0u);
}

TEST_F(QxDumpMakerTest, CutsTexts) {
    EXPECT_EQ(Text(std::string(9000, 'x')).size(), 8192u + 2);
}

}  // namespace
