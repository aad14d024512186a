#include "QxScriptScenario.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <optional>
#include <utility>

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

const std::string& CallerName(const QxStoreAccess& store, const IQxData::HSCall& call,
                              std::optional<QxLocation>& scratch) {
    return store.Location(call.locId, call.pid, scratch).site.callerName;
}

void ReportNameless(const std::string& actionName) {
    QxDebugPrint::GetInstance()->Print("SetSubscriber", __LINE__, Major,
                                       "[QxScriptScenario::SetSubscriber] method without attribute, action: %s",
                                       actionName.c_str());
}

}  // namespace

int QxScriptScenario::Trace(QxParser* parser) {
    const std::shared_ptr<IQxData> store = parser->Data();
    IQxData::_HSScriptPtr* const root = store == nullptr ? nullptr : RootOf(*store);
    if (root == nullptr) {
        QxDebugPrint::GetInstance()->Print("Trace", __LINE__, Info, "GetScript Failed");
        return 0;
    }
    LeavePass();
    Methods methods;
    const std::vector<Seen> calls = Look(*parser, methods);
    SubscribePass(*root, methods, *parser);
    Await(calls, parser->Observer());
    for (m_At = 0; m_At < m_Awaited.size(); ++m_At) Visit(parser);
    parser->Access().KeepRecords(std::move(m_Copies));
    LeavePass();
    return 1;
}

void QxScriptScenario::LeavePass() {
    m_Read.clear();
    m_Awaited.clear();
    m_Copies.clear();
    m_At = 0;
    m_Key = 0;
}

// Locations are looked up once for all of their calls. Calls of one location often come one after the other.
std::vector<QxScriptScenario::Seen> QxScriptScenario::Look(const QxParser& parser, Methods& methods) {
    auto& calls = *parser.Store().GetCallIMap();
    std::vector<Seen> seen;
    seen.reserve(calls.size());
    std::optional<QxLocation> scratch;
    const Method* method = nullptr;
    std::uint64_t last = 0;
    for (auto& [key, call] : calls) {
        const std::uint64_t location = std::uint64_t{call.pid} << 32 | call.locId;
        if (method == nullptr || location != last) {
            const auto [entry, isNew] = methods.try_emplace(location);
            if (isNew) entry->second.name = CallerName(parser.Access(), call, scratch);
            method = &entry->second;
            last = location;
        }
        seen.push_back({key, &call, method});
    }
    return seen;
}

// Each pass subscribes anew, to the methods that it has calls of, and what is wrong with a script is told once.
void QxScriptScenario::SubscribePass(const IQxData::_HSScriptPtr& root, Methods& methods, const QxParser& parser) {
    m_ActionCount = root.children.size();
    m_Subscribed.clear();
    for (const auto& method : methods) m_Subscribed.insert(method.second.name);
    const auto nameless = [&](const IQxData::_HSScriptPtr& method, const std::string& actionName) {
        if (parser.Access().IsFirstReport(method)) ReportNameless(actionName);
    };
    qxscript::Subscribe(root, m_Subscribers, nameless,
                        [this](const std::string& name) { return m_Subscribed.count(name) != 0; });
    for (auto& method : methods) method.second.isSubscribed = HasSubscriber(method.second.name);
}

// A callback has given a call's location another method: one that no call of the pass had.
void QxScriptScenario::SubscribeLate(const std::string& method, QxParser& parser) {
    m_Subscribed.insert(method);
    if (const IQxData::_HSScriptPtr* const root = RootOf(parser.Store())) {
        qxscript::Subscribe(
            *root, m_Subscribers, nullptr, [&](const std::string& name) { return name == method; }, m_ActionCount);
    }
}

// The calls that something is subscribed to.
void QxScriptScenario::Await(const std::vector<Seen>& calls, IQxEventObserver* observer) {
    for (const Seen& seen : calls) {
        if (observer != nullptr) observer->OnCall(seen.key, *seen.call, seen.method->name);
        if (seen.method->isSubscribed) m_Awaited.push_back(seen);
    }
}

// A callback may change the store: before the first one, what it could reach of this pass is copied, and the pass goes
// on over the calls that stood there when it began.
void QxScriptScenario::CopyAwaited(const QxStoreAccess& access) {
    if (!m_Copies.empty()) return;
    std::vector<IQxData::HSCall> copies = access.TakeRecords();
    copies.resize(m_Awaited.size() - m_At);
    for (std::size_t i = m_At; i < m_Awaited.size(); ++i) copies[i - m_At] = *m_Awaited[i].call;
    m_Copies = std::move(copies);
    for (std::size_t i = m_At; i < m_Awaited.size(); ++i) m_Awaited[i].call = &m_Copies[i - m_At];
}

