#include "QxEventSink.h"

#include <exception>
#include <utility>

#include "QxCallCost.h"
#include "QxDebugPrint.h"

// Looked at before the copy of the call is made.
void QxEventSink::Keep(IQxData& store, const std::string& name, const std::string& value, const IQxData::HSCall& call) {
    if (m_room.TryTake(qxcost::OfEvent(name, value, call))) store.AppendEvent(name, value, call);
}

void QxEventSink::Send(const std::string& name, std::string value, IQxData::HSCall call) {
    ++m_sent;
    if (m_callback == nullptr) return;
    try {
        m_callback(name, std::move(value), std::move(call), m_context);
    } catch (const std::exception& error) {
        QxDebugPrint::GetInstance()->Print("SendEvent", __LINE__, Major,
                                           "[QxParser::SendEvent] Callback threw, event: %s, error: %s", name.c_str(),
                                           error.what());
    } catch (...) {
        QxDebugPrint::GetInstance()->Print("SendEvent", __LINE__, Major,
                                           "[QxParser::SendEvent] Callback threw, event: %s", name.c_str());
    }
}
