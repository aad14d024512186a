// The condition language.
#include "QxEventEvaluation.h"

#include "Scripting.h"

namespace {

using QxEventEvaluationTest = Scripting;

constexpr char kMatch[] = "Match found for Condition/D-Condition OK isSendEvent:1";
constexpr char kNoMatch[] = "Match not found Condition/D-Condition isSendEvent:0";

std::string In(const std::string& type, const std::string& rest = "") {
    return "name='E' tag='IN' value='0' type='" + type + "' " + rest;
}

TEST_F(QxEventEvaluationTest, PicksTheValueByTagIndexAndType) {
    const IQxData::HSCall call = CallWith({"in0", "in1"}, {"out0"}, {dump::Int(-3, 4)});
    struct Row {
        const char* attributes;
        bool fires;
        const char* value;
    };
    const Row rows[] = {{"tag='IN' value='0' type='STRING'", true, "in0"},
                        {"tag='IN' value='1' type='STRING'", true, "in1"},
                        {"tag='IN' value='2' type='STRING'", false, ""},
                        {"tag='IN' value='-1' type='STRING'", false, ""},
                        {"tag='IN' value='-4294967295' type='STRING'", false, ""},
                        {"tag='IN' value='4294967295' type='STRING'", false, ""},
                        {"tag='IN' value=' +1 apples' type='STRING'", true, "in1"},
                        {"tag='IN' value='-0' type='STRING'", true, "in0"},
                        {"tag='OUT' value='0' type='STRING'", true, "out0"},
                        {"tag='OUT' value='1' type='STRING'", false, ""},
                        {"tag='RET' value='0' type='INT'", true, "-3"},
                        {"tag='IN' value='0' type=''", true, "NONE"},
                        {"tag='IN' value='0' type='int'", true, "NONE"},
                        {"tag='NONE'", true, "NONE"},
                        {"tag='in' value='0' type='STRING'", true, ""},
                        {"", true, ""}};
    for (const Row& row : rows) {
        EXPECT_EQ(Fires(row.attributes, call), row.fires) << row.attributes;
        EXPECT_TRUE(!row.fires || value == row.value) << row.attributes << ": " << value;
    }
    EXPECT_EQ(Logged("Tag is NONE", DLOG_INFO), 1);
    EXPECT_TRUE(RecordingLog::Messages(DLOG_ERROR).empty());
}

TEST_F(QxEventEvaluationTest, AReturnValueOutOfRangeIsReported) {
    EXPECT_FALSE(Fires("tag='RET' value='1' type='INT'", CallWith({}, {}, {"a"})));
    EXPECT_EQ(Logged("Return size is less than value, call.args.ret.size():1, value:1", DLOG_ERROR), 1);
    EXPECT_FALSE(Fires("tag='RET' value='-2' type='INT'", CallWith({}, {}, {"a"})));
    EXPECT_EQ(Logged("Return size is less than value, call.args.ret.size():1, value:-2", DLOG_ERROR), 1);
    EXPECT_TRUE(Fires("tag='RET' value='0' type=''", CallWith({}, {}, {"a"})));
    EXPECT_EQ(Logged("Return value : NONE", DLOG_INFO), 1);
}

TEST_F(QxEventEvaluationTest, AnArgumentWithoutPairsStopsSilently) {
    IQxData::HSCall call;
    call.args.in.emplace_back();
    call.args.ret.emplace_back();
    EXPECT_FALSE(Fires("tag='IN' value='0' type='INT'", call));
    EXPECT_FALSE(Fires("tag='RET' value='0' type='INT'", call));
    EXPECT_TRUE(RecordingLog::Lines().empty());
}

TEST_F(QxEventEvaluationTest, AnIndexThatIsNoNumberIsAnError) {
    for (const char* const index : {"", "x", " "}) {
        RecordingLog::Clear();
        EXPECT_FALSE(Fires("name='E' tag='IN' value='" + std::string(index) + "'", Text("a")));
        EXPECT_EQ(Logged("[QxScriptScenario::MakeEvent] Event in error, event: E, error: stoul", DLOG_ERROR), 1);
    }
    // Beyond 32 bits on every system.
    for (const char* const index : {"4294967296", "-4294967296", "99999999999999999999999"}) {
        RecordingLog::Clear();
        EXPECT_FALSE(Fires("name='E' tag='IN' value='" + std::string(index) + "'", Text("a")));
        EXPECT_EQ(Logged("[QxScriptScenario::MakeEvent] Event in error, event: E, error: stoul", DLOG_ERROR), 1)
            << index;
    }
}

TEST_F(QxEventEvaluationTest, TheFirstPairOfACompositeIsRead) {
    IQxData::HSCall call;
    call.args.in.push_back({{"x", dump::Stored("one")}, {"y", dump::Stored("two")}});
    EXPECT_TRUE(Fires(In("STRING"), call));
    EXPECT_EQ(value, "one");
}

TEST_F(QxEventEvaluationTest, CutsAFieldOut) {
    struct Row {
        const char* argument;
        const char* attributes;
        bool fires;
        const char* value;
    };
    const Row rows[] = {
        {"x;id=42;y", "filter='id=' datakey='id=&amp;;'", true, "42"},
        {"x;id=42", "filter='id=' datakey='id=&amp;;'", true, "42"},  // no right marker: to the end
        {"x;id=42;y", "filter='nothing' datakey='id=&amp;;'", false, ""},
        {"x;id=42;y", "filter='x' datakey='id=&amp;'", true,
         "42;y"},                                                 // an empty right marker stands ahead of the field
        {"aXbXc", "filter='X' datakey='X'", true, "bXc"},         // one text as both markers
        {"abc", "filter='a' datakey='zz&amp;c'", true, "bc"},     // missing left marker: starts at its length less one
        {"a|b|c", "filter='a' datakey='a|&amp;|'", true, "b|c"},  // the right one is found inside the left one
        {"x;id=42;y", "datakey='id=&amp;;'", true, "x;id=42;y"},  // no filter: not looked at
    };
    for (const Row& row : rows) {
        EXPECT_EQ(Fires(In("STRING", row.attributes), Text(row.argument)), row.fires) << row.argument << row.attributes;
        EXPECT_TRUE(!row.fires || value == row.value) << row.attributes << ": " << value;
    }
    EXPECT_TRUE(Fires(In("STRING", "filter='x'"), Text("x;id=42;y")));
    EXPECT_EQ(value, "") << "two empty markers stand at the start and leave nothing between them";
}

TEST_F(QxEventEvaluationTest, AFieldBeyondTheEndIsAnError) {
    EXPECT_FALSE(Fires(In("STRING", "filter='a' datakey='missing&amp;x'"), Text("abc")));
    const std::vector<std::string> lines = RecordingLog::Messages(DLOG_ERROR);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].rfind("[QxScriptScenario::MakeEvent] Event in error, event: E, error: basic_string::substr", 0),
              0u);
}

