// Script texts through the loader, and the resulting tree through trace passes over calls of the methods that the seeds
// subscribe to.
#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "QxScriptScenario.h"
#include "QxXMLLoader.h"

namespace {

// Two calls of the method whose values differ.
void AddCalls(IQxData& store, const char* method) {
    IQxData::_HSCallLocation location;
    location.locId = static_cast<unsigned>(store.GetCallIMap()->size());
    location.callerName = method;
    store.AppendCallLocation(location);
    IQxData::HSCall call;
    call.pid = kFuzzPid;
    call.time = location.locId;
    call.locId = location.locId;
    for (const char* const value : {"\x56\x01\x01\x01", "\x06\x01\x01\x01"}) {
        call.args.in = {{{"", value}}, {{"", "bcd"}, {"", "x"}}};
        call.args.out = call.args.in;
        call.args.ret = call.args.in;
        store.AppendBeforeCall(call);
        ++call.time;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    std::vector<char> text = FuzzInput(data, size).Rest();
    std::pair<int, char*> script(static_cast<int>(text.size()), text.data());
    QxXMLLoader::Parse(script, store);

    QxParser parser(IgnoreEvent, nullptr);
    std::pair<int, char*> nothing(0, nullptr);
    parser.Parse(nothing, store);
    for (const char* const method : {"", "SetVolume", "SetInput", "GetState"}) AddCalls(*store, method);
    parser.Trace();
    QxEventMemory::Clear();
    return 0;
}
