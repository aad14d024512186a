#include "CallValues.h"

#include "QxScriptScenario.h"
#include "ResultType.h"
#include "Text.h"

namespace qxlt {

namespace {

using Moment = CallValue::Moment;

void AddValues(std::vector<CallValue>& values, Moment moment, const std::vector<IQxData::HSICallArg>& list,
               const ArgumentTypes* types) {
    for (std::size_t i = 0; i < list.size(); ++i) {
        values.push_back({moment, i, &list[i], types == nullptr ? nullptr : &(*types)[i]});
    }
}

struct Shown {
    const std::string& bytes;

    std::string operator()(std::monostate) const { return ShownValue(bytes); }
    std::string operator()(bool value) const { return value ? "true" : "false"; }
    std::string operator()(float value) const { return FractionText(static_cast<double>(value)); }
    std::string operator()(double value) const { return FractionText(value); }
    std::string operator()(std::string_view value) const { return '"' + Printable(std::string(value)) + '"'; }
    template <typename Number>
    std::string operator()(Number value) const {
        return std::to_string(value);
    }
};

std::string PairText(const CallValue& value, std::size_t pair) {
    const auto& [name, stored] = (*value.pairs)[pair];
    const std::string bytes = QxScriptScenario::ConverStringArg(stored);
    const std::string text = std::visit(Shown{bytes}, ReadValue(value.TypeOf(pair), bytes));
    return name.empty() ? text : Printable(name) + ":" + text;
}

std::string Joined(const std::vector<CallValue>& values, Moment moment) {
    std::string text;
    for (const CallValue& value : values) {
        if (value.moment == moment) text += (value.index == 0 ? "" : ", ") + ValueText(value);
    }
    return text;
}

}  // namespace

std::string CallValue::Name() const {
    if (moment == Moment::Ret) return "ret";
    return (moment == Moment::In ? "in." : "out.") + std::to_string(index);
}

std::vector<CallValue> ValuesOf(const CallView& view) {
    const IQxData::HSCall::Args& args = view.call.args;
    std::vector<CallValue> values;
    AddValues(values, Moment::In, args.in, view.types.in);
    AddValues(values, Moment::Out, args.out, view.types.out);
    if (!LacksResult(view.location, view.call)) AddValues(values, Moment::Ret, args.ret, view.types.ret);
    return values;
}

std::string BytesOf(const std::pair<std::string, std::string>& pair) {
    return QxScriptScenario::ConverStringArg(pair.second);
}

std::string ValueText(const CallValue& value) {
    if (value.IsPlain()) return PairText(value, 0);
    std::string text;
    for (std::size_t i = 0; i < value.pairs->size(); ++i) text += (i == 0 ? "" : " ") + PairText(value, i);
    return "{" + text + "}";
}

std::string ArgumentText(const IQxData::HSICallArg& argument) {
    return ValueText({Moment::In, 0, &argument, nullptr});
}

std::string CallText(const CallView& view) {
    return EntryText(view) + ExitText(view);
}

std::string MethodName(const CallView& view) {
    const IQxData::_HSCallLocation& location = view.location;
    if (location.callerName.empty()) return "location " + std::to_string(view.call.locId);
    if (location.packageName.empty()) return Printable(location.callerName);
    return Printable(location.packageName) + "." + Printable(location.callerName);
}

std::string EntryText(const CallView& view) {
    return MethodName(view) + "(" + Joined(ValuesOf(view), Moment::In) + ")";
}

std::string ResultText(const CallView& view) {
    return LacksResult(view.location, view.call) ? "no result" : Joined(ValuesOf(view), Moment::Ret);
}

std::string ExitText(const CallView& view) {
    const std::string out = view.call.args.out.empty() ? "" : " out (" + Joined(ValuesOf(view), Moment::Out) + ")";
    return out + (view.call.args.ret.empty() ? "" : " = " + ResultText(view));
}

}  // namespace qxlt