TEST_F(QxEventEvaluationTest, TheKeywordMustBeTheValue) {
    EXPECT_FALSE(Fires(In("STRING", "keyword='on'"), Text("off")));
    EXPECT_EQ(Logged("(not match)keyword : on, actual value : off", DLOG_INFO), 1);
    EXPECT_TRUE(Fires(In("STRING", "keyword='on'"), Text("on")));
    EXPECT_FALSE(Fires(In("INT", "keyword='05'"), Number(5)));
    EXPECT_TRUE(Fires(In("STRING", "filter='a' datakey='a&amp;c' keyword='b'"), Text("abc")));
}

TEST_F(QxEventEvaluationTest, ChangedFiresFirstAndWhenTheValueDiffers) {
    const std::string event = In("INT", "watch='CHANGED'");
    EXPECT_TRUE(Fires(event, Number(5)));
    EXPECT_EQ(RecordingLog::Messages(), std::vector<std::string>{"m_EventValues.size: 0"});
    RecordingLog::Clear();
    EXPECT_FALSE(Fires(event, Number(5)));
    EXPECT_EQ(RecordingLog::Messages(),
              (std::vector<std::string>{"m_EventValues.size: 1",
                                        "Event Value NOT CHANGED event: E, old value: 5, new value: 5"}));
    RecordingLog::Clear();
    EXPECT_TRUE(Fires(event, Number(7)));
    EXPECT_EQ(RecordingLog::Messages(),
              (std::vector<std::string>{"m_EventValues.size: 1", "New value for event: E, new value: 7"}));
    EXPECT_EQ(m_EventValues.at("E"), "7");
}

