// Calls of a store as JSON: values by their types, who made them, and when.
#include "CallViews.h"

#include <gmock/gmock.h>

#include "JsonLine.h"
#include "QxFormat.h"

namespace {

using namespace qxlt;

// The store keeps each byte one larger than it was traced.
std::string Stored(std::string bytes) {
    for (char& byte : bytes) ++byte;
    return bytes;
}

class CallViewsTest : public testing::Test {
protected:
    CallViewsTest() {
        m_names.Add("m", 7);
        m_names.Register(m_store);
        m_store.AppendCurrentProcess("m");
        m_call.pid = 7;
        m_call.tid = 2;
        m_call.locId = 3;
        m_call.time = 1000;
    }

    void AddThread(const std::string& name) {
        IQxData::HSIThread thread{7, 2, name};
        m_store.AppendThread(thread);
    }

    // The keys behind the result of the call.
    std::string Additions(unsigned long long key = 5) {
        JsonLine line;
        AddCall(line, m_views.Of(key, m_call));
        const std::string text = std::move(line).Finish();
        const std::string before = "\"ret\":[]";
        return text.substr(text.find(before) + before.size());
    }

    ProcessStore m_store;
    ProcessNames m_names;
    CallViews m_views{m_store, m_names};
    IQxData::HSCall m_call;
};

TEST_F(CallViewsTest, ValuesStandBesideTheirBytes) {
    struct Row {
        const char* type;
        unsigned size;
        std::string bytes;
        const char* value;  // behind the bytes
    };
    const Row rows[] = {
        {"int", 4, "\xFF\xFF\xFF\xFF", R"(ffffffff","int":-1)"},
        {"unsigned long", 8, std::string(8, '\xFF'), R"(ffffffffffffffff","int":18446744073709551615)"},
        {"bool", 1, "\1", R"(01","bool":true)"},
        {"float", 4, {"\xCD\xCC\xCC\x3D"}, R"(cdcccc3d","float":0.1)"},
        {"double", 8, std::string("\0\0\0\0\0\0\xF8\xBF", 8), R"(000000000000f8bf","float":-1.5)"},
        {"float", 4, std::string("\0\0\x80\x7F", 4), R"(0000807f","float":null)"},
        {"string", qxformat::kVariableLength, "a\"b", R"(612262","text":"a\"b")"},
        {"string", qxformat::kVariableLength, "a\xFF", "61ff\",\"text\":\"a\xEF\xBF\xBD\",\"textHex\":\"61ff\""},
        {"Mode", 4, "\1\2\3\4", R"(01020304")"},
        {"int", 4, "\1\2\3", R"(010203")"}};
    for (const Row& row : rows) {
        IQxData::_HSCallLocation location;
        location.locId = 3;
        location.args.argType = {row.type};
        location.args.argFlags = {1};
        location.args.argSize = {row.size};
        m_store.AppendCallLocation(location);
        m_call.args.in = {{{"", Stored(row.bytes)}}};
        JsonLine line;
        AddCall(line, m_views.Of(5, m_call));
        EXPECT_THAT(std::move(line).Finish(),
                    testing::HasSubstr(std::string(R"("in":[[{"name":"","hex":")") + row.value + "}]],\"out\""))
            << row.type;
    }
}

TEST_F(CallViewsTest, TellWhoMadeACall) {
    EXPECT_EQ(Additions(), "}");
    AddThread("main");
    EXPECT_EQ(Additions(), R"(,"thread":"main"})");
    m_store.AppendHeader(7, "m", "host 1", "", "", "00070007", "");
    AddThread("w\xFF");
    EXPECT_EQ(Additions(), ",\"process_id\":70007,\"thread\":\"w\xEF\xBF\xBD\",\"threadHex\":\"77ff\"}");
    AddThread("");
    EXPECT_EQ(Additions(), R"(,"process_id":70007})");
}

// A later dump may give the thread's number to another one.
TEST_F(CallViewsTest, TellWhoMadeACallThatStayed) {
    AddThread("old");
    IQxData::HSCall call = m_call;
    const unsigned long long key = m_store.AppendBeforeCall(call);
    m_store.KeepMakers();
    AddThread("new");
    EXPECT_EQ(Additions(key), R"(,"thread":"old"})");
    EXPECT_EQ(Additions(key + 1), R"(,"thread":"new"})");
    m_store.clearCalls();
    EXPECT_EQ(Additions(key), R"(,"thread":"new"})");
}

TEST_F(CallViewsTest, TellTheTimeOfDayAndHowLongACallTook) {
    m_call.exitTime = 3500;
    EXPECT_EQ(Additions(), R"(,"duration":2500})");
    m_views.SetStart({}, 1772368200000000000);
    EXPECT_EQ(Additions(), R"(,"wall":"2026-03-01T12:30:00.000001000Z","duration":2500})");
    m_call.exitTime = 1000;
    EXPECT_EQ(Additions(), R"(,"wall":"2026-03-01T12:30:00.000001000Z","duration":0})");
    m_call.exitTime = 999;  // damaged
    EXPECT_EQ(Additions(), R"(,"wall":"2026-03-01T12:30:00.000001000Z"})");
    m_call.exitTime = 0;
    m_call.time = UINT64_MAX;
    EXPECT_EQ(Additions(), "}");
}

}  // namespace
