#include "Lifecycle.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "CallView.h"
#include "Json.h"
#include "JsonLine.h"
#include "Messages.h"

namespace qxlt {

namespace {

struct StateNames {
    ProcessState state;
    const char* key;   // in JSON
    const char* text;  // for a person
};
constexpr StateNames kStates[] = {{ProcessState::Started, "started", "has started"},
                                  {ProcessState::Ended, "ended", "has ended"},
                                  {ProcessState::Restarted, "restarted", "has started anew"},
                                  {ProcessState::Unreadable, "unreadable", "runs, and nothing of it can be read"}};

const StateNames& NamesOf(ProcessState state) {
    return *std::find_if(std::begin(kStates), std::end(kStates),
                         [state](const StateNames& names) { return names.state == state; });
}

void AddChange(JsonLine& line, const ProcessChange& change) {
    line.Add("process_id", change.pid);
    line.AddText("state", NamesOf(change.state).key);
    if (!change.reason.empty()) line.AddText("reason", change.reason);
}

std::optional<ProcessChange> ReadChange(const JsonObject& object) {
    const auto has = [&object](const char* key, JsonObject::value_t type) {
        return object.contains(key) && object[key].type() == type;
    };
    if (!object.is_object() || !has("process_id", JsonObject::value_t::number_unsigned)) return std::nullopt;
    if (!has("state", JsonObject::value_t::string)) return std::nullopt;
    const std::uint64_t pid = object["process_id"].get<std::uint64_t>();
    const std::string name = object["state"].get<std::string>();
    const auto* const names = std::find_if(std::begin(kStates), std::end(kStates),
                                           [&name](const StateNames& row) { return row.key == name; });
    if (pid > UINT32_MAX || names == std::end(kStates)) return std::nullopt;
    ProcessChange change{static_cast<std::uint32_t>(pid), names->state, ""};
    if (has("reason", JsonObject::value_t::string)) change.reason = object["reason"].get<std::string>();
    return change;
}

}  // namespace

void PrintNews(Format format, Output& output, const ProcessNews& news) {
    if (format == Format::Json) {
        JsonLine line;
        line.Add("cycle", news.cycle);
        line.BeginObject("lifecycle");
        line.AddText("process", news.process);
        AddChange(line, news.change);
        line.EndObject();
        output.Line(std::move(line).Finish());
        return;
    }
    const std::string& reason = news.change.reason;
    const std::string text = "cycle " + std::to_string(news.cycle) + ", " + ProcessText(news.process, news.change.pid) +
                             " " + NamesOf(news.change.state).text + (reason.empty() ? "" : ": " + reason);
    if (news.change.state == ProcessState::Unreadable) return PrintWarning(text);
    PrintNote(text);
}

std::string ChangesJson(const std::vector<ProcessChange>& changes) {
    std::string list;
    for (const ProcessChange& change : changes) {
        JsonLine line;
        AddChange(line, change);
        list += (list.empty() ? "" : ",") + std::move(line).Finish();
    }
    return "[" + list + "]";
}

std::optional<std::vector<ProcessChange>> ReadChanges(const JsonObject& json) {
    if (!json.is_array()) return std::nullopt;
    std::vector<ProcessChange> changes;
    for (const JsonObject& object : json) {
        std::optional<ProcessChange> change = ReadChange(object);
        if (!change) return std::nullopt;
        changes.push_back(std::move(*change));
    }
    return changes;
}

}  // namespace qxlt