TEST_F(QxEventEvaluationTest, AlwaysSeedsButDoesNotChangeTheRememberedValue) {
    EXPECT_TRUE(Fires(In("INT", "watch='ALWAYS'"), Number(1)));
    EXPECT_TRUE(Fires(In("INT", "watch='ALWAYS'"), Number(2)));
    EXPECT_EQ(m_EventValues.at("E"), "1");
    EXPECT_FALSE(Fires(In("INT", "watch='CHANGED'"), Number(1)));
    EXPECT_TRUE(Fires(In("INT", "watch='CHANGED'"), Number(2)));
    EXPECT_EQ(Logged("New value for event: E, new value: 1", DLOG_INFO), 1);
}

TEST_F(QxEventEvaluationTest, WithoutAWatchModeItFiresSilently) {
    for (const char* const watch :
         {"", "watch=''", "watch='changed'", "watch='OTHER' condition='==' conditionValue='9'"}) {
        EXPECT_TRUE(Fires(In("INT", watch), Number(5))) << watch;
    }
    EXPECT_TRUE(m_EventValues.empty());
}

TEST_F(QxEventEvaluationTest, Conditions) {
    struct Row {
        const char* type;
        const char* argument;  // a number for INT
        const char* condition;
        const char* operands;
        const char* combine;
        bool holds;
    };
    const Row rows[] = {{"INT", "5", "==", "5", "", true},
                        {"INT", "5", "==", "6", "", false},
                        {"INT", "5", "==", "5 apples", "", true},
                        {"INT", "5", "==", "6&amp;5", "", false},  // no type: one operand, read as far as it goes
                        {"INT", "5", "==", "6&amp;5", "OR", true},
                        {"INT", "5", "==", "6&amp;5", "AND", false},
                        {"INT", "5", "==", "5&amp;5", "AND", true},
                        {"INT", "5", "==", "", "AND", true},
                        {"INT", "5", "==", "", "OR", false},
                        {"INT", "5", "==", "5&amp;6", "XOR", false},
                        {"INT", "5", "==", "6&amp;5", "XOR", true},
                        {"STRING", "on", "==", "true&amp;on", "OR", true},
                        {"STRING", "on", "==", "true&amp;on", "", false},
                        {"STRING", "", "==", "", "", true},
                        {"STRING", "true&on", "==", "true&amp;on", "", true},
                        {"OTHER", "on", "==", "NONE", "", false},
                        {"INT", "5", "!=", "6", "", true},
                        {"INT", "5", "!=", "5", "", false},
                        {"INT", "5", "!=", "5&amp;6", "AND", false},
                        {"INT", "5", "!=", "5&amp;6", "OR", true},
                        {"INT", "5", "!=", "", "AND", true},
                        {"STRING", "a", "!=", "b", "", true},
                        {"STRING", "a", "!=", "a", "", false},
                        {"OTHER", "a", "!=", "b", "", false},
                        {"INT", "5", "&gt;", "4", "", true},
                        {"INT", "5", "&gt;", "5", "", false},
                        {"INT", "5", "&gt;", "9&amp;4", "AND", true},  // any operand is enough
                        {"INT", "5", "&gt;", "", "OR", false},
                        {"INT", "-5", "&lt;", "-4", "", true},
                        {"INT", "5", "&lt;", "5", "", false},
                        {"INT", "5", "&lt;", "1&amp;9", "AND", true},
                        {"INT", "0", "range", "1,5", "", false},
                        {"INT", "1", "range", "1,5", "", true},
                        {"INT", "5", "range", "1,5", "", true},
                        {"INT", "6", "range", "1,5", "", false},
                        {"INT", "3", "range", "5,1", "", false},
                        {"INT", "5", "", "5", "", false},
                        {"INT", "5", "=", "5", "", false}};
    for (const Row& row : rows) {
        SCOPED_TRACE(&row - rows);
        RecordingLog::Clear();
        const std::string rest = "watch='CONDITIONAL' condition='" + std::string(row.condition) + "' conditionValue='" +
                                 row.operands + "' conditionType='" + row.combine + "'";
        const std::string type = row.type;
        EXPECT_EQ(Fires(In(type, rest), type == "INT" ? Number(std::stoi(row.argument)) : Text(row.argument)),
                  row.holds);
        EXPECT_EQ(Logged(kMatch, DLOG_INFO), row.holds ? 1 : 0);
        EXPECT_EQ(Logged(kNoMatch, DLOG_INFO), row.holds ? 0 : 1);
        EXPECT_TRUE(RecordingLog::Messages(DLOG_ERROR).empty());
    }
}

