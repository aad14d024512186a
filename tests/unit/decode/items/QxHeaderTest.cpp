#include "Decoding.h"

namespace {

using namespace dump;
using QxHeaderTest = Decoding;
using namespace std::string_literals;

const std::string kExtra =
    "12345678"
    "abcdefgh";

TEST_F(QxHeaderTest, HandsItsFieldsToTheStore) {
    EXPECT_EQ(Item(kHeader,
                   "\x34\x12\x03"s
                   "abc"
                   "\x01"
                   "1" +
                       "\0\0"s + kExtra),
              26);
    ASSERT_EQ(store->headers.size(), 1u);
    EXPECT_EQ(store->headers[0].pid, 0x1234);
    EXPECT_EQ(store->headers[0].texts, (std::vector<std::string>{"abc", "1", "", "", "12345678", "abcdefgh"}));
}

TEST_F(QxHeaderTest, KeepsZeroBytesOfTheExtraFields) {
    Item(kHeader, Header(1, "p"));
    EXPECT_EQ(store->headers.at(0).texts[4], std::string(8, '\0'));
}

TEST_F(QxHeaderTest, RefusesOneByteMore) {
    EXPECT_EQ(Item(kHeader, Header(1, "p") + "x"), kInvalidSize);
    EXPECT_EQ(Logged("Throwing Invalid size.. QxHeader Append", DLOG_ERROR), 1);
    EXPECT_TRUE(store->headers.empty());
}

TEST_F(QxHeaderTest, NamesTheFieldThatIsTooLong) {
    const char* const fields[] = {"process", "qxVersion", "swBuildString", "swVersionModel"};
    std::string before = Fixed16(1);
    for (const char* const field : fields) {
        // A length of 5 with 4 bytes behind it.
        const std::string payload = before +
                                    "\x05"
                                    "abcd";
        EXPECT_EQ(Item(kHeader, payload), kInvalidSize);
        EXPECT_EQ(Logged("[QxHeader::Append] Invalid size for "s + field + ", size+offset: " +
                             std::to_string(payload.size() + 1) + ", payload.size: " + std::to_string(payload.size()),
                         DLOG_ERROR),
                  1)
            << field;
        before += Text("ab");
    }
}

TEST_F(QxHeaderTest, LengthsKeepSixteenBits) {
    EXPECT_EQ(Item(kHeader, Fixed16(1) + Varint(65536 + 1) + "p" + "\0\0\0"s + kExtra), 2 + 3 + 1 + 3 + 16);
    EXPECT_EQ(store->headers.at(0).texts[0], "p");
}

TEST_F(QxHeaderTest, RefusesEveryPrefix) {
    ExpectNoPrefixIsAccepted(kHeader, Header(1, "abc"));
}

}  // namespace
