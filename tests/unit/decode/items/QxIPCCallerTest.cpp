#include "Decoding.h"

namespace {

using namespace dump;
using QxIPCCallerTest = Decoding;
using namespace std::string_literals;

TEST_F(QxIPCCallerTest, IsCheckedAndNotStored) {
    EXPECT_EQ(Item(kIpcCaller,
                   "\x01\x00\x00\x02"s
                   "ab"),
              6);
    EXPECT_EQ(Item(kIpcCaller, IpcCaller(100000, 3, "")), 6);
    EXPECT_TRUE(store->operations.empty());
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxIPCCallerTest, RefusesACallerThatPassesTheEnd) {
    EXPECT_EQ(Item(kIpcCaller,
                   "\x01\x00\x00\x03"s
                   "ab"),
              kInvalidSize);
    EXPECT_EQ(Logged("[QxIPCCaller::Append] Invalid size+offset: 7, payload.size: 6", DLOG_ERROR), 1);
}

TEST_F(QxIPCCallerTest, RefusesBytesBehindTheCaller) {
    EXPECT_EQ(Item(kIpcCaller,
                   "\x01\x00\x00\x01"s
                   "ab"),
              kInvalidSize);
    EXPECT_EQ(Item(kIpcCaller,
                   "\x01\x00\x00\x00"s
                   "a"),
              kInvalidSize);
    EXPECT_EQ(Logged("[QxIPCCaller::Append] Throwing Invalid Size..", DLOG_ERROR), 2);
}

TEST_F(QxIPCCallerTest, RefusesEveryPrefix) {
    ExpectNoPrefixIsAccepted(kIpcCaller, IpcCaller(300, 1, "abc"));
}

}  // namespace
