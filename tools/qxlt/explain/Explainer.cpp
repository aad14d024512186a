#include "Explainer.h"

#include <algorithm>
#include <array>
#include <set>
#include <utility>

#include "JsonLine.h"
#include "Table.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kMaxMethods = 10000;  // names kept; a hostile dump has any number of them

// The stages as the table heads them, and as the JSON keys name them.
struct Stage {
    const char* title;
    std::uint64_t Funnel::*count;
};
constexpr std::array<Stage, 8> kStages = {{{"method", &Funnel::method},
                                           {"value", &Funnel::value},
                                           {"filter", &Funnel::filter},
                                           {"keyword", &Funnel::keyword},
                                           {"condition", &Funnel::condition},
                                           {"edge", &Funnel::edge},
                                           {"fired", &Funnel::fired},
                                           {"errors", &Funnel::errors}}};

std::size_t WidthOf(const Stage& stage) {
    return std::max<std::size_t>(std::string(stage.title).size(), 7) + 2;
}

}  // namespace

Explainer::Explainer(Format format, Output& output, const IQxData::_HSScriptPtr& root, const ScriptPlaces& places,
                     std::string onlyEvent)
    : m_format(format), m_output(output), m_root(root), m_places(places), m_onlyEvent(std::move(onlyEvent)) {
    qxscript::ForEachAction(
        root, [this](const IQxData::_HSScriptPtr& action, const std::string& name) { AddAction(action, name); });
}

void Explainer::AddAction(const IQxData::_HSScriptPtr& action, const std::string& name) {
    for (const IQxData::_HSScriptPtr* const event : action.children) {
        if (!qxscript::IsEvent(event)) continue;
        if (!m_onlyEvent.empty() && EventNameOf(*event) != m_onlyEvent) continue;
        m_byEvent[event] = &m_events.emplace_back(*event, name).record;
    }
}

EventRecord* Explainer::Find(const IQxData::_HSScriptPtr& event) {
    const auto found = m_byEvent.find(&event);
    return found == m_byEvent.end() ? nullptr : found->second;
}

void Explainer::OnCall(unsigned long long, const IQxData::HSCall&, const std::string& callerName) {
    ++m_calls;
    if (m_methods.count(callerName) == 0 && m_methods.size() < kMaxMethods) m_methods.insert(callerName);
}

void Explainer::OnEvent(const IQxData::_HSScriptPtr& event, unsigned long long, const IQxData::HSCall& call,
                        QxOutcome outcome, const std::string& argument) {
    EventRecord* const record = Find(event);
    if (record == nullptr) return;
    record->Count(outcome, argument);
    if (!m_onlyEvent.empty()) PrintDecision(*record, call, argument, record->DecisionText(outcome));
}

void Explainer::OnError(const IQxData::_HSScriptPtr& event, unsigned long long, const IQxData::HSCall& call,
                        QxStage stage, const std::string&) {
    EventRecord* const record = Find(event);
    if (record == nullptr) return;
    record->CountError(stage);
    if (!m_onlyEvent.empty()) PrintDecision(*record, call, "", record->ErrorText(stage));
}

void Explainer::PrintDecision(const EventRecord& record, const IQxData::HSCall& call, const std::string& value,
                              const std::string& decision) {
    if (m_quiet) return;
    const std::string& name = EventNameOf(record.Event());
    if (m_format == Format::Text) {
        m_output.Line("cycle " + std::to_string(m_cycle) + ", time " + std::to_string(call.time) + ", " +
                      Printable(name) + " \"" + Printable(value) + "\": " + decision);
        return;
    }
    JsonLine line;
    line.AddText("decided", name);
    line.Add("cycle", m_cycle);
    line.Add("time", call.time);
    line.AddText("value", value);
    line.AddText("decision", decision);
    m_output.Line(std::move(line).Finish());
}

void Explainer::Print() {
    if (m_format == Format::Text) return PrintTable();
    for (const Explained& event : m_events) PrintJson(event);
}

void Explainer::PrintTable() {
    std::size_t nameWidth = 5;
    std::size_t placeWidth = 5;
    for (const Explained& event : m_events) {
        const IQxData::_HSScriptPtr& element = event.record.Event();
        nameWidth = std::max(nameWidth, Printable(EventNameOf(element)).size());
        placeWidth = std::max(placeWidth, Printable(m_places.Of(element).Text()).size());
    }
    std::string head = Pad("event", nameWidth) + RightAligned("calls", 9);
    for (const Stage& stage : kStages) head += RightAligned(stage.title, WidthOf(stage));
    const std::size_t room = m_output.Width();
    const bool isNarrow = room != 0 && head.size() + 2 + placeWidth > room;
    if (!isNarrow) m_output.Line(m_output.Paint().Bold(head + "  place"));
    for (const Explained& event : m_events) PrintRow(event, nameWidth, isNarrow);
}

