#include "ChromeTrace.h"

#include <cmath>
#include <variant>

#include "CallValues.h"
#include "JsonLine.h"
#include "Text.h"

namespace qxlt {

namespace {

// Times are microseconds; the digits behind the point keep the nanoseconds.
std::string Microseconds(std::uint64_t ns) {
    return std::to_string(ns / 1000) + "." + std::to_string(1000 + ns % 1000).substr(1);
}

struct AddTo {
    JsonLine& line;
    const std::string& key;
    const CallValue& value;

    void operator()(std::monostate) const { line.AddText(key, ValueText(value)); }
    void operator()(std::string_view text) const { line.AddText(key, text); }
    void operator()(float number) const { AddFraction(number); }
    void operator()(double number) const { AddFraction(number); }
    template <typename Number>
    void operator()(Number number) const {
        line.Add(key, number);
    }

private:
    // JSON has no number for some.
    template <typename Number>
    void AddFraction(Number number) const {
        std::isfinite(number) ? line.AddFraction(key, number) : line.AddText(key, ValueText(value));
    }
};

void AddValue(JsonLine& line, const CallValue& value) {
    const std::string key = value.Name();
    if (!value.IsPlain()) return line.AddText(key, ValueText(value));
    const std::string bytes = BytesOf(value.pairs->front());
    std::visit(AddTo{line, key, value}, ReadValue(value.TypeOf(0), bytes));
}

void Begin(JsonLine& line, const std::string& name, const char* category) {
    line.AddText("name", name);
    line.AddText("cat", category);
    line.BeginObject("args");
}

std::string End(JsonLine&& line) {
    line.EndObject();
    return std::move(line).Finish();
}

}  // namespace

ChromeTrace::ChromeTrace(LineSink sink) : m_sink(std::move(sink)) {
    m_sink(R"({"displayTimeUnit":"ns","traceEvents":[)");
}

void ChromeTrace::Finish() {
    m_sink("]}");
}

std::optional<INestedWriter::Texts> ChromeTrace::Hold(const CallView& call) {
    JsonLine line;
    Begin(line, MethodName(call), "call");
    for (const CallValue& value : ValuesOf(call)) AddValue(line, value);
    line.AddText("source", call.location.srcCodeFileRaw);
    return Texts{End(std::move(line)), ""};
}

std::string ChromeTrace::Hold(const EventView& event) {
    JsonLine line;
    Begin(line, event.event, "event");
    line.AddText("value", event.value);
    line.AddText("call", MethodName(event.call));
    line.Add("cycle", event.cycle);
    return End(std::move(line));
}

std::string ChromeTrace::Hold(const DumpNews& loss) {
    JsonLine line;
    Begin(line, "lost", "loss");
    line.Add("cycle", loss.cycle);
    if (loss.counts) AddLoss(line, *loss.counts);
    line.Add("bytesNotDecoded", loss.bytesNotDecoded);
    return End(std::move(line));
}

void ChromeTrace::Enter(const NestedItem& item, const CallNesting::Place& place) {
    Name(item.thread, item.threadName);
    const bool isSlice = item.kind == NestedItem::Kind::Call && item.times.exitTime != 0;
    JsonLine line;
    line.AddText("ph", isSlice ? "X" : "i");
    line.Add("pid", item.thread.pid);
    line.Add("tid", item.thread.tid);
    line.AddJson("ts", Microseconds(item.times.time));
    if (isSlice) line.AddJson("dur", Microseconds(place.end - item.times.time));
    if (!isSlice) line.AddText("s", item.kind == NestedItem::Kind::Loss ? "p" : "t");
    line.AddKeysOf(item.entry);
    WriteEvent(std::move(line).Finish());
}

// Before the first event of a process, and of a thread.
void ChromeTrace::Name(const CallThread& thread, const std::string& threadName) {
    if (m_processes.emplace(thread.pid, thread.process).second) WriteName("process_name", thread, thread.process);
    if (!threadName.empty() && m_threads.insert(thread).second) WriteName("thread_name", thread, threadName);
}

void ChromeTrace::WriteName(const char* what, const CallThread& thread, const std::string& name) {
    JsonLine line;
    line.AddText("ph", "M");
    line.AddText("name", what);
    line.Add("pid", thread.pid);
    line.Add("tid", thread.tid);
    line.BeginObject("args");
    line.AddText("name", name);
    WriteEvent(End(std::move(line)));
}

void ChromeTrace::WriteEvent(const std::string& event) {
    m_sink((m_first ? "" : ",") + event);
    m_first = false;
}

}  // namespace qxlt
