// What a check or an explanation says of a scenario is what the library does with it, over scenarios and calls made at
// random. Both ask the same functions; this notices when one of them begins to think for itself.
#include "Agreement.h"

#include <gmock/gmock.h>

#include <map>
#include <memory>
#include <optional>
#include <set>

#include "Checks.h"
#include "ConditionDistance.h"
#include "DumpWriter.h"
#include "EventRecord.h"
#include "Findings.h"
#include "QxData.h"
#include "QxParser.h"
#include "QxScriptScenario.h"
#include "Workplace.h"
#include "Xml.h"

namespace {

using namespace qxlt;

using CodeSet = std::set<std::string>;

// An event of random attributes, those of a condition mostly.
std::map<std::string, std::string> RandomEvent(Dice& dice) {
    static const char* const tags[] = {"IN", "IN", "IN", "IN", "OUT", "RET", "NONE", "in", ""};
    static const char* const indices[] = {"0", "0", "0", "0", " 0", "1", "-1", "x", "0x1", "4294967296", ""};
    static const char* const types[] = {"INT", "INT", "INT", "STRING", "STRING", "REAL", ""};
    static const char* const watches[] = {"CONDITIONAL", "CONDITIONAL", "CONDITIONAL", "D-CONDITIONAL",
                                          "ALWAYS",      "CHANGED",     "Changed",     ""};
    static const char* const conditions[] = {"==", "==", "!=", "!=", ">", "<", "range", "=", ""};
    static const char* const combinations[] = {"", "", "AND", "OR", "XOR"};
    static const char* const operands[] = {"5", "5", "-3", "12", "a", "5a", "", "80%", "99999999999"};
    static const char* const filters[] = {"", "", "", "", "5", "a"};
    static const char* const datakeys[] = {"", "5&", "a&5", "zz&", "zzzzzzzzzzzz&x", "5"};
    static const char* const keywords[] = {"", "", "", "", "", "5", "a", "05"};
    static const char* const numbers[] = {"5", "-3", "12", "0", "80%"};
    const bool sound = dice.Pick(2) == 0;  // nothing keeps the condition from being reached
    const std::string condition = dice.Of(conditions);
    const char joint = (condition == "range") != (dice.Pick(8) == 0) ? ',' : '&';
    std::string list;
    for (unsigned i = dice.Pick(2) == 0 ? 2 : dice.Pick(4); i > 0; --i) {
        list += (sound ? dice.Of(numbers) : dice.Of(operands)) + std::string(i > 1 ? 1 : 0, joint);
    }
    if (sound) {
        return {{"tag", "IN"},
                {"value", "0"},
                {"type", dice.Pick(3) == 0 ? "STRING" : "INT"},
                {"watch", "CONDITIONAL"},
                {"condition", condition},
                {"conditionValue", list},
                {"conditionType", dice.Of(combinations)}};
    }
    return {{"name", "E"},
            {"tag", dice.Of(tags)},
            {"value", dice.Of(indices)},
            {"type", dice.Of(types)},
            {"watch", dice.Of(watches)},
            {"condition", condition},
            {"conditionValue", list},
            {"conditionType", dice.Of(combinations)},
            {"filter", dice.Of(filters)},
            {"datakey", dice.Of(datakeys)},
            {"keyword", dice.Of(keywords)}};
}

// An argument of the type that the event reads, or of another one.
std::string RandomBytes(Dice& dice, const std::string& type) {
    static const int numbers[] = {5, 5, -3, 12, 0, 6, 80, -2147483647, 2147483647};
    static const char* const texts[] = {"5", "a", "5a", "", "ab5", "-3&12", "b"};
    return (type == "INT") != (dice.Pick(8) == 0) ? dump::Int(dice.Of(numbers), 4) : dice.Of(texts);
}

// One event, the checks' view of it, and what the library does with it.
class Case final : public IQxEventObserver {
public:
    explicit Case(std::map<std::string, std::string> attributes) : m_attributes(std::move(attributes)) {
        m_action.name = "action";
        auto event = std::make_unique<IQxData::_HSScriptPtr>();
        event->name = "event";
        for (const auto& [name, value] : m_attributes) {
            if (value.empty()) continue;
            event->attributes.emplace_back(name, value);
            m_text += " " + name + "=\"" + XmlEscaped(value) + "\"";
        }
        m_event = event.get();
        m_action.children.push_back(event.release());
        for (const Found& found : FindingsIn({{"a.xml", VolumeScript("<event" + m_text + "/>")}})) {
            m_codes.insert(found.code);
            m_failed = m_failed || FindCheck(found.code)->severity == Severity::Error;
        }
        std::pair<int, char*> nothing(0, nullptr);
        m_parser.Parse(nothing, m_store);
        m_parser.SetObserver(this);
        m_record.emplace(*m_event);
    }

