// Events with attributes of the vocabulary in random combination against calls of random arguments.
#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "QxScriptScenario.h"

namespace {

template <std::size_t Count>
const char* Pick(FuzzInput& input, const char* const (&words)[Count]) {
    return words[input.Byte() % Count];
}

std::string AttributeName(FuzzInput& input) {
    static const char* const kNames[] = {"name",    "tag",   "value",     "type",           "filter",       "datakey",
                                         "keyword", "watch", "condition", "conditionValue", "conditionType"};
    return Pick(input, kNames);
}

std::string AttributeValue(FuzzInput& input) {
    static const char* const kValues[] = {
        "IN",  "OUT", "RET", "NONE",      "INT",   "STRING", "ALWAYS", "CHANGED", "CONDITIONAL", "D-CONDITIONAL",
        "==",  "!=",  ">",   "<",         "range", "AND",    "OR",     "0",       "1",           "-1",
        "1,5", "1&2", "a&b", "4294967296"};
    const unsigned kind = input.Byte();
    if (kind < 64) return input.Text(kind % 16);
    return Pick(input, kValues);
}

std::vector<IQxData::HSICallArg> Arguments(FuzzInput& input) {
    std::vector<IQxData::HSICallArg> arguments(input.Byte() % 4);
    for (IQxData::HSICallArg& argument : arguments) {
        for (unsigned pairs = input.Byte() % 3; pairs > 0; --pairs)
            argument.emplace_back("n", input.Text(input.Byte() % 32));
    }
    return arguments;
}

void AddEvent(FuzzInput& input, IQxData::_HSScriptPtr& action) {
    auto event = std::make_unique<IQxData::_HSScriptPtr>();
    event->name = "event";
    for (unsigned count = input.Byte() % 12; count > 0; --count) {
        std::string name = AttributeName(input);
        event->attributes.emplace_back(std::move(name), AttributeValue(input));
    }
    action.children.push_back(event.release());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    QxParser parser(IgnoreEvent, nullptr);
    std::pair<int, char*> nothing(0, nullptr);
    parser.Parse(nothing, store);
    IQxData::_HSScriptPtr action;
    for (unsigned events = 1 + input.Byte() % 4; events > 0; --events) AddEvent(input, action);
    QxScriptScenario scenario;
    while (!input.Empty()) {
        IQxData::HSCall call;
        call.args = {Arguments(input), Arguments(input), Arguments(input)};
        scenario.MakeEvent(&action, call, &parser);
    }
    QxEventMemory::Clear();
    return 0;
}
