// Calls that leave the store.
#include "TakeCalls.h"

#include <gmock/gmock.h>

#include <vector>

#include "QxData.h"

namespace {

// Fewer than the store fills anew, as many, and more.
TEST(TakeCalls, ShowsAllInOrderAndLeavesNone) {
    for (const std::size_t count : {0u, 1u, 4095u, 4096u, 4097u, 9000u}) {
        QxData store;
        for (std::size_t i = count; i-- > 0;) {
            IQxData::HSCall call;
            call.time = i;
            call.locId = static_cast<unsigned int>(i);
            (*store.GetCallIMap())[i * 3] = call;
        }
        std::vector<std::size_t> seen;
        qxlt::TakeCalls(store, [&](unsigned long long key, const IQxData::HSCall& call) {
            EXPECT_EQ(key, call.time * 3);
            seen.push_back(call.locId);
        });
        ASSERT_EQ(seen.size(), count);
        for (std::size_t i = 0; i < count; ++i) EXPECT_EQ(seen[i], i);
        EXPECT_TRUE(store.GetCallIMap()->empty());
    }
}

}  // namespace
