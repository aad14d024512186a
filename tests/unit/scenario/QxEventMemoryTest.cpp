#include "QxEventMemory.h"

#include <gtest/gtest.h>

#include <thread>

namespace {

TEST(QxEventMemory, TellsFirstSameAndDifferent) {
    QxEventMemory::Clear();
    EXPECT_EQ(QxEventMemory::Exchange("e", "1").change, QxEventMemory::Change::First);
    EXPECT_EQ(QxEventMemory::Exchange("e", "1").change, QxEventMemory::Change::Same);
    const QxEventMemory::Value different = QxEventMemory::Exchange("e", "2");
    EXPECT_EQ(different.change, QxEventMemory::Change::Different);
    EXPECT_EQ(different.count, 1u);
    QxEventMemory::Seed("e", "3");
    EXPECT_EQ(m_EventValues.at("e"), "2");
    QxEventMemory::Seed("f", "3");
    EXPECT_EQ(m_EventValues.at("f"), "3");
}

TEST(QxEventMemory, GivesTheResultBefore) {
    QxEventMemory::Clear();
    EXPECT_FALSE(QxEventMemory::ExchangeResult("e", true).known);
    const QxEventMemory::Result before = QxEventMemory::ExchangeResult("e", false);
    EXPECT_TRUE(before.known);
    EXPECT_TRUE(before.previous);
    EXPECT_FALSE(QxEventMemory::ExchangeResult("e", false).previous);
}

TEST(QxEventMemory, ForgetsOneEvent) {
    QxEventMemory::Clear();
    QxEventMemory::Exchange("e", "1");
    QxEventMemory::ExchangeResult("e", true);
    QxEventMemory::Exchange("f", "1");
    QxEventMemory::Forget("e");
    QxEventMemory::Forget("g");
    EXPECT_EQ(QxEventMemory::Exchange("e", "1").change, QxEventMemory::Change::First);
    EXPECT_FALSE(QxEventMemory::ExchangeResult("e", true).known);
    EXPECT_EQ(QxEventMemory::Exchange("f", "1").change, QxEventMemory::Change::Same);
}

TEST(QxEventMemory, BeginsAnewWhenCleared) {
    QxEventMemory::Exchange("e", "1");
    QxEventMemory::ExchangeResult("e", true);
    QxEventMemory::Clear();
    EXPECT_TRUE(m_EventValues.empty());
    EXPECT_TRUE(m_DconditionValues.empty());
    EXPECT_EQ(QxEventMemory::Exchange("e", "1").change, QxEventMemory::Change::First);
    EXPECT_FALSE(QxEventMemory::ExchangeResult("e", true).known);
}

TEST(QxEventMemory, MayBeUsedByTwoThreads) {
    QxEventMemory::Clear();
    const auto count = [](const char* event) {
        for (int i = 0; i < 1000; ++i) QxEventMemory::Exchange(event + std::to_string(i % 7), std::to_string(i));
    };
    std::thread first(count, "a");
    std::thread second(count, "b");
    first.join();
    second.join();
    EXPECT_EQ(m_EventValues.size(), 14u);
}

}  // namespace
