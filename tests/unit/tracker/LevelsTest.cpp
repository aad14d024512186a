// The level of the lines that no other test reads at their own level: printed at it, and not one level below.
#include <functional>

#include "QxDumpFile.h"
#include "QxEventEvaluation.h"
#include "Scripting.h"

namespace {

using namespace dump;

// Fails where the trace pass looks for the script.
class FailingStore final : public QxData {
public:
    _HSScript* GetScript(_HSScript**) override { throw PERR_INVALID_TAG; }
};

class LevelsTest : public Scripting {
public:
    using Decoding::Parse;
    using Scripting::CallWith;
    using Scripting::Evaluate;

    void TraceAFailingStore() {
        std::pair<int, char*> nothing(0, nullptr);
        tracing.Parse(nothing, std::make_shared<FailingStore>());
        EXPECT_FALSE(tracing.Trace());
    }
    void TakeTooManyPairs() {
        parser.Budget().BeginDump(1);
        EXPECT_THROW(parser.Budget().TakePairs(std::uint64_t{1} << 40), QxData::_PERR_TYPE);
    }
    void DescribeTooMuch() {
        store->clear();
        IQxData::HSIThread thread;
        thread.name.assign(65 << 20, 'x');
        EXPECT_THROW(store->AppendThread(thread), QxData::_PERR_TYPE);
    }
    // Without anyone to count the lines, as `qxlt check` and clients of one event evaluate.
    void EvaluateWithoutALog() {
        IQxData::_HSScriptPtr event;
        event.attributes = {{"tag", "RET"}, {"value", "0"}};
        const IQxData::HSCall call;
        EXPECT_EQ(QxEventEvaluation(event, QxEventWords(event), call, nullptr).Decide(), QxOutcome::NoArgument);
    }
};

struct Row {
    const char* message;
    std::function<void(LevelsTest&)> cause;
};

const Row kMajor[] = {
    {"[QxParser::Parse] Packet of no length, offset: 0, size: 65536",
     [](LevelsTest& test) { test.Parse("\x02" + LongVarint(0, 65535)); }},
    {"Exception : 0", [](LevelsTest& test) { test.TraceAFailingStore(); }},
    {"[QxParser::Store] No data store was given to Parse",
     [](LevelsTest&) { EXPECT_THROW(QxParser(nullptr, nullptr).Store(), QxData::_PERR_TYPE); }},
    {"[QxDumpBudget::Take] The dump holds too many argument pairs", [](LevelsTest& test) { test.TakeTooManyPairs(); }},
    {"[QxDescriptionBudget::Take] Process 0 describes more call sites, layouts and threads than are kept: 64 MiB",
     [](LevelsTest& test) { test.DescribeTooMuch(); }},
    {"[QxDecodeLog::End] Too many messages, left out: 4",
     [](LevelsTest&) { QxDecodeLog().Repeat(4100, "f", 1, Fatal, "said again and again"); }},
    {"[QxDumpFile::Read] Not a regular file, path: /", [](LevelsTest&) { EXPECT_TRUE(QxDumpFile::Read("/").empty()); }},
    {"Return size is less than value, call.args.ret.size():0, value:0",
     [](LevelsTest& test) { test.Evaluate("tag='RET' value='0'", LevelsTest::CallWith({})); }},
    {"Return size is less than value, call.args.ret.size():0, value:0",
     [](LevelsTest& test) { test.EvaluateWithoutALog(); }},
};

TEST_F(LevelsTest, LinesOfLevelMajorArePrintedAtItAndNotBelow) {
    for (const Row& row : kMajor) {
        for (const int level : {Major, Fatal}) {
            RecordingLog::Clear();
            QxDebugPrint::GetInstance()->SetLevel(level);
            row.cause(*this);
            EXPECT_EQ(Logged(row.message, DLOG_ERROR), level == Major ? 1 : 0) << row.message << ", level " << level;
        }
    }
}

}  // namespace
