// Fixed pieces of work, for counting instructions: qx_workload NAME. scripts/instructions runs each under a counter
// that is on only while Measured runs, so that what is made ready before does not count.
#include <array>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "BenchDump.h"
#include "CallViews.h"
#include "DecodeLines.h"
#include "QxCycle.h"
#include "QxParser.h"
#include "StandardCall.h"
#include "qx/recorder.h"

// By this name the counter knows what to count.
extern "C" __attribute__((noinline, visibility("default"))) void QxMeasured(const std::function<void()>& work) {
    work();
}

namespace {

constexpr int kCalls = 10000;
constexpr int kCycles = 20;
constexpr int kCallsOfCycle = 1000;

void Check(bool isTrue, const char* what) {
    if (isTrue) return;
    std::fprintf(stderr, "qx_workload: %s\n", what);
    std::exit(1);
}

std::vector<char> DumpOf(int calls, int first = 0) {
    const std::string bytes = bench::Calls(calls, 1, 10, first);
    return {bytes.begin(), bytes.end()};
}

void Decode(QxParser& parser, const std::shared_ptr<IQxData>& store, std::vector<char>& bytes) {
    std::pair<int, char*> dump(static_cast<int>(bytes.size()), bytes.data());
    Check(parser.Parse(dump, store) == 1 && parser.Extract() == 1, "the dump does not decode");
}

// Ten actions with two events each, of methods that no call has.
std::string Script() {
    std::string xml = "<Scenario>";
    for (int i = 0; i < 10; ++i) {
        const std::string name = "Method" + std::to_string(i);
        xml += "<action name='" + name + "'><method name='" + name +
               "'/><event name='HIGH' tag='IN' value='0' type='INT' watch='ALWAYS'/>"
               "<event name='TITLE' tag='IN' value='2' type='STRING' watch='ALWAYS'/></action>";
    }
    return xml + "</Scenario>";
}

void DecodeFresh() {
    std::vector<char> dump = DumpOf(kCalls);
    const std::shared_ptr<IQxData> store = bench::MakeStore();
    QxParser parser(nullptr, nullptr);
    QxMeasured([&] { Decode(parser, store, dump); });
    Check(store->GetCallIMap()->size() == kCalls, "calls are missing");
}

// The first cycles fill what later ones use again.
void LiveCycles() {
    const std::shared_ptr<IQxData> store = bench::MakeStore();
    bench::LoadScript(store, Script());
    const auto run = [&](std::vector<char>& dump) {
        QxCycle cycle(nullptr, nullptr, store);
        Check(cycle.Decode("bench", dump).Whole(), "the dump does not decode");
        cycle.Finish(false);
    };
    std::vector<std::vector<char>> dumps;
    for (int i = 0; i < kCycles + 2; ++i) dumps.push_back(DumpOf(kCallsOfCycle, i * kCallsOfCycle));
    run(dumps[0]);
    run(dumps[1]);
    QxMeasured([&] {
        for (std::size_t i = 2; i < dumps.size(); ++i) run(dumps[i]);
    });
}

void TracePass() {
    std::vector<char> dump = DumpOf(kCalls);
    const std::shared_ptr<IQxData> store = bench::MakeStore();
    bench::LoadScript(store, Script());
    QxParser parser(nullptr, nullptr);
    Decode(parser, store, dump);
    QxMeasured([&] { Check(parser.Trace(), "the pass does not run"); });
}

int SetTitle(int id, int place, const std::string& title) {
    QX_CALL_RETURNS(call, int, "bench", "SetTitle", qx::In(id), qx::In(place), qx::In(title));
    return call.Return(id);
}

// The first call makes the recording, its thread's ring and the site known.
void RecordCalls() {
    const std::string title = bench::kText;
    SetTitle(0, 0, title);
    QxMeasured([&] {
        for (int i = 0; i < kCalls; ++i) SetTitle(i, -i, title);
    });
    const qx::recorder::Counters counters = qx::recorder::GetCounters();
    Check(counters.recorded == kCalls + 1 && counters.refused == 0, "calls were not recorded");
}

void JsonLines() {
    std::vector<char> dump = DumpOf(kCalls);
    const auto store = std::make_shared<qxlt::ProcessStore>();
    QxParser parser(nullptr, nullptr);
    Decode(parser, store, dump);
    const qxlt::ProcessNames names;
    qxlt::CallViews views(*store, names);
    views.SetStart(0, 0);
    std::size_t length = 0;
    QxMeasured([&] {
        for (const auto& [key, call] : *store->GetCallIMap()) {
            length += qxlt::CallLine(qxlt::Format::Json, views.Of(key, call)).size();
        }
    });
    Check(length > kCalls * 100, "lines are missing");
}

}  // namespace

int main(int argc, char** argv) {
    const std::map<std::string, void (*)()> workloads = {{"decode", DecodeFresh},
                                                         {"cycles", LiveCycles},
                                                         {"pass", TracePass},
                                                         {"record", RecordCalls},
                                                         {"json", JsonLines}};
    const auto found = workloads.find(argc == 2 ? argv[1] : "");
    if (found == workloads.end()) {
        std::fprintf(stderr, "usage: qx_workload NAME; NAME is one of");
        for (const auto& known : workloads) std::fprintf(stderr, " %s", known.first.c_str());
        std::fprintf(stderr, "\n");
        return 2;
    }
    found->second();
    return 0;
}
