#include "CallView.h"

#include "JsonLine.h"
#include "QxScriptScenario.h"
#include "Text.h"

namespace qxlt {

namespace {

using Arguments = std::vector<IQxData::HSICallArg>;

// Under the name of its kind.
struct ValueWriter {
    JsonLine& line;

    void operator()(std::monostate) const {}
    void operator()(bool value) const { line.Add("bool", value); }
    void operator()(std::int64_t value) const { line.Add("int", value); }
    void operator()(std::uint64_t value) const { line.Add("int", value); }
    void operator()(float value) const { line.AddFraction("float", value); }
    void operator()(double value) const { line.AddFraction("float", value); }
    void operator()(std::string_view value) const { line.AddText("text", value); }
};

// What is traced, the bytes as the process had them, and what they are.
void AddPair(JsonLine& line, const std::pair<std::string, std::string>& pair, ValueType type) {
    const std::string bytes = QxScriptScenario::ConverStringArg(pair.second);
    line.BeginObject();
    line.AddText("name", pair.first);
    line.AddHex("hex", bytes);
    std::visit(ValueWriter{line}, ReadValue(type, bytes));
    line.EndObject();
}

void AddArguments(JsonLine& line, const char* key, const Arguments& arguments, const ArgumentTypes* types) {
    line.BeginList(key);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const IQxData::HSICallArg& argument = arguments[i];
        line.BeginList();
        for (std::size_t pair = 0; pair < argument.size(); ++pair) {
            AddPair(line, argument[pair], types == nullptr ? ValueType() : (*types)[i].Of(argument, pair));
        }
        line.EndList();
    }
    line.EndList();
}

void AddTimes(JsonLine& line, const CallView& view) {
    const std::optional<std::uint64_t> wall = WallTime(view.call.time, view.clock);
    if (wall) line.AddText("wall", WallText(*wall));
    const std::optional<std::uint64_t> duration = DurationOf(view.call);
    if (duration) line.Add("duration", *duration);
}

}  // namespace

std::optional<std::uint64_t> DurationOf(const IQxData::HSCall& call) {
    if (call.exitTime == 0 || call.exitTime < call.time) return std::nullopt;
    return call.exitTime - call.time;
}

void AddCall(JsonLine& line, const CallView& view) {
    if (view.key) line.Add("key", *view.key);
    line.AddText("process", view.process);
    line.Add("pid", view.call.pid);
    line.Add("tid", view.call.tid);
    line.Add("locId", view.call.locId);
    line.AddText("callerName", view.location.callerName);
    line.AddText("packageName", view.location.packageName);
    line.AddText("srcCodeFileRaw", view.location.srcCodeFileRaw);
    line.Add("time", view.call.time);
    line.Add("exitTime", view.call.exitTime);
    AddArguments(line, "in", view.call.args.in, view.types.in);
    AddArguments(line, "out", view.call.args.out, view.types.out);
    AddArguments(line, "ret", view.call.args.ret, view.types.ret);
    if (view.maker) line.Add("process_id", *view.maker);
    if (!view.thread.empty()) line.AddText("thread", view.thread);
    AddTimes(line, view);
}

std::string ProcessText(const std::string& name, std::uint32_t pid) {
    return Printable(name) + "[" + std::to_string(pid) + "]";
}

std::string MakerText(const CallView& view) {
    return ProcessText(view.process, view.maker.value_or(view.call.pid));
}

}  // namespace qxlt
