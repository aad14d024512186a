#include "Decoding.h"

namespace {

using namespace dump;
using QxTimeMakerTest = Decoding;

TEST_F(QxTimeMakerTest, SetsTheCurrentThreadsTimeBaseBack) {
    store->SetCurrentThread(5);
    store->SetThreadTime(100);
    store->SetCurrentThread(4);
    store->SetThreadTime(200);
    EXPECT_EQ(Item(kTime, ""), 0);
    EXPECT_EQ(store->GetThreadTime(), 0u);
    store->SetCurrentThread(5);
    EXPECT_EQ(store->GetThreadTime(), 100u);
}

TEST_F(QxTimeMakerTest, TakesAnyPayload) {
    EXPECT_EQ(Item(kTime, "abc"), 3);
}

}  // namespace