TEST_F(QxEventEvaluationTest, PrintsWhatItReadsAndFindsInOrder) {
    Fires(In("INT", "watch='CONDITIONAL' condition='==' conditionValue='5' conditionType='OR'"), Number(5));
    EXPECT_EQ(RecordingLog::Messages(),
              (std::vector<std::string>{"keyword : condition, value : ==", "keyword : conditionValue, value : 5",
                                        "keyword : conditionType, value : OR",
                                        "INT match in ConditionList , argument:5, conditionValue:5", kMatch}));
    struct Row {
        const char* condition;
        const char* operand;
        const char* message;
    };
    const Row rows[] = {{"&gt;", "4", "INT Condition > match, argument:5, conditionValue:4"},
                        {"&lt;", "6", "INT Condition < match, argument:5, conditionValue:6"},
                        {"range", "1,5", "INT Condition range match, argument:5, conditionValue:1,5"},
                        {"!=", "6", "INT match in ConditionList , argument:5, conditionValue:6"}};
    for (const Row& row : rows) {
        Fires(In("INT", "watch='CONDITIONAL' condition='" + std::string(row.condition) + "' conditionValue='" +
                            row.operand + "'"),
              Number(5));
        EXPECT_EQ(Logged(row.message, DLOG_INFO), 1) << row.message;
    }
    Fires(In("STRING", "watch='CONDITIONAL' condition='==' conditionValue='a'"), Text("a"));
    EXPECT_EQ(Logged("STRING match in ConditionList argument:a, conditionValue:a", DLOG_INFO), 1);
}

TEST_F(QxEventEvaluationTest, OperatorsOfNumbersRefuseOtherTypes) {
    struct Row {
        const char* condition;
        const char* operand;
        const char* message;
    };
    const Row rows[] = {{"&gt;", "1", "Wrong type[STRING] passed for > operator"},
                        {"&lt;", "1", "Wrong type[STRING] passed for < operator"},
                        {"range", "1,5", "Wrong type[STRING] passed for range operator"},
                        {"range", "1,5,9", "Wrong ConditionValue[1,5,9] passed for range"},
                        {"range", "1", "Wrong ConditionValue[1] passed for range"},
                        {"range", "", "Wrong ConditionValue[] passed for range"}};
    for (const char* const watch : {"CONDITIONAL", "D-CONDITIONAL"}) {
        for (const Row& row : rows) {
            RecordingLog::Clear();
            EXPECT_FALSE(Fires(In("STRING", "watch='" + std::string(watch) + "' condition='" + row.condition +
                                                "' conditionValue='" + row.operand + "'"),
                               Text("5")));
            EXPECT_EQ(RecordingLog::Messages(DLOG_ERROR), std::vector<std::string>{row.message});
            EXPECT_EQ(Logged(kNoMatch, DLOG_INFO), 0);
        }
    }
    EXPECT_TRUE(m_DconditionValues.empty());
}

