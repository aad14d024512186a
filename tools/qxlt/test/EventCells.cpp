#include "EventCells.h"

#include "Json.h"
#include "RunLines.h"
#include "Text.h"
#include "TimeFormat.h"

namespace qxlt {

namespace {

std::optional<std::uint64_t> NumberOf(const JsonObject& object, const char* key) {
    const auto found = object.find(key);
    if (found == object.end() || !found->is_number_unsigned()) return std::nullopt;
    return found->get<std::uint64_t>();
}

// A list under the key; an empty one when there is none.
const JsonObject& ListOf(const JsonObject& object, const char* key) {
    static const JsonObject kNone = JsonObject::array();
    const auto found = object.find(key);
    return found == object.end() || !found->is_array() ? kNone : *found;
}

std::string ScalarText(const JsonObject& value) {
    return value.is_string() ? Printable(value.get_ref<const std::string&>()) : Printable(value.dump());
}

// What the pair tells best: its decoded value before its bytes.
std::string PairText(const JsonObject& pair) {
    if (!pair.is_object()) return ScalarText(pair);
    for (const char* const key : {"int", "bool"}) {
        if (pair.contains(key)) return ScalarText(pair[key]);
    }
    const auto fraction = pair.find("float");
    if (fraction != pair.end() && fraction->is_number()) return FractionText(fraction->get<double>());
    if (pair.contains("text")) return '"' + Printable(JsonText(pair, "text")) + '"';
    return pair.contains("hex") ? ShownValue(Unhex(ScalarText(pair["hex"]))) : "";
}

std::string NameOf(const JsonObject& pair) {
    return pair.is_object() ? JsonText(pair, "name") : std::string();
}

std::string MethodText(const JsonObject& call) {
    const std::string method = Printable(JsonText(call, "callerName"));
    const std::string package = Printable(JsonText(call, "packageName"));
    if (method.empty()) return call.contains("locId") ? "location " + ScalarText(call["locId"]) : "";
    return package.empty() ? method : package + "." + method;
}

// A call without a result has an argument without pairs in its place.
std::string ResultText(const JsonObject& call) {
    const JsonObject& results = ListOf(call, "ret");
    if (results.empty()) return std::string();
    if (results.size() == 1 && results[0].is_array() && results[0].empty()) return " = no result";
    return " = " + JsonArgumentsText(results);
}

std::string MakerOf(const JsonObject& call) {
    const std::string process = Printable(JsonText(call, "process"));
    std::optional<std::uint64_t> id = NumberOf(call, "process_id");
    if (!id) id = NumberOf(call, "pid");
    return id ? process + "[" + std::to_string(*id) + "]" : process;
}

std::string TimeOf(const JsonObject& call, std::optional<std::uint64_t> start) {
    const std::optional<std::uint64_t> time = NumberOf(call, "time");
    if (!time) return std::string();
    return start ? RelativeText(*time, *start) : std::to_string(*time);
}

std::string SpanOf(const JsonObject& call) {
    const std::optional<std::uint64_t> duration = NumberOf(call, "duration");
    return duration ? SpanText(*duration) : std::string();
}

std::string NumberText(const JsonObject& object, const char* key) {
    return object.contains(key) ? ScalarText(object[key]) : std::string();
}

}  // namespace

bool IsEvent(const JsonObject& line) {
    return !line.contains("error") && !line.contains("damaged");
}

Cells CellsOf(const JsonObject& event, std::optional<std::uint64_t> start) {
    static const JsonObject kNoCall = JsonObject::object();
    const auto found = event.find("call");
    const JsonObject& call = found == event.end() || !found->is_object() ? kNoCall : *found;
    return {TimeOf(call, start),
            Printable(JsonText(event, "event")),
            Printable(JsonText(event, "value")),
            SpanOf(call),
            NumberText(event, "cycle"),
            MakerOf(call),
            Printable(JsonText(call, "thread")),
            JsonCallText(call)};
}

std::string JsonCallText(const JsonObject& call) {
    std::string text = MethodText(call);
    if (call.contains("in")) text += "(" + JsonArgumentsText(ListOf(call, "in")) + ")";
    if (!ListOf(call, "out").empty()) text += " out (" + JsonArgumentsText(ListOf(call, "out")) + ")";
    return text + ResultText(call);
}

std::string FaultText(const JsonObject& line) {
    std::string text;
    for (const auto& [key, value] : line.items()) {
        text += (text.empty() ? "" : ", ") + Printable(key) + " " + ScalarText(value);
    }
    return text;
}

std::string JsonArgumentText(const JsonObject& argument) {
    if (!argument.is_array()) return ScalarText(argument);
    if (argument.size() == 1 && NameOf(argument[0]).empty()) return PairText(argument[0]);
    std::string text;
    for (const JsonObject& pair : argument) {
        const std::string name = Printable(NameOf(pair));
        text += (text.empty() ? "" : " ") + (name.empty() ? "" : name + ":") + PairText(pair);
    }
    return "{" + text + "}";
}

std::string JsonArgumentsText(const JsonObject& arguments) {
    std::vector<std::string> texts;
    for (const JsonObject& argument : arguments) texts.push_back(JsonArgumentText(argument));
    return CommaSeparated(texts);
}

}  // namespace qxlt