    void Evaluate(const std::string& bytes) {
        QxEventMemory::Clear();
        IQxData::HSCall call;
        for (auto* const list : {&call.args.in, &call.args.out, &call.args.ret}) {
            list->push_back({{"", dump::Stored(bytes)}});
        }
        ++calls;
        QxScriptScenario().MakeEvent(&m_action, call, &m_parser);
    }

    void OnEvent(const IQxData::_HSScriptPtr&, unsigned long long, const IQxData::HSCall&, QxOutcome outcome,
                 const std::string& argument) override {
        ++outcomes[outcome];
        m_record->Count(outcome, argument);
        if (Words().IsConditional() && (outcome == QxOutcome::Fires || outcome == QxOutcome::ConditionFalse)) {
            const bool holds = outcome == QxOutcome::Fires;
            EXPECT_EQ(ConditionDistance(Words(), argument) == 0, holds) << argument;
            ++conditions[{Words().Condition(), holds}];
        }
        if (outcome == QxOutcome::Fires) {
            EXPECT_THAT(Codes(), testing::Not(testing::Contains(testing::AnyOfArray(kNeverFires))));
        }
        if (outcome == QxOutcome::WrongType) {
            EXPECT_TRUE(Has("QX041") || Has("QX022"));
        }
        if (outcome == QxOutcome::WrongRange) {
            EXPECT_TRUE(Has("QX045"));
        }
        if (outcome == QxOutcome::ConditionFalse) {
            EXPECT_FALSE(Has("QX051") || Has("QX048")) << "which say that it always holds";
        }
    }

    void OnError(const IQxData::_HSScriptPtr&, unsigned long long, const IQxData::HSCall&, QxStage stage,
                 const std::string& error) override {
        ++stages[stage];
        m_record->CountError(stage);
        const bool hasFilter = !Words()[QxEventWords::kFilter].empty();
        switch (stage) {
            case QxStage::Index:
                EXPECT_TRUE(Has("QX026")) << error;
                break;
            case QxStage::Field:
                EXPECT_TRUE(hasFilter) << error;
                break;
            case QxStage::Argument:
                EXPECT_TRUE(hasFilter || Has("QX042") || Has("QX021")) << error;
                break;
            case QxStage::Operand:
            case QxStage::Bound:
                EXPECT_TRUE(Has("QX044")) << error;
                break;
            case QxStage::Other:
                ADD_FAILURE() << error;
        }
        // Without a filter a call cannot bring an error about that the script alone does not show.
        EXPECT_TRUE(hasFilter || m_failed) << error;
    }

    // The explanation's stages add up to what came of the calls.
    void ExpectSameCounts() const {
        const Funnel funnel = m_record->Stages();
        EXPECT_EQ(funnel.method, calls);
        EXPECT_EQ(funnel.method - funnel.value, Of(QxOutcome::NoArgument) + Of(QxStage::Index));
        EXPECT_EQ(funnel.value - funnel.filter, Of(QxOutcome::FilterMissing) + Of(QxStage::Field));
        EXPECT_EQ(funnel.filter - funnel.keyword, Of(QxOutcome::KeywordDiffers));
        EXPECT_EQ(funnel.fired, Of(QxOutcome::Fires));
        EXPECT_EQ(funnel.errors, calls - Sum(outcomes));
        EXPECT_EQ(funnel.condition - funnel.edge, Of(QxOutcome::NotRising));
    }

