#include "QxEventTally.h"

#include "QxEventWords.h"

namespace {

// Whether only what was before keeps the event from firing.
bool IsMatch(QxOutcome outcome) {
    return outcome == QxOutcome::Fires || outcome == QxOutcome::Unchanged || outcome == QxOutcome::NotRising;
}

}  // namespace

QxEventTally::Row& QxEventTally::RowOf(const IQxData::_HSScriptPtr& event) {
    Row*& row = m_known[&event];
    if (row == nullptr) row = &m_rows[QxEventWords(event)[QxEventWords::kName]];
    return *row;
}

void QxEventTally::OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long, const IQxData::HSCall& call,
                           QxOutcome outcome, const std::string& argument) {
    Row& row = RowOf(event);
    ++row.seen;
    if (!IsMatch(outcome)) return;
    ++row.matched;
    if (outcome != QxOutcome::Fires) return;
    ++row.fired;
    row.lastValue.assign(argument, 0, kMaxValue);
    row.lastTime = call.time;
}

// What throws comes without an outcome, but for memory that runs out behind it.
void QxEventTally::OnError(const IQxData::_HSScriptPtr& event, unsigned long long, const IQxData::HSCall&, QxStage,
                           const std::string&) {
    Row& row = RowOf(event);
    ++row.seen;
    ++row.errors;
}
