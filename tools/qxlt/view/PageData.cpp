#include "PageData.h"

#include <algorithm>
#include <vector>

#include "CallValues.h"
#include "JsonLine.h"
#include "ResultType.h"
#include "Text.h"

namespace qxlt {

namespace {

std::string WithoutMarkup(const std::string& json) {
    std::string text;
    text.reserve(json.size());
    for (const char letter : json) {
        if (letter == '<') {
            text += "\\u003c";
        } else {
            text += letter;
        }
    }
    return text;
}

std::vector<std::string> TextsOf(const std::vector<CallValue>& values, CallValue::Moment moment) {
    std::vector<std::string> texts;
    for (const CallValue& value : values) {
        if (value.moment == moment) texts.push_back(ValueText(value));
    }
    return texts;
}

// Nothing for a method that returns none; null for a call that ended without it.
void AddResult(JsonLine& line, const CallView& call, const std::vector<CallValue>& values) {
    if (LacksResult(call.location, call.call)) return line.AddNull("ret");
    const std::vector<std::string> results = TextsOf(values, CallValue::Moment::Ret);
    if (!results.empty()) line.AddText("ret", CommaSeparated(results));
}

// Larger numbers than readers of JSON keep whole stand as texts.
void AddExact(JsonLine& line, const char* key, std::uint64_t number) {
    line.AddText(key, std::to_string(number));
}

}  // namespace

PageData::PageData(LineSink sink, const std::string& name, const RunStart& start, const FiringReasons& reasons)
    : m_sink(std::move(sink)), m_reasons(reasons) {
    JsonLine line;
    line.AddText("capture", Printable(name));
    if (start.time) AddExact(line, "start", *start.time);
    if (start.clock) line.AddText("clock", std::to_string(*start.clock));
    m_sink("[" + WithoutMarkup(std::move(line).Finish()));
}

void PageData::Finish() {
    m_sink("]");
}

void PageData::Write(JsonLine&& line) {
    m_sink("," + WithoutMarkup(std::move(line).Finish()));
}

std::optional<INestedWriter::Texts> PageData::Hold(const CallView& call) {
    const std::vector<CallValue> values = ValuesOf(call);
    JsonLine line;
    line.Add("call", MethodOf(call));
    line.AddTexts("in", TextsOf(values, CallValue::Moment::In));
    if (!call.call.args.out.empty()) line.AddTexts("out", TextsOf(values, CallValue::Moment::Out));
    AddResult(line, call, values);
    return Texts{std::move(line).Finish(), ""};
}

std::size_t PageData::MethodOf(const CallView& call) {
    Method method{MethodName(call), Printable(call.location.srcCodeFileRaw)};
    const auto [entry, isNew] = m_methods.try_emplace(std::move(method), m_methods.size());
    if (!isNew) return entry->second;
    JsonLine line;
    line.AddText("method", entry->first.first);
    line.AddText("source", entry->first.second);
    Write(std::move(line));
    return entry->second;
}

std::string PageData::Hold(const EventView& event) {
    JsonLine line;
    line.AddText("event", Printable(event.event));
    line.AddText("value", Printable(event.value));
    line.Add("cycle", event.cycle);
    line.AddText("why", m_reasons.Last());
    return std::move(line).Finish();
}

std::string PageData::Hold(const DumpNews& loss) {
    JsonLine line;
    const LossCounts counts = loss.counts.value_or(LossCounts()).Without(loss.history);
    line.AddText("lost", LossText(counts, loss.bytesNotDecoded));
    line.Add("cycle", loss.cycle);
    return std::move(line).Finish();
}

void PageData::Enter(const NestedItem& item, const CallNesting::Place& place) {
    if (!m_base) {
        m_base = item.times.time;
        JsonLine line;
        AddExact(line, "base", *m_base);
        Write(std::move(line));
    }
    switch (item.kind) {
        case NestedItem::Kind::Call:
            return EnterCall(item, place);
        case NestedItem::Kind::Event:
            return EnterEvent(item);
        case NestedItem::Kind::Loss:
            return EnterLoss(item);
    }
}

// When it is. What comes late may be before the base.
void PageData::Place(JsonLine& line, const NestedItem& item) {
    const std::uint64_t time = item.times.time;
    if (time >= *m_base) return line.Add("at", time - *m_base);
    line.AddJson("at", "-" + std::to_string(*m_base - time));
}

void PageData::EnterCall(const NestedItem& item, const CallNesting::Place& place) {
    const std::size_t lane = LaneOf(item);
    JsonLine line;
    line.AddKeysOf(item.entry);
    line.Add("lane", lane);
    Place(line, item);
    const std::uint64_t began = item.times.time;
    const std::uint64_t took = std::max(item.times.exitTime, began) - began;
    if (item.times.exitTime != 0) line.Add("took", took);
    if (place.end - began != took) line.Add("drawn", place.end - began);
    line.Add("depth", place.depth);
    Write(std::move(line));
    if (began != m_now) m_atNow.clear();
    m_now = began;
    m_atNow[item.times.key] = m_calls++;
}

// An event comes behind the call that raised it, among what began then.
void PageData::EnterEvent(const NestedItem& item) {
    const std::size_t lane = LaneOf(item);
    JsonLine line;
    line.AddKeysOf(item.entry);
    line.Add("lane", lane);
    Place(line, item);
    const auto call = m_atNow.find(item.times.key);
    if (item.times.time == m_now && call != m_atNow.end()) line.Add("of", call->second);
    Write(std::move(line));
}

void PageData::EnterLoss(const NestedItem& item) {
    JsonLine line;
    line.AddKeysOf(item.entry);
    line.AddText("process", Printable(item.thread.process));
    line.Add("pid", item.thread.pid);
    Place(line, item);
    if (item.times.exitTime != 0) line.Add("lasts", item.times.exitTime - item.times.time);
    Write(std::move(line));
}

std::size_t PageData::LaneOf(const NestedItem& item) {
    const auto [entry, isNew] = m_lanes.try_emplace(item.thread, m_lanes.size());
    if (!isNew) return entry->second;
    JsonLine line;
    line.AddText("thread", Printable(item.threadName));
    line.AddText("process", Printable(item.thread.process));
    line.Add("pid", item.thread.pid);
    line.Add("tid", item.thread.tid);
    Write(std::move(line));
    return entry->second;
}

}  // namespace qxlt