TEST_F(QxEventEvaluationTest, OperandsThatAreNoNumbersAreErrors) {
    struct Row {
        const char* condition;
        const char* operand;
    };
    const Row rows[] = {
        {"==", "x"}, {"!=", ""}, {"&gt;", "x"}, {"&lt;", "99999999999"}, {"range", "x,1"}, {"range", "1,2147483648"}};
    for (const Row& row : rows) {
        RecordingLog::Clear();
        EXPECT_FALSE(Fires(In("INT", "watch='CONDITIONAL' condition='" + std::string(row.condition) +
                                         "' conditionValue='" + row.operand + "'"),
                           Number(5)));
        EXPECT_EQ(Logged("[QxScriptScenario::MakeEvent] Event in error, event: E, error: stoi", DLOG_ERROR), 1)
            << row.operand;
    }
    // The bounds are read before the type is looked at.
    RecordingLog::Clear();
    EXPECT_FALSE(Fires(In("STRING", "watch='CONDITIONAL' condition='range' conditionValue='x,1'"), Text("5")));
    EXPECT_EQ(Logged("[QxScriptScenario::MakeEvent] Event in error, event: E, error: stoi", DLOG_ERROR), 1);
}

// What threw is known from the evaluation itself, whatever the text of the error.
TEST_F(QxEventEvaluationTest, SaysWhatItWasReadingWhenItThrew) {
    struct Row {
        const char* attributes;
        QxStage stage;
    };
    const Row rows[] = {
        {"tag='IN' value='x'", QxStage::Index},
        {"tag='RET' value='4294967296' filter='x' datakey='missing&amp;x'", QxStage::Index},
        {"tag='IN' value='0' type='STRING' filter='x' datakey='missing&amp;x'", QxStage::Field},
        {"tag='IN' value='0' type='INT' watch='CONDITIONAL' condition='==' conditionValue='x'", QxStage::Operand},
        {"tag='IN' value='0' type='INT' watch='CONDITIONAL' condition='!=' conditionValue='1&amp;x' "
         "conditionType='OR'",
         QxStage::Operand},
        {"tag='IN' value='0' type='INT' watch='CONDITIONAL' condition='&gt;' conditionValue=''", QxStage::Operand},
        {"tag='IN' value='0' type='INT' watch='CONDITIONAL' condition='&lt;' conditionValue='2147483648'",
         QxStage::Operand},
        {"tag='IN' value='0' type='STRING' watch='CONDITIONAL' condition='range' conditionValue='x,1'", QxStage::Bound},
        {"tag='IN' value='0' type='INT' watch='CONDITIONAL' condition='range' conditionValue='1,x'", QxStage::Bound},
        {"tag='NONE' type='INT' watch='CONDITIONAL' condition='==' conditionValue='x'", QxStage::Argument},
        {"tag='NONE' type='INT' watch='CONDITIONAL' condition='&gt;' conditionValue='1'", QxStage::Argument},
        {"type='INT' watch='D-CONDITIONAL' condition='range' conditionValue='1,2'", QxStage::Argument}};
    for (const Row& row : rows) {
        const IQxData::HSCall call = Text("x");
        const IQxData::_HSScriptPtr& event = LoadEvent(row.attributes);
        const QxEventWords words(event);
        QxEventEvaluation evaluation(event, words, call);
        EXPECT_EQ(evaluation.Stage(), QxStage::Other);
        EXPECT_ANY_THROW(evaluation.Decide()) << row.attributes;
        EXPECT_EQ(evaluation.Stage(), row.stage) << row.attributes;
    }
}

