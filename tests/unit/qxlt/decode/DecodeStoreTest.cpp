#include "DecodeStore.h"

#include <gmock/gmock.h>

namespace {

// The store keeps 64 MiB of what a process describes.
TEST(DecodeStore, PrintsNoRecordThatTheStoreRefused) {
    const std::string large(40 << 20, 'x');
    qxlt::Output output;
    qxlt::DecodeStore store(qxlt::Format::Text, output);
    IQxData::_HSCallLocation location;
    location.callerName = large;
    IQxData::HSIThread thread;
    thread.name = large;
    IQxData::_HSCompArgDesc descriptor;
    descriptor.memberNames = {large};
    descriptor.memberTypes = {"int"};
    testing::internal::CaptureStdout();
    store.AppendCallLocation(location);
    location.locId = 1;
    EXPECT_THROW(store.AppendCallLocation(location), QxData::_PERR_TYPE);
    EXPECT_THROW(store.AppendThread(thread), QxData::_PERR_TYPE);
    EXPECT_THROW(store.AppendCompArgDesc("Large", descriptor), QxData::_PERR_TYPE);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1);
    EXPECT_EQ(printed.compare(0, 9, "location "), 0);
}

}  // namespace