    const std::string& Text() const { return m_text; }
    const CodeSet& Codes() const { return m_codes; }

    std::uint64_t calls = 0;
    std::map<QxOutcome, std::uint64_t> outcomes;
    std::map<QxStage, std::uint64_t> stages;
    std::map<std::pair<qxscript::Condition, bool>, std::uint64_t> conditions;  // that held, or did not

private:
    // What these checks call an event that never fires.
    const CodeSet kNeverFires = {"QX024", "QX026", "QX027", "QX035", "QX036", "QX040", "QX041",
                                 "QX042", "QX043", "QX044", "QX045", "QX046", "QX047", "QX052"};

    bool Has(const char* code) const { return m_codes.count(code) != 0; }
    QxEventWords Words() const { return QxEventWords(*m_event); }
    std::uint64_t Of(QxOutcome outcome) const { return outcomes.count(outcome) == 0 ? 0 : outcomes.at(outcome); }
    std::uint64_t Of(QxStage stage) const { return stages.count(stage) == 0 ? 0 : stages.at(stage); }
    static std::uint64_t Sum(const std::map<QxOutcome, std::uint64_t>& counts) {
        std::uint64_t sum = 0;
        for (const auto& entry : counts) sum += entry.second;
        return sum;
    }

    std::map<std::string, std::string> m_attributes;
    std::string m_text;
    IQxData::_HSScriptPtr m_action;
    const IQxData::_HSScriptPtr* m_event = nullptr;
    CodeSet m_codes;
    bool m_failed = false;
    const std::shared_ptr<QxData> m_store = std::make_shared<QxData>();
    QxParser m_parser{nullptr, nullptr};
    std::optional<EventRecord> m_record;
};

TEST_F(Agreement, ChecksAndExplanationsSayWhatTheEvaluationDoes) {
    constexpr int kEvents = 4000;
    constexpr int kCalls = 12;
    std::map<QxOutcome, std::uint64_t> outcomes;
    std::map<QxStage, std::uint64_t> stages;
    std::map<std::pair<qxscript::Condition, bool>, std::uint64_t> conditions;
    CodeSet codes;
    for (std::uint32_t seed = 1; seed <= kEvents; ++seed) {
        Dice dice(seed);
        const std::map<std::string, std::string> attributes = RandomEvent(dice);
        Case one(attributes);
        SCOPED_TRACE("seed " + std::to_string(seed) + one.Text());
        for (int i = 0; i < kCalls; ++i) one.Evaluate(RandomBytes(dice, attributes.at("type")));
        one.ExpectSameCounts();
        for (const auto& [outcome, count] : one.outcomes) outcomes[outcome] += count;
        for (const auto& [stage, count] : one.stages) stages[stage] += count;
        for (const auto& [condition, count] : one.conditions) conditions[condition] += count;
        codes.insert(one.Codes().begin(), one.Codes().end());
        if (HasFailure()) return;
    }
    // It has been everywhere but where two calls in a row are needed.
    for (const QxOutcome outcome :
         {QxOutcome::NoArgument, QxOutcome::FilterMissing, QxOutcome::KeywordDiffers, QxOutcome::WrongType,
          QxOutcome::WrongRange, QxOutcome::ConditionFalse, QxOutcome::Fires}) {
        EXPECT_GT(outcomes[outcome], 50u) << static_cast<int>(outcome);
    }
    for (const QxStage stage : {QxStage::Index, QxStage::Field, QxStage::Argument, QxStage::Operand, QxStage::Bound}) {
        EXPECT_GT(stages[stage], 50u) << static_cast<int>(stage);
    }
    for (const auto& word : qxscript::kConditions) {
        EXPECT_GT((conditions[{word.meaning, true}]), 100u) << word.text;
        EXPECT_GT((conditions[{word.meaning, false}]), 100u) << word.text;
    }
    EXPECT_THAT(codes, testing::IsSupersetOf({"QX024", "QX026", "QX027", "QX035", "QX036", "QX040", "QX041", "QX042",
                                              "QX043", "QX044", "QX045", "QX046", "QX047", "QX048", "QX051", "QX052"}));
}

}  // namespace