void Explainer::PrintRow(const Explained& event, std::size_t nameWidth, bool isNarrow) {
    const IQxData::_HSScriptPtr& element = event.record.Event();
    const Funnel funnel = event.record.Stages();
    std::vector<std::string> titles = {"event", "calls"};
    std::vector<std::string> cells = {Printable(EventNameOf(element)), std::to_string(m_calls)};
    std::string row = Pad(cells[0], nameWidth) + RightAligned(cells[1], 9);
    for (const Stage& stage : kStages) {
        titles.emplace_back(stage.title);
        cells.push_back(std::to_string(funnel.*stage.count));
        row += RightAligned(cells.back(), WidthOf(stage));
    }
    titles.emplace_back("place");
    cells.push_back(Printable(m_places.Of(element).Text()));
    row += "  " + cells.back();
    for (const std::string& line : isNarrow ? RowLines(titles, cells) : std::vector<std::string>{row}) {
        m_output.Line(line);
    }
    const std::string reason = ReasonFor(event).Line();
    if (!reason.empty()) m_output.Line("    " + reason);
}

void Explainer::PrintJson(const Explained& event) {
    const IQxData::_HSScriptPtr& element = event.record.Event();
    const Funnel funnel = event.record.Stages();
    const ScriptPlace& place = m_places.Of(element);
    const Reason reason = ReasonFor(event);
    JsonLine line;
    line.AddText("explained", EventNameOf(element));
    line.AddText("file", place.file);
    line.Add("line", place.line);
    line.Add("calls", m_calls);
    for (const Stage& stage : kStages) line.Add(stage.title, funnel.*stage.count);
    line.AddText("reason", reason.text);
    line.Add("refused", reason.calls);
    line.AddTexts("nearest", reason.nearest);
    m_output.Line(std::move(line).Finish());
}

Reason Explainer::ReasonFor(const Explained& event) const {
    return event.record.Stages().method == 0 ? MethodReason(event) : event.record.MainReason();
}

// Methods may have been added to actions since the scripts were loaded.
const IQxData::_HSScriptPtr* Explainer::SubscribedAction(const std::string& method,
                                                         const std::string& actionName) const {
    QxSubscriptions subscriptions;
    qxscript::Subscribe(m_root, subscriptions, nullptr,
                        [&method](const std::string& wanted) { return wanted == method; });
    const auto found = subscriptions.find(QxSubscriptionOrder::Key(method, actionName));
    return found == subscriptions.end() ? nullptr : found->second;
}

// Why an event was never evaluated: what its action waits for was not called, or goes to another action.
Reason Explainer::MethodReason(const Explained& event) const {
    const IQxData::_HSScriptPtr& action = *event.record.Event().parent;
    std::vector<std::string> wanted;
    NearestValues nearest;
    const std::set<std::string> seenMethods(m_methods.begin(), m_methods.end());  // of equally near ones the first
    for (const IQxData::_HSScriptPtr* const child : action.children) {
        if (!qxscript::IsMethod(child) || child->attributes.empty()) continue;
        const std::string& method = qxscript::MethodNameOf(*child);
        if (m_methods.count(method) != 0) {
            const bool own = SubscribedAction(method, event.actionName) == &action;
            return {
                Printable(method) + (own ? " was not evaluated" : " goes to another action of that name"), m_calls, {}};
        }
        wanted.push_back(Printable(method));
        for (const std::string& seen : seenMethods) nearest.Add(EditDistance(method, seen), seen);
    }
    if (wanted.empty()) return {"its action names no method", m_calls, {}};
    return {"no call of " + CommaSeparated(wanted), m_calls, nearest.Values()};
}

std::string Explainer::ReasonOf(const std::string& name) const {
    for (const Explained& event : m_events) {
        const IQxData::_HSScriptPtr& element = event.record.Event();
        if (EventNameOf(element) != name) continue;
        const Funnel funnel = event.record.Stages();
        const std::string fired = std::to_string(funnel.fired) + " of " + Counted(funnel.method, "call") + " fired";
        const std::string reason = ReasonFor(event).Line();
        return m_places.Of(element).Text() + ": " + fired + (reason.empty() ? "" : "; " + reason);
    }
    return "no event of that name in the scripts";
}

}  // namespace qxlt
