#include "RunHealth.h"

#include <algorithm>

#include "JsonLine.h"
#include "Text.h"

namespace qxlt {

namespace {

// What was cut off in the middle of a character ends before it.
std::string WholeCharacters(const std::string& text) {
    if (text.size() < QxEventTally::kMaxValue) return text;
    for (std::size_t cut = 0; cut < 4; ++cut) {
        std::string shorter = text.substr(0, text.size() - cut);
        if (IsUtf8(shorter)) return shorter;
    }
    return text;
}

void AddTime(JsonLine& line, const char* key, std::optional<std::uint64_t> wall) {
    if (wall) {
        line.AddText(key, WallText(*wall));
    } else {
        line.AddNull(key);
    }
}

void AddSpans(JsonLine& line, const char* key, const TimeSpans& spans) {
    const auto us = [](TimeSpans::Span span) {
        return std::chrono::duration_cast<std::chrono::microseconds>(span).count();
    };
    line.BeginObject(key);
    line.Add("count", spans.count);
    line.Add("last", us(spans.last));
    line.Add("mean", us(spans.Mean()));
    line.Add("longest", us(spans.longest));
    line.EndObject();
}

void AddFigures(JsonLine& line, const std::vector<HealthFigure>& figures, const std::string& event) {
    for (const HealthFigure& figure : figures) {
        if (figure.event != event) continue;
        if (const auto* const text = std::get_if<std::string>(&figure.value)) {
            line.AddText(figure.key, *text);
        } else {
            line.Add(figure.key, std::get<std::uint64_t>(figure.value));
        }
    }
}

void AddProcesses(JsonLine& line, const RunHealth& health) {
    line.BeginList("processes");
    for (const auto& [name, process] : health.processes) {
        line.BeginObject();
        line.AddText("process", name);
        line.AddNumbers("process_ids", process.ids);
        line.Add("alive", !process.ids.empty());
        line.AddText("since", WallText(process.since));
        if (!process.problem.empty()) line.AddText("problem", process.problem);
        line.Add("calls", process.calls);
        line.Add("lost", process.Lost());
        if (process.counts) AddLoss(line, *process.counts);
        line.Add("bytesNotDecoded", process.bytesNotDecoded);
        line.Add("eventsInError", process.eventsInError);
        line.EndObject();
    }
    line.EndList();
}

void AddEvents(JsonLine& line, const RunHealth& health) {
    line.BeginList("events");
    for (const auto& [name, row] : health.events) {
        line.BeginObject();
        line.AddText("event", name);
        line.Add("seen", row.seen);
        line.Add("matched", row.matched);
        line.Add("fired", row.fired);
        line.Add("errors", row.errors);
        if (row.fired == 0) {
            line.AddNull("lastValue");
        } else {
            line.AddText("lastValue", WholeCharacters(row.lastValue));
        }
        AddTime(line, "lastTime", row.fired == 0 ? std::nullopt : WallTime(row.lastTime, health.clock));
        AddFigures(line, health.figures, name);
        line.EndObject();
    }
    line.EndList();
}

std::uint64_t Fired(const RunHealth& health) {
    std::uint64_t sum = 0;
    for (const auto& event : health.events) sum += event.second.fired;
    return sum;
}

std::uint64_t Lost(const RunHealth& health) {
    std::uint64_t sum = 0;
    for (const auto& process : health.processes) sum += process.second.Lost();
    return sum;
}

std::string ProcessWords(const std::string& name, const ProcessHealth& process) {
    if (process.ids.empty()) return name + " has ended";
    std::string ids;
    for (const std::uint32_t id : process.ids) ids += (ids.empty() ? "" : ",") + std::to_string(id);
    return name + "[" + ids + "]" + (process.problem.empty() ? "" : " cannot be read");
}

}  // namespace

const char* TextOf(RunState state) {
    switch (state) {
        case RunState::Waiting:
            return "waiting";
        case RunState::Running:
            return "running";
        case RunState::Ended:
            break;
    }
    return "ended";
}

std::uint64_t ProcessHealth::Lost() const {
    return counts ? counts->overwritten + counts->refused + counts->dropped : 0;
}

std::string HealthJson(const RunHealth& health) {
    JsonLine line;
    line.AddText("state", TextOf(health.state));
    AddTime(line, "time", health.now);
    AddTime(line, "started", health.started);
    line.Add("pid", health.pid);
    line.Add("cycles", health.cycles);
    if (!health.rules.empty()) line.AddText("rules", health.rules);
    line.AddTexts("waitingFor", health.waitingFor);
    AddFigures(line, health.figures, "");
    AddProcesses(line, health);
    AddEvents(line, health);
    AddSpans(line, "cycleUs", health.cycle);
    AddSpans(line, "workUs", health.work);
    AddSpans(line, "callbackUs", health.callbacks);
    line.BeginObject("memory");
    line.Add("residentBytes", health.residentBytes);
    line.Add("storeBytes", health.storeBytes);
    line.EndObject();
    return std::move(line).Finish();
}

std::string HealthSummary(const RunHealth& health) {
    if (health.state == RunState::Waiting && !health.waitingFor.empty()) {
        return Printable("waiting for " + CommaSeparated(health.waitingFor));
    }
    std::vector<std::string> words;
    for (const auto& [name, process] : health.processes) words.push_back(ProcessWords(name, process));
    words.push_back(Counted(health.cycles, "cycle"));
    words.push_back(Counted(Fired(health), "event"));
    words.push_back(Counted(Lost(health), "call") + " lost");
    return Printable(CommaSeparated(words));
}

}  // namespace qxlt
