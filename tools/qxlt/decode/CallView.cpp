#include "CallView.h"

#include <algorithm>

#include "Json.h"
#include "QxScriptScenario.h"
#include "ResultType.h"
#include "Text.h"

namespace qxlt {

namespace {

using Arguments = std::vector<IQxData::HSICallArg>;

JsonObject ArgumentJson(const IQxData::HSICallArg& argument) {
    JsonObject pairs = JsonObject::array();
    for (const auto& [name, value] : argument) {
        JsonObject pair = JsonObject::object();
        AddText(pair, "name", name);
        pair["hex"] = Hex(QxScriptScenario::ConverStringArg(value));
        pairs.push_back(std::move(pair));
    }
    return pairs;
}

JsonObject ArgumentsJson(const Arguments& arguments) {
    JsonObject list = JsonObject::array();
    for (const IQxData::HSICallArg& argument : arguments) list.push_back(ArgumentJson(argument));
    return list;
}

std::string PairText(const std::pair<std::string, std::string>& pair) {
    const std::string value = ShownValue(QxScriptScenario::ConverStringArg(pair.second));
    return pair.first.empty() ? value : Printable(pair.first) + ":" + value;
}

std::string ArgumentsText(const Arguments& arguments) {
    std::string text;
    for (const IQxData::HSICallArg& argument : arguments) text += (text.empty() ? "" : ", ") + ArgumentText(argument);
    return text;
}

std::string MethodText(const IQxData::_HSCallLocation& location, unsigned int locId) {
    if (location.callerName.empty()) return "location " + std::to_string(locId);
    if (location.packageName.empty()) return Printable(location.callerName);
    return Printable(location.packageName) + "." + Printable(location.callerName);
}

}  // namespace

std::string ArgumentText(const IQxData::HSICallArg& argument) {
    if (argument.size() == 1 && argument.front().first.empty()) return PairText(argument.front());
    std::string text;
    for (const auto& pair : argument) text += (text.empty() ? "" : " ") + PairText(pair);
    return "{" + text + "}";
}

void AddCall(JsonObject& object, const CallView& view) {
    if (view.key) object["key"] = *view.key;
    AddText(object, "process", view.process);
    object["pid"] = view.call.pid;
    object["tid"] = view.call.tid;
    object["locId"] = view.call.locId;
    AddText(object, "callerName", view.location.callerName);
    AddText(object, "packageName", view.location.packageName);
    AddText(object, "srcCodeFileRaw", view.location.srcCodeFileRaw);
    object["time"] = view.call.time;
    object["exitTime"] = view.call.exitTime;
    object["in"] = ArgumentsJson(view.call.args.in);
    object["out"] = ArgumentsJson(view.call.args.out);
    object["ret"] = ArgumentsJson(view.call.args.ret);
    if (view.maker) object["process_id"] = *view.maker;
}

std::string ProcessText(const std::string& name, std::uint32_t pid) {
    return Printable(name) + "[" + std::to_string(pid) + "]";
}

std::string CallText(const CallView& view) {
    const IQxData::HSCall::Args& args = view.call.args;
    std::string text = ProcessText(view.process, view.maker.value_or(view.call.pid)) + " ";
    text += MethodText(view.location, view.call.locId) + "(" + ArgumentsText(args.in) + ")";
    if (!args.out.empty()) text += " out (" + ArgumentsText(args.out) + ")";
    if (LacksResult(view.location, view.call))
        text += " = no result";
    else if (!args.ret.empty())
        text += " = " + ArgumentsText(args.ret);
    return text + " at " + std::to_string(view.call.time);
}

}  // namespace qxlt
