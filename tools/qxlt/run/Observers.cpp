#include "Observers.h"

#include <utility>

#include "EventRecord.h"
#include "JsonLine.h"

namespace qxlt {

namespace {

// The standard conversion, or search, that failed. A fault's record holds it: what expectations compare.
std::string FailedStep(QxStage stage, const std::string& error) {
    switch (stage) {
        case QxStage::Index:
            return "stoul";
        case QxStage::Field:
            return "basic_string::substr";
        case QxStage::Argument:
        case QxStage::Operand:
        case QxStage::Bound:
            return "stoi";
        case QxStage::Other:
            break;
    }
    return error;
}

}  // namespace

void ObserverList::OnCall(unsigned long long key, const IQxData::HSCall& call, const std::string& callerName) {
    for (IQxEventObserver* const observer : m_observers) observer->OnCall(key, call, callerName);
}

void ObserverList::OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call,
                           QxOutcome outcome, const std::string& argument) {
    for (IQxEventObserver* const observer : m_observers) observer->OnEvent(event, key, call, outcome, argument);
}

void ObserverList::OnError(const IQxData::_HSScriptPtr& event, unsigned long long key, const IQxData::HSCall& call,
                           QxStage stage, const std::string& error) {
    for (IQxEventObserver* const observer : m_observers) observer->OnError(event, key, call, stage, error);
}

void ErrorReporter::OnError(const IQxData::_HSScriptPtr& event, unsigned long long, const IQxData::HSCall& call,
                            QxStage stage, const std::string& error) {
    if (!m_reported.insert(&event).second) return;
    const std::string& name = EventNameOf(event);
    JsonLine record;
    record.AddText("error", name);
    record.AddText("what", FailedStep(stage, error));
    m_sink({m_places.Of(event).Text() + ": event \"" + name + "\" at time " + std::to_string(call.time) + ", " +
                EventRecord(event).ErrorText(stage) + (stage == QxStage::Other ? ": " + error : "") +
                "; mend the attribute, further errors of this event are not told",
            std::move(record).Finish()});
}

}  // namespace qxlt
