#include "QxThreadProperties.h"

#include "Decoding.h"

namespace {

using namespace dump;

class QxThreadPropertiesTest : public Decoding {
protected:
    int Items(const std::string& payload) {
        ExactBytes bytes(payload);
        return QxThreadProperties().Parse(bytes.Data(), bytes.Size(), 0, &parser);
    }
    const std::string m_name = dump::Item(kThreadName, ThreadName("a"));
};

TEST_F(QxThreadPropertiesTest, MakesTheThreadCurrentAndDecodesItsItems) {
    const std::string payload = Fixed16(0x1234) + m_name + m_name;
    EXPECT_EQ(Items(payload), static_cast<int>(payload.size()));
    ASSERT_EQ(store->threads.size(), 2u);
    EXPECT_EQ(store->threads[0].tid, 0x1234);
    EXPECT_EQ(store->threads[0].pid, kPid);
}

TEST_F(QxThreadPropertiesTest, RefusesAnItemThatPassesTheEnd) {
    EXPECT_THROW(Items(Fixed16(4) + m_name + "\x06\x05" + "abcd"), QxData::_PERR_TYPE);
    EXPECT_EQ(Logged("QxThreadProperties::Parse excetpion", DLOG_ERROR), 1);
    EXPECT_EQ(store->threads.size(), 1u);
}

TEST_F(QxThreadPropertiesTest, CutsItemSizesToSixteenBits) {
    EXPECT_EQ(Items(Fixed16(4) + "\x06" + Varint(65536 + 2) + Text("b")), 2 + 4 + 2);
    EXPECT_EQ(store->threads.at(0).name, "b");
}

TEST_F(QxThreadPropertiesTest, RefusesEveryCut) {
    const std::string whole = Fixed16(4) + m_name;
    for (std::size_t size = 0; size < whole.size(); ++size) {
        EXPECT_THROW(Items(Cut(whole, size)), QxData::_PERR_TYPE) << size;
    }
    EXPECT_TRUE(store->threads.empty());
}

}  // namespace