TEST_F(QxEventEvaluationTest, HasNoStageOnceItHasDecided) {
    const IQxData::HSCall call = Number(75);
    const IQxData::_HSScriptPtr& event =
        LoadEvent(In("INT", "filter='7' datakey='7&amp;' watch='CONDITIONAL' condition='range' conditionValue='1,9'"));
    const QxEventWords words(event);
    QxEventEvaluation evaluation(event, words, call);
    EXPECT_EQ(evaluation.Decide(), QxOutcome::Fires);
    EXPECT_EQ(evaluation.Stage(), QxStage::Other);
}

TEST_F(QxEventEvaluationTest, ARisingEdgeFiresOnce) {
    const std::string event = In("INT", "watch='D-CONDITIONAL' condition='&gt;' conditionValue='10'");
    std::vector<int> firedOn;
    for (const int number : {5, 12, 15, 3, 20}) {
        if (Fires(event, Number(number))) firedOn.push_back(number);
    }
    EXPECT_EQ(firedOn, (std::vector<int>{12, 20}));
    EXPECT_EQ(Logged("First Dcondition value: 0", DLOG_INFO), 1);
    EXPECT_EQ(Logged("Previous Dcondition value: 0", DLOG_INFO), 2);
    EXPECT_EQ(Logged("Previous Dcondition value: 1", DLOG_INFO), 2);
    EXPECT_EQ(Logged(kNoMatch, DLOG_INFO), 3);
    EXPECT_EQ(Logged(kMatch, DLOG_INFO), 2);
}

TEST_F(QxEventEvaluationTest, ARisingEdgeFiresTheFirstTimeToo) {
    EXPECT_TRUE(Fires(In("INT", "watch='D-CONDITIONAL' condition='&gt;' conditionValue='10'"), Number(12)));
    EXPECT_EQ(Logged("First Dcondition value: 1", DLOG_INFO), 1);
}

TEST_F(QxEventEvaluationTest, AnUnknownConditionOfARisingEdgeIsFalseAndRemembered) {
    EXPECT_FALSE(Fires(In("INT", "watch='D-CONDITIONAL' condition='~'"), Number(5)));
    EXPECT_FALSE(m_DconditionValues.at("E"));
}

TEST_F(QxEventEvaluationTest, EventsOfOneNameShareWhatIsRemembered) {
    EXPECT_TRUE(Fires("name='E' tag='IN' value='0' type='INT' watch='CHANGED'", Number(5)));
    EXPECT_FALSE(Fires("name='E' tag='IN' value='0' type='STRING' watch='CHANGED'", Text("5")));
    store->clear();
    EXPECT_EQ(m_EventValues.size(), 1u) << "no clearing of the store touches it";
}

TEST_F(QxEventEvaluationTest, ARepeatedAttributeKeepsItsLastValueAndUnknownOnesAreIgnored) {
    IQxData::_HSScriptPtr event;
    event.name = "event";
    event.attributes = {{"name", "A"}, {"Tag", "IN"}, {"color", "red"}, {"name", "B"}};
    IQxData::HSCall call;
    QxScriptScenario().PushEvent(&event, call, &tracing);
    ASSERT_EQ(fired.size(), 1u);
    EXPECT_EQ(fired[0].name, "B");
    EXPECT_EQ(fired[0].value, "");
}

TEST_F(QxEventEvaluationTest, TheCallbackGetsACopyOfTheCall) {
    IQxData::HSCall call = Number(5);
    call.time = 77;
    EXPECT_TRUE(Fires(In("INT"), call));
    EXPECT_EQ(fired[0].call.time, 77u);
    EXPECT_EQ(fired[0].call.args.in, call.args.in);
    ASSERT_EQ(store->events.size(), 1u) << "stored before it is sent";
    EXPECT_EQ(store->events[0].value, "5");
}

}  // namespace
