#include "QxScriptScenario.h"

#include <algorithm>
#include <cstdint>
#include <exception>

#include "IQxLogTracker.h"
#include "QxData.h"
#include "QxDebugPrint.h"
#include "QxEventEvaluation.h"
#include "QxParser.h"
#include "QxStoreAccess.h"

namespace {

// The script's root element, null when none is loaded.
IQxData::_HSScriptPtr* RootOf(IQxData& store) {
    IQxData::_HSScript* slot = nullptr;
    return store.GetScript(&slot) == nullptr ? nullptr : *slot;
}

const std::string& CallerName(IQxData& store, const IQxData::HSCall& call, QxLocation& scratch) {
    return FetchLocation(store, call.locId, call.pid, scratch).site.callerName;
}

const std::string& EventName(const IQxData::_HSScriptPtr& event) {
    static const std::string& none = *new std::string;
    const auto last = std::find_if(event.attributes.rbegin(), event.attributes.rend(),
                                   [](const auto& attribute) { return attribute.first == "name"; });
    return last == event.attributes.rend() ? none : last->second;
}

// Each pass subscribes anew; the script is wrong once.
void ReportNameless(IQxData::_HSScriptPtr& method, const std::string& actionName) {
    if (method.reported) return;
    method.reported = true;
    QxDebugPrint::GetInstance()->Print("SetSubscriber", __LINE__, Major,
                                       "[QxScriptScenario::SetSubscriber] method without attribute, action: %s",
                                       actionName.c_str());
}

}  // namespace

void split(std::string text, std::string delimiter, std::vector<std::string>& out) {
    std::size_t start = 0;
    while (start < text.size()) {
        const std::size_t end = text.find(delimiter, start);
        out.push_back(text.substr(start, end - start));
        if (end == std::string::npos) return;
        start = end + delimiter.size();
    }
}

int QxScriptScenario::Trace(QxParser* parser) {
    const std::shared_ptr<IQxData> store = parser->Data();
    IQxData::_HSScriptPtr* const root = store == nullptr ? nullptr : RootOf(*store);
    if (root == nullptr) {
        QxDebugPrint::GetInstance()->Print("Trace", __LINE__, Info, "GetScript Failed");
        return 0;
    }
    SetSubscriber(root);
    for (IQxData::HSCall& call : m_Snapshot(*store, parser->Observer())) m_Visit(call, parser);
    return 1;
}

// Copies the calls that something is subscribed to. Callbacks run later in the pass and may change the store: the pass
// goes on over the calls that stood there when it began.
std::vector<IQxData::HSCall> QxScriptScenario::m_Snapshot(IQxData& store, IQxEventObserver* observer) const {
    std::vector<IQxData::HSCall> snapshot;
    QxLocation scratch;
    for (const auto& entry : *store.GetCallIMap()) {
        const std::string& method = CallerName(store, entry.second, scratch);
        if (observer != nullptr) observer->OnCall(entry.second, method);
        if (m_HasSubscriber(method)) snapshot.push_back(entry.second);
    }
    return snapshot;
}

bool QxScriptScenario::m_HasSubscriber(const std::string& method) const {
    const auto first = m_Subscribers.lower_bound(method);
    return first != m_Subscribers.end() && first->first.first == method;
}

// The location is looked up again: a callback that cleared the store ends the matches of the calls that follow.
void QxScriptScenario::m_Visit(IQxData::HSCall& call, QxParser* parser) {
    QxLocation scratch;
    const std::string method = CallerName(parser->Store(), call, scratch);
    const auto end = m_Subscribers.end();
    for (auto entry = m_Subscribers.lower_bound(method); entry != end; ++entry) {
        if (entry->first.first != method) return;
        MakeEvent(entry->second, call, parser);
    }
}

// The remembered name is not reset between actions: one without a name goes under that of the nearest before it.
void QxScriptScenario::SetSubscriber(IQxData::_HSScriptPtr* root) {
    std::string actionName;
    for (IQxData::_HSScriptPtr* const action : root->children) {
        if (action == nullptr) continue;
        for (const auto& attribute : action->attributes) {
            if (attribute.first == "name") actionName = attribute.second;
        }
        m_Subscribe(action, actionName);
    }
}

void QxScriptScenario::m_Subscribe(IQxData::_HSScriptPtr* action, const std::string& actionName) {
    for (IQxData::_HSScriptPtr* const method : action->children) {
        if (method == nullptr || method->name != "method") continue;
        if (method->attributes.empty()) {
            ReportNameless(*method, actionName);
        } else {
            m_Subscribers.try_emplace({method->attributes.front().second, actionName}, action);
        }
    }
}

// A callback may load a script below this action: only the children that were there at the start are visited.
void QxScriptScenario::MakeEvent(IQxData::_HSScriptPtr* action, IQxData::HSCall& call, QxParser* parser) {
    const std::size_t count = action->children.size();
    for (std::size_t i = 0; i < count; ++i) {
        IQxData::_HSScriptPtr* const event = action->children[i];
        if (event != nullptr && event->name == "event") m_PushGuarded(event, call, parser);
    }
}

void QxScriptScenario::m_PushGuarded(IQxData::_HSScriptPtr* event, IQxData::HSCall& call, QxParser* parser) {
    try {
        PushEvent(event, call, parser);
    } catch (const std::exception& error) {
        parser->Log().Print("MakeEvent", __LINE__, Major,
                            "[QxScriptScenario::MakeEvent] Event in error, event: %s, error: %s",
                            EventName(*event).c_str(), error.what());
        if (parser->Observer() != nullptr) parser->Observer()->OnError(*event, call, error.what());
    }
}

void QxScriptScenario::PushEvent(IQxData::_HSScriptPtr* event, IQxData::HSCall& call, QxParser* parser) {
    QxEventEvaluation evaluation(*event, call, &parser->Log());
    const QxOutcome outcome = evaluation.Decide();
    if (parser->Observer() != nullptr) parser->Observer()->OnEvent(*event, call, outcome, evaluation.Argument());
    if (outcome != QxOutcome::Fires) return;
    parser->Store().AppendEvent(evaluation.Name(), evaluation.Argument(), call);
    parser->SendEvent(evaluation.Name(), evaluation.Argument(), call);
}

std::string QxScriptScenario::ConverStringArg(std::string raw) {
    for (char& byte : raw) byte = static_cast<char>(static_cast<unsigned char>(byte) - 1);
    return raw;
}

std::string QxScriptScenario::ConverIntArg(std::string raw) {
    std::uint32_t number = 0;
    std::uint32_t multiplier = 1;
    for (const char byte : raw) {
        number += static_cast<std::uint8_t>(byte - 1) * multiplier;
        multiplier <<= 8;
    }
    return std::to_string(static_cast<std::int32_t>(number));
}
