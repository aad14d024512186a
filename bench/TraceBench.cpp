// The trace pass, in calls per second: once as the library does it, and once as a plain walk (copy of the whole index,
// copy of each call's location, whole subscription table for each call), which gives the same events in the same order.
#include <benchmark/benchmark.h>

#include <map>

#include "BenchDump.h"
#include "QxParser.h"
#include "QxScriptScenario.h"

namespace {

constexpr int kCalls = 10000;

int CountEvent(std::string, std::string, IQxData::HSCall, void* context) {
    return ++*static_cast<int*>(context);
}

std::string Action(const std::string& method, const std::string& event) {
    return "<action name='" + method + "'><method name='" + method + "'/>" + event + "</action>";
}

// A scenario of 40 actions, one of which watches the recorded calls if `matching`.
std::string Script(bool matching) {
    std::string xml = "<Scenario>";
    for (int i = 0; i < 39; ++i) xml += Action("Method" + std::to_string(i), "<event name='E'/>");
    xml += Action(matching ? "SetVolume" : "Other",
                  "<event name='HIGH' tag='IN' value='0' type='INT' watch='D-CONDITIONAL' condition='&gt;' "
                  "conditionValue='80'/><event name='MUTED' tag='IN' value='1' type='INT' watch='CONDITIONAL' "
                  "condition='==' conditionValue='7'/>");
    return xml + "</Scenario>";
}

struct Setup {
    explicit Setup(bool matching) : store(bench::MakeStore()), parser(CountEvent, &events) {
        std::string bytes = bench::CallDump(bench::kIntLocation, kCalls);
        std::pair<int, char*> dump(static_cast<int>(bytes.size()), bytes.data());
        parser.Parse(dump, store);
        parser.Extract();
        bench::LoadScript(store, Script(matching));
    }
    int events = 0;
    std::shared_ptr<IQxData> store;
    QxParser parser;
};

void TracePass(benchmark::State& state) {
    Setup setup(state.range(0) != 0);
    for (auto _ : state) setup.parser.Trace();
    state.SetItemsProcessed(state.iterations() * kCalls);
    state.counters["events"] = static_cast<double>(setup.events) / static_cast<double>(state.iterations());
}

void PlainWalk(benchmark::State& state) {
    Setup setup(state.range(0) != 0);
    IQxData::_HSScript* root = nullptr;
    setup.store->GetScript(&root);
    std::map<std::pair<std::string, std::string>, IQxData::_HSScriptPtr*> table;
    for (IQxData::_HSScriptPtr* action : (*root)->children) {
        const std::string& name = action->attributes.front().second;
        table.emplace(std::make_pair(name, name), action);
    }
    QxScriptScenario scenario;
    for (auto _ : state) {
        std::map<unsigned long long, IQxData::HSCall> snapshot = *setup.store->GetCallIMap();
        for (auto& call : snapshot) {
            const IQxData::_HSCallLocation location =
                setup.store->GetCallLocationWithPID(call.second.locId, call.second.pid);
            for (auto& entry : table) {
                if (entry.first.first == location.callerName) {
                    scenario.MakeEvent(entry.second, call.second, &setup.parser);
                }
            }
        }
    }
    state.SetItemsProcessed(state.iterations() * kCalls);
    state.counters["events"] = static_cast<double>(setup.events) / static_cast<double>(state.iterations());
}

BENCHMARK(TracePass)->ArgName("matching")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);
BENCHMARK(PlainWalk)->ArgName("matching")->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace
