// How far the calls of an event came, and why most of them did not fire.
#include "EventRecord.h"

#include <gmock/gmock.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace qxlt;
using testing::ElementsAre;

using Attributes = std::vector<std::pair<std::string, std::string>>;

// An event of a script, and what is counted for it.
struct Record {
    explicit Record(Attributes attributes) {
        element.attributes = std::move(attributes);
        record.emplace(element);
    }

    IQxData::_HSScriptPtr element;
    std::optional<EventRecord> record;
};

TEST(EventRecord, CountsHowFarTheCallsCame) {
    Record event(Attributes{});
    const std::pair<QxOutcome, int> outcomes[] = {{QxOutcome::NoArgument, 1},     {QxOutcome::FilterMissing, 2},
                                                  {QxOutcome::KeywordDiffers, 3}, {QxOutcome::Unchanged, 4},
                                                  {QxOutcome::WrongType, 5},      {QxOutcome::WrongRange, 6},
                                                  {QxOutcome::NotRising, 7},      {QxOutcome::Fires, 8}};
    const std::pair<QxStage, int> errors[] = {
        {QxStage::Index, 1}, {QxStage::Field, 2}, {QxStage::Argument, 3}, {QxStage::Other, 4}};
    for (const auto& [outcome, count] : outcomes) {
        for (int i = 0; i < count; ++i) event.record->Count(outcome, "");
    }
    for (const auto& [stage, count] : errors) {
        for (int i = 0; i < count; ++i) event.record->CountError(stage);
    }
    const Funnel funnel = event.record->Stages();
    EXPECT_THAT((std::vector{funnel.method, funnel.value, funnel.filter, funnel.keyword, funnel.condition, funnel.edge,
                             funnel.fired, funnel.errors}),
                ElementsAre(46, 44, 40, 37, 15, 8, 8, 10));
}

TEST(EventRecord, NamesTheReasonThatHoldsForMostCalls) {
    struct Row {
        std::vector<QxOutcome> outcomes;
        std::vector<QxStage> errors;
        const char* reason;
    };
    const Row rows[] = {
        {{}, {}, ""},
        {{QxOutcome::Fires}, {}, ""},
        {{QxOutcome::NoArgument}, {}, "1 call: no value at index \"7\" of IN"},
        {{QxOutcome::Fires, QxOutcome::Fires, QxOutcome::WrongType}, {}, "1 call: condition == needs the type INT"},
        {{QxOutcome::NotRising}, {}, "1 call: condition == \"5\" (OR) held before; nearest \"4\""},
        {{QxOutcome::KeywordDiffers, QxOutcome::KeywordDiffers, QxOutcome::FilterMissing},
         {},
         "2 calls: the value is not the keyword \"key\"; nearest \"4\""},
        {{}, {QxStage::Index}, "1 call: the index \"7\" is no number in range"},
        {{}, {QxStage::Other}, "1 call: the evaluation failed"},
        {{QxOutcome::WrongType}, {QxStage::Bound}, "1 call: condition == needs the type INT"},
        {{QxOutcome::WrongType},
         {QxStage::Bound, QxStage::Bound},
         "2 calls: condition == \"5\" (OR): a bound is no number in range"},
        {{},
         {QxStage::Field, QxStage::Operand, QxStage::Operand},
         "2 calls: condition == \"5\" (OR): an operand is no number in range"}};
    for (const Row& row : rows) {
        Record event(Attributes{{"tag", "IN"},
                                {"value", "7"},
                                {"condition", "=="},
                                {"conditionValue", "5"},
                                {"conditionType", "OR"},
                                {"keyword", "key"}});
        for (const QxOutcome outcome : row.outcomes) event.record->Count(outcome, "4");
        for (const QxStage stage : row.errors) event.record->CountError(stage);
        EXPECT_EQ(event.record->MainReason().Line(), row.reason);
    }
}

TEST(EventRecord, NamesTheValuesThatCameNearest) {
    Record event(Attributes{{"keyword", "play"}});
    for (const char* const value : {"stop", "plays", "lay", "play?!"}) {
        event.record->Count(QxOutcome::KeywordDiffers, value);
    }
    EXPECT_EQ(event.record->MainReason().Line(),
              "4 calls: the value is not the keyword \"play\"; nearest \"plays\", \"lay\", \"play?!\"");
}

}  // namespace
