// Traces that `qxlt export --format ctf` wrote come back as they were: their events hold calls, with values that tell
// their own types.
#include <utility>

#include "CtfEvents.h"
#include "CtfFields.h"

namespace qxlt {

namespace {

// Bytes that are no text are told one by one.
std::string BytesOf(const bt_field* bytes) {
    std::string text;
    for (const bt_field* const byte : ElementsOf(FieldOf(bytes, "raw"))) {
        text += static_cast<char>(NumberOf(byte).value_or(0));
    }
    return text;
}

// The value of a pair: the one alternative that is there.
ImportedValue ValueOfPair(const bt_field* pair) {
    const bt_field* const value = ContentOf(FieldOf(pair, "value"));
    if (value == nullptr) return TextValue("");
    return FieldOf(value, "raw") != nullptr ? TextValue(BytesOf(value)) : ValueOf("value", value);
}

// One pair without a name is a plain value; none, an empty list, which keeps its place.
ImportedValue ValueOfArgument(const std::vector<const bt_field*>& pairs) {
    if (pairs.empty()) return ListValue(TextValue("").type, {});
    if (pairs.size() == 1 && TextOf(FieldOf(pairs.front(), "name")) == "") return ValueOfPair(pairs.front());
    NamedValues members;
    for (const bt_field* const pair : pairs) {
        ImportedValue value = ValueOfPair(pair);
        if (IsPlain(value.type)) {
            members.emplace_back(TextOf(FieldOf(pair, "name")).value_or(""), std::move(value));
        }
    }
    return StructValue("struct", members);
}

std::vector<ImportedValue> ValuesIn(const bt_field* payload, const std::string& name) {
    std::vector<ImportedValue> values;
    for (const bt_field* const argument : ElementsOf(FieldOf(payload, name))) {
        const std::vector<const bt_field*> pairs = ElementsOf(FieldOf(argument, "pairs"));
        if (values.size() < kMostValues) values.push_back(ValueOfArgument(pairs));
    }
    return values;
}

// A call that ended without a result has one that holds nothing.
std::optional<ImportedValue> ResultIn(const bt_field* payload) {
    const std::vector<const bt_field*> results = ElementsOf(FieldOf(payload, "ret_values"));
    if (results.empty()) return std::nullopt;
    const std::vector<const bt_field*> pairs = ElementsOf(FieldOf(results.front(), "pairs"));
    if (pairs.empty()) return std::nullopt;
    return ValueOfArgument(pairs);
}

// "PACKAGE.METHOD".
ImportedCall CallOf(const bt_field* payload, std::uint64_t time) {
    const std::string name = TextOf(FieldOf(payload, "method")).value_or("");
    const std::size_t point = name.rfind('.');
    ImportedCall call;
    call.method = name.substr(point + 1);
    if (point != std::string::npos) call.package = name.substr(0, point);
    call.time = time;
    call.in = ValuesIn(payload, "in_values");
    return call;
}

}  // namespace

void CtfEvents::TakeOwn(const Event& event) {
    const bt_field* const payload = bt_event_borrow_payload_field_const(event.event);
    if (event.name == "call_entry") {
        m_open.Enter(event.thread, CallOf(payload, event.time));
    } else if (event.name == "call_without_exit") {
        const std::optional<ImportedCapture::Packed> packed = m_capture.Pack(event.thread, CallOf(payload, event.time));
        if (packed) m_capture.Add(*packed);
    } else if (event.name == "call_exit") {
        ImportedCall::Exit exit;
        exit.time = event.time;
        exit.out = ValuesIn(payload, "out_values");
        exit.result = ResultIn(payload);
        if (!m_open.Leave(event.thread, CallOf(payload, event.time).method, std::move(exit)))
            m_capture.DropExit(event.thread);
    }
}

}  // namespace qxlt
