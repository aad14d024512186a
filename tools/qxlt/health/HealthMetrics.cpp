#include <set>

#include "MetricsText.h"
#include "RunHealth.h"

namespace qxlt {

namespace {

using std::chrono::nanoseconds;

nanoseconds Since1970(std::uint64_t wall) {
    return nanoseconds(static_cast<nanoseconds::rep>(wall));
}

void AddRun(MetricsText& text, const RunHealth& health) {
    text.Family("qxlt_info", "The version of the tool.");
    text.Add({{"version", QXLT_VERSION}}, 1);
    if (!health.rules.empty()) {
        text.Family("qxlt_rules_info", "The hash of the scenarios that run.");
        text.Add({{"rules", health.rules}}, 1);
    }
    text.Family("qxlt_running", "1 while events are raised, 0 before and after.");
    text.Add({}, health.state == RunState::Running ? 1 : 0);
    text.Family("qxlt_start_time_seconds", "When the run was started, since 1970.");
    text.Add({}, Since1970(health.started));
    text.Family("qxlt_update_time_seconds", "When this was written, since 1970.");
    text.Add({}, Since1970(health.now));
    text.Family("qxlt_processes_waited_for", "How many processes do not run yet.");
    text.Add({}, health.waitingFor.size());
    text.Family("qxlt_resident_memory_bytes", "The memory that the run takes.");
    text.Add({}, health.residentBytes);
    text.Family("qxlt_store_bytes", "About the memory that is kept of what processes describe, and of calls.");
    text.Add({}, health.storeBytes);
}

void AddSpans(MetricsText& text, const std::string& name, const std::string& help, const TimeSpans& spans) {
    text.Family("qxlt_" + name + "_seconds", help, "summary");
    text.AddOf("_sum", spans.total);
    text.AddOf("_count", spans.count);
    text.Family("qxlt_" + name + "_last_seconds", help + " The last one.");
    text.Add({}, spans.last);
    text.Family("qxlt_" + name + "_longest_seconds", help + " The longest one.");
    text.Add({}, spans.longest);
}

struct ProcessMetric {
    const char* name;
    const char* help;
    std::uint64_t (*value)(const ProcessHealth&);
};
constexpr ProcessMetric kProcessMetrics[] = {
    {"qxlt_process_up", "1 while a process of that name runs.",
     [](const ProcessHealth& process) -> std::uint64_t { return process.ids.empty() ? 0 : 1; }},
    {"qxlt_process_instances", "How many processes of that name run.",
     [](const ProcessHealth& process) -> std::uint64_t { return process.ids.size(); }},
    {"qxlt_process_unreadable", "1 while nothing of one of them can be read.",
     [](const ProcessHealth& process) -> std::uint64_t { return process.problem.empty() ? 0 : 1; }},
    {"qxlt_process_calls_total", "Calls that were evaluated.",
     [](const ProcessHealth& process) { return process.calls; }},
    {"qxlt_process_calls_lost_total", "Calls that were recorded and lost.",
     [](const ProcessHealth& process) { return process.Lost(); }},
    {"qxlt_process_bytes_not_decoded_total", "Bytes of dumps that were not decoded.",
     [](const ProcessHealth& process) { return process.bytesNotDecoded; }},
    {"qxlt_process_event_errors_total", "Evaluations of its calls that failed.",
     [](const ProcessHealth& process) { return process.eventsInError; }},
};

void AddProcesses(MetricsText& text, const RunHealth& health) {
    if (health.processes.empty()) return;
    for (const ProcessMetric& metric : kProcessMetrics) {
        text.Family(metric.name, metric.help);
        for (const auto& [name, process] : health.processes) text.Add({{"process", name}}, metric.value(process));
    }
    text.Family("qxlt_process_since_time_seconds", "When a process of that name last started or ended, since 1970.");
    for (const auto& [name, process] : health.processes) text.Add({{"process", name}}, Since1970(process.since));
}

struct EventMetric {
    const char* name;
    const char* help;
    std::uint64_t QxEventTally::Row::*value;
};
constexpr EventMetric kEventMetrics[] = {
    {"qxlt_event_seen_total", "Calls that the event was evaluated for.", &QxEventTally::Row::seen},
    {"qxlt_event_matched_total", "Of these, those with a value that it asks for.", &QxEventTally::Row::matched},
    {"qxlt_event_fired_total", "How often it fired.", &QxEventTally::Row::fired},
    {"qxlt_event_errors_total", "Evaluations that failed.", &QxEventTally::Row::errors},
};

void AddEvents(MetricsText& text, const RunHealth& health) {
    if (health.events.empty()) return;
    for (const EventMetric& metric : kEventMetrics) {
        text.Family(metric.name, metric.help);
        for (const auto& [name, row] : health.events) text.Add({{"event", name}}, row.*metric.value);
    }
    text.Family("qxlt_event_last_time_seconds",
                "The time of the call that it fired for last, since 1970; 0: none yet.");
    for (const auto& [name, row] : health.events) {
        const auto wall = row.fired == 0 ? std::nullopt : WallTime(row.lastTime, health.clock);
        text.Add({{"event", name}}, Since1970(wall.value_or(0)));
    }
}

void AddFigure(MetricsText& text, const HealthFigure& figure) {
    MetricsText::Labels labels;
    if (!figure.event.empty()) labels.emplace_back("event", figure.event);
    const auto* const word = std::get_if<std::string>(&figure.value);
    if (word != nullptr) labels.emplace_back(figure.key, *word);
    text.Add(labels, word != nullptr ? 1 : std::get<std::uint64_t>(figure.value));
}

// A family is in one piece.
void AddFigures(MetricsText& text, const std::vector<HealthFigure>& figures) {
    std::set<std::string> told;
    for (const HealthFigure& first : figures) {
        if (!told.insert(first.metric).second) continue;
        text.Family(first.metric, first.help);
        for (const HealthFigure& figure : figures) {
            if (figure.metric == first.metric) AddFigure(text, figure);
        }
    }
}

}  // namespace

std::string HealthMetrics(const RunHealth& health, const std::string& name) {
    MetricsText text({{"run", name}});
    AddRun(text, health);
    text.Family("qxlt_cycles_total", "Cycles that have ended.");
    text.Add({}, health.cycles);
    AddSpans(text, "cycle", "How long a cycle takes, with the pause after each dump.", health.cycle);
    AddSpans(text, "work", "How long a cycle decodes and evaluates.", health.work);
    AddSpans(text, "callback", "How long handing on an event takes.", health.callbacks);
    AddProcesses(text, health);
    AddEvents(text, health);
    AddFigures(text, health.figures);
    return text.Text();
}

}  // namespace qxlt
