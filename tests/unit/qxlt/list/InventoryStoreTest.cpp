#include "InventoryStore.h"

#include <gmock/gmock.h>

namespace {

TEST(InventoryStore, NotesNothingThatTheStoreRefused) {
    qxlt::InventoryStore store;
    IQxData::_HSCallLocation location;
    location.callerName = std::string(40 << 20, 'x');
    IQxData::HSIThread thread;
    thread.name = location.callerName;
    store.AppendCallLocation(location);
    location.locId = 1;
    EXPECT_THROW(store.AppendCallLocation(location), QxData::_PERR_TYPE);
    EXPECT_THROW(store.AppendThread(thread), QxData::_PERR_TYPE);
    EXPECT_EQ(store.Methods({}).size(), 1u);
    EXPECT_TRUE(store.Threads().empty());
    EXPECT_EQ(store.Records(), 1u);
}

}  // namespace
