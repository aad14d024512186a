#include "QxEventTally.h"

#include <gtest/gtest.h>

namespace {

class QxEventTallyTest : public testing::Test {
protected:
    struct Event : IQxData::_HSScriptPtr {
        explicit Event(const std::string& eventName) {
            name = "event";
            attributes.emplace_back("name", eventName);
        }
    };
    void Tell(const IQxData::_HSScriptPtr& event, QxOutcome outcome, const std::string& value = "v") {
        m_call.time += 10;
        m_tally.OnEvent(event, 0, m_call, outcome, value);
    }
    const QxEventTally::Row& Row(const std::string& name) const { return m_tally.All().at(name); }

    IQxData::HSCall m_call{};
    QxEventTally m_tally;
};

TEST_F(QxEventTallyTest, CountsEachOutcome) {
    const struct {
        QxOutcome outcome;
        std::uint64_t matched;
        std::uint64_t fired;
    } rows[] = {{QxOutcome::NoArgument, 0, 0},     {QxOutcome::FilterMissing, 0, 0}, {QxOutcome::KeywordDiffers, 0, 0},
                {QxOutcome::Unchanged, 1, 0},      {QxOutcome::WrongType, 0, 0},     {QxOutcome::WrongRange, 0, 0},
                {QxOutcome::ConditionFalse, 0, 0}, {QxOutcome::NotRising, 1, 0},     {QxOutcome::Fires, 1, 1}};
    for (const auto& row : rows) {
        m_tally.BeginCycle();  // since each event stands where the one before stood
        const std::string name = std::to_string(static_cast<int>(row.outcome));
        const Event event(name);
        Tell(event, row.outcome);
        EXPECT_EQ(Row(name).seen, 1u) << name;
        EXPECT_EQ(Row(name).matched, row.matched) << name;
        EXPECT_EQ(Row(name).fired, row.fired) << name;
        EXPECT_EQ(Row(name).errors, 0u) << name;
    }
}

TEST_F(QxEventTallyTest, KeepsTheValueThatFiredLast) {
    const Event event("E");
    Tell(event, QxOutcome::Fires, "a");
    Tell(event, QxOutcome::Fires, "bc");
    Tell(event, QxOutcome::Unchanged, "other");
    EXPECT_EQ(Row("E").lastValue, "bc");
    EXPECT_EQ(Row("E").lastTime, 20u);
    Tell(event, QxOutcome::Fires, std::string(QxEventTally::kMaxValue + 1, 'x'));
    EXPECT_EQ(Row("E").lastValue.size(), QxEventTally::kMaxValue);
}

TEST_F(QxEventTallyTest, CountsErrorsAsSeen) {
    const Event event("E");
    m_tally.OnError(event, 0, m_call, QxStage::Index, "stoul");
    EXPECT_EQ(Row("E").seen, 1u);
    EXPECT_EQ(Row("E").errors, 1u);
}

TEST_F(QxEventTallyTest, EventsOfOneNameAreOneRow) {
    const Event one("E");
    const Event other("E");
    Tell(one, QxOutcome::Fires);
    Tell(other, QxOutcome::Fires);
    EXPECT_EQ(Row("E").fired, 2u);
    EXPECT_EQ(m_tally.All().size(), 1u);
}

// Another script's element may stand where one of the last cycle stood.
TEST_F(QxEventTallyTest, ACycleKnowsNoElementOfTheOneBefore) {
    Event event("A");
    Tell(event, QxOutcome::Fires);
    event.attributes[0].second = "B";
    m_tally.BeginCycle();
    Tell(event, QxOutcome::Fires);
    EXPECT_EQ(Row("A").fired, 1u);
    EXPECT_EQ(Row("B").fired, 1u);
}

TEST_F(QxEventTallyTest, ShowsEventsThatWereNotEvaluated) {
    m_tally.Expect("E");
    EXPECT_EQ(Row("E").seen, 0u);
}

}  // namespace
