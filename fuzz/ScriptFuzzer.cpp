// Script texts through the loader, and the resulting tree through a trace pass over a few calls.
#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "QxScriptScenario.h"
#include "QxXMLLoader.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    std::vector<char> text = FuzzInput(data, size).Rest();
    std::pair<int, char*> script(static_cast<int>(text.size()), text.data());
    QxXMLLoader::Parse(script, store);

    QxParser parser(IgnoreEvent, nullptr);
    std::pair<int, char*> nothing(0, nullptr);
    parser.Parse(nothing, store);
    IQxData::HSCall call;
    call.args.in = {{{"", "\x56\x01\x01\x01"}}, {{"", "bcd"}}};
    call.args.ret = call.args.in;
    store->AppendBeforeCall(call);
    parser.Trace();
    m_EventValues.clear();
    m_DconditionValues.clear();
    return 0;
}