bool QxScriptScenario::HasSubscriber(const std::string& method) const {
    const auto first = m_Subscribers.lower_bound(method);
    return first != m_Subscribers.end() && first->first.first == method;
}

// Once a callback may have run the location is looked up again: one that cleared the store ends the matches of the
// calls that follow.
void QxScriptScenario::Visit(QxParser* parser) {
    std::optional<QxLocation> scratch;
    Seen& seen = m_Awaited[m_At];
    const std::string method = m_Copies.empty() ? seen.method->name : CallerName(parser->Access(), *seen.call, scratch);
    m_Key = seen.key;
    if (m_Subscribed.count(method) == 0) SubscribeLate(method, *parser);
    const auto end = m_Subscribers.end();
    const auto isOfMethod = [&](const auto& entry) { return entry != end && entry->first.first == method; };
    for (auto entry = m_Subscribers.lower_bound(method); isOfMethod(entry); ++entry) {
        const Call use = isOfMethod(std::next(entry)) ? Call::Kept : Call::UsedUp;
        MakeEvents(*entry->second, seen.call, use, parser);
    }
}

void QxScriptScenario::SetSubscriber(IQxData::_HSScriptPtr* root) {
    qxscript::Subscribe(*root, m_Subscribers, [](const IQxData::_HSScriptPtr&, const std::string& actionName) {
        ReportNameless(actionName);
    });
}

void QxScriptScenario::MakeEvent(IQxData::_HSScriptPtr* action, IQxData::HSCall& call, QxParser* parser) {
    LeavePass();
    IQxData::HSCall* one = &call;
    MakeEvents(*action, one, Call::Kept, parser);
}

// A callback may load a script below this action: only the children that were there at the start are visited. Of these
// the last one may use up the call.
void QxScriptScenario::MakeEvents(const IQxData::_HSScriptPtr& action, IQxData::HSCall*& call, Call use,
                                  QxParser* parser) {
    std::size_t count = action.children.size();
    while (count > 0 && !qxscript::IsEvent(action.children[count - 1])) --count;
    for (std::size_t i = 0; i < count; ++i) {
        IQxData::_HSScriptPtr* const event = action.children[i];
        if (qxscript::IsEvent(event)) PushGuarded(event, call, i + 1 == count ? use : Call::Kept, parser);
    }
}

// Taken once for all calls of a pass, and anew where a callback has added attributes.
const QxEventWords& QxScriptScenario::WordsOf(const IQxData::_HSScriptPtr& event) {
    const auto known = m_Read.find(&event);
    const void* const attributes = event.attributes.data();
    const std::size_t count = event.attributes.size();
    if (known != m_Read.end() && known->second.attributes == attributes && known->second.count == count) {
        return known->second.words;
    }
    return m_Read.insert_or_assign(&event, Read{attributes, count, QxEventWords(event)}).first->second.words;
}

void QxScriptScenario::PushGuarded(IQxData::_HSScriptPtr* event, IQxData::HSCall*& call, Call use, QxParser* parser) {
    std::optional<QxEventEvaluation> evaluation;
    try {
        Push(evaluation.emplace(*event, WordsOf(*event), *call, &parser->Log()), *event, call, use, *parser);
    } catch (const std::exception& error) {
        parser->Log().Print("MakeEvent", __LINE__, Major,
                            "[QxScriptScenario::MakeEvent] Event in error, event: %s, error: %s",
                            QxEventWords(*event)[QxEventWords::kName].c_str(), error.what());
        parser->Events().CountError();
        if (parser->Observer() == nullptr) return;
        const QxStage stage = evaluation ? evaluation->Stage() : QxStage::Other;
        parser->Observer()->OnError(*event, m_Key, *call, stage, error.what());
    }
}

void QxScriptScenario::PushEvent(IQxData::_HSScriptPtr* event, IQxData::HSCall& call, QxParser* parser) {
    LeavePass();
    const QxEventWords words(*event);
    QxEventEvaluation evaluation(*event, words, call, &parser->Log());
    IQxData::HSCall* one = &call;
    Push(evaluation, *event, one, Call::Kept, *parser);
}

void QxScriptScenario::Push(QxEventEvaluation& evaluation, const IQxData::_HSScriptPtr& event, IQxData::HSCall*& call,
                            Call use, QxParser& parser) {
    const QxOutcome outcome = evaluation.Decide();
    if (parser.Observer() != nullptr) {
        parser.Observer()->OnEvent(event, m_Key, *call, outcome, evaluation.Argument());
    }
    if (outcome != QxOutcome::Fires) return;
    CopyAwaited(parser.Access());
    parser.Events().Keep(parser.Store(), evaluation.Name(), evaluation.Argument(), *call);
    parser.Events().Send(evaluation.Name(), evaluation.Argument(), use == Call::UsedUp ? std::move(*call) : *call);
}
