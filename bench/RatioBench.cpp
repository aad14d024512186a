// One side of a comparison at a time, in a fresh process: qx_ratio SIDE [COUNT]. Prints one number: nanoseconds for
// each call (element, byte), or bytes. scripts/bench runs both sides of each ratio in turn and prints a table.
#include <bzlib.h>
#include <expat.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include "BenchDump.h"
#include "QxCycle.h"
#include "QxParser.h"
#include "StandardCall.h"

namespace {

using namespace bench;
using namespace dump;
using Clock = std::chrono::steady_clock;

constexpr int kCallsOfCycle = 1000;
constexpr int kSamples = 9;

double Nanoseconds(Clock::duration time) {
    return std::chrono::duration<double, std::nano>(time).count();
}

void Check(bool isTrue, const char* what) {
    if (isTrue) return;
    std::fprintf(stderr, "qx_ratio: %s\n", what);
    std::exit(1);
}

void Decode(QxParser& parser, const std::shared_ptr<IQxData>& store, std::string& bytes) {
    std::pair<int, char*> dump(static_cast<int>(bytes.size()), bytes.data());
    Check(parser.Parse(dump, store) == 1 && parser.Extract() == 1, "the dump does not decode");
}

double DecodeFresh(int calls, int threads, int locations) {
    std::string bytes = Calls(calls, threads, locations);
    const std::shared_ptr<IQxData> store = bench::MakeStore();
    QxParser parser(nullptr, nullptr);
    const Clock::time_point start = Clock::now();
    Decode(parser, store, bytes);
    const double time = Nanoseconds(Clock::now() - start);
    Check(store->GetCallIMap()->size() == static_cast<std::size_t>(calls), "calls are missing");
    return time / calls;
}

IQxData::HSCall ReadyCall(int number) {
    const auto argument = [](std::string value) { return IQxData::HSICallArg{{std::string(), std::move(value)}}; };
    IQxData::HSCall call;
    call.pid = 7;
    call.tid = 1;
    call.locId = kFirstLocation;
    call.time = static_cast<unsigned long long>(number) * 1100;
    call.exitTime = call.time + 1000;
    const std::string integer(4, static_cast<char>(number));
    call.args.in = {argument(integer), argument(integer), argument(kText)};
    call.args.ret = {argument(integer)};
    return call;
}

// The map of the calls, built in the order in which the streams of so many threads have them: one thread after the
// other.
double BuildMap(int calls, int threads = 1) {
    std::vector<IQxData::HSCall> ready;
    ready.reserve(static_cast<std::size_t>(calls));
    for (int thread = 0; thread < threads; ++thread) {
        for (int i = thread; i < calls; i += threads) ready.push_back(ReadyCall(i));
    }
    auto& map = *new std::map<unsigned long long, IQxData::HSCall>;
    auto last = map.end();
    const Clock::time_point start = Clock::now();
    for (const IQxData::HSCall& call : ready) {
        const auto hint = last == map.end() ? last : std::next(last);
        last = map.try_emplace(hint, call.time * 1000 + map.size() % 1000, call);
    }
    return Nanoseconds(Clock::now() - start) / calls;
}

std::string Script(int subscriptions, const std::string& method) {
    std::string xml = "<Scenario>";
    for (int i = 0; i < subscriptions; ++i) {
        const std::string name = i == 0 ? method : "Method" + std::to_string(i);
        xml += "<action name='" + name + "'><method name='" + name +
               "'/><event name='HIGH' tag='IN' value='0' type='INT' watch='ALWAYS'/>"
               "<event name='TITLE' tag='IN' value='2' type='STRING' watch='ALWAYS'/></action>";
    }
    return xml + "</Scenario>";
}

double Median(std::vector<double> samples) {
    std::sort(samples.begin(), samples.end());
    return samples[samples.size() / 2];
}

// Cycles of a thousand calls with a script that matches none, as the tracker runs them.
double LiveCycles(int calls) {
    const std::shared_ptr<IQxData> store = bench::MakeStore();
    bench::LoadScript(store, Script(10, "None"));
    std::vector<std::vector<char>> dumps;
    for (int i = 0; i < calls; i += kCallsOfCycle) {
        const std::string bytes = Calls(kCallsOfCycle, 1, 1, i);
        dumps.emplace_back(bytes.begin(), bytes.end());
    }
    const Clock::time_point start = Clock::now();
    for (std::vector<char>& dump : dumps) {
        QxCycle cycle(nullptr, nullptr, store);
        Check(cycle.Decode("bench", dump).Whole(), "the dump does not decode");
        cycle.Finish(false);
    }
    return Nanoseconds(Clock::now() - start) / calls;
}

int Ignore(std::string, std::string, IQxData::HSCall, void*) {
    return 0;
}

double TracePass(int calls, const std::string& script) {
    std::string bytes = Calls(calls);
    std::vector<double> samples;
    for (int i = 0; i < kSamples; ++i) {
        const std::shared_ptr<IQxData> store = bench::MakeStore();
        QxParser parser(Ignore, nullptr);
        Decode(parser, store, bytes);
        bench::LoadScript(store, script);
        const Clock::time_point start = Clock::now();
        Check(parser.Trace(), "the pass does not run");
        samples.push_back(Nanoseconds(Clock::now() - start) / calls);
    }
    return Median(samples);
}

// The copies that the interface demands for a call that fires two events: for each, one into the event table and one
// for the callback.
double EventCopies(int calls) {
    std::vector<IQxData::HSCall> ready;
    for (int i = 0; i < calls; ++i) ready.push_back(ReadyCall(i));
    std::vector<double> samples;
    for (int sample = 0; sample < kSamples; ++sample) {
        std::vector<std::pair<std::string, IQxData::HSCall>> high;
        std::vector<std::pair<std::string, IQxData::HSCall>> title;
        const Clock::time_point start = Clock::now();
        for (const IQxData::HSCall& call : ready) {
            high.emplace_back("12345", call);
            Ignore("HIGH", "12345", call, nullptr);
            title.emplace_back(kText, call);
            Ignore("TITLE", kText, call, nullptr);
        }
        samples.push_back(Nanoseconds(Clock::now() - start) / calls);
    }
    return Median(samples);
}

// --- Unpacking

constexpr std::size_t kPartSize = 60000;

std::vector<std::string> Parts(int calls) {
    const std::string bytes = Calls(calls);
    std::vector<std::string> parts;
    for (std::size_t at = 0; at < bytes.size(); at += kPartSize) parts.push_back(bytes.substr(at, kPartSize));
    return parts;
}

// Each part unpacks to one thread's stream, which is joined and not decoded.
double Unpack(int calls) {
    std::string bytes;
    double unpacked = 0;
    for (const std::string& part : Parts(calls)) {
        bytes += Compressed(Thread(1, part)) + Flush();
        unpacked += static_cast<double>(part.size());
    }
    const std::shared_ptr<IQxData> store = bench::MakeStore();
    QxParser parser(nullptr, nullptr);
    std::pair<int, char*> dump(static_cast<int>(bytes.size()), bytes.data());
    const Clock::time_point start = Clock::now();
    Check(parser.Parse(dump, store) == 1, "the dump does not unpack");
    return Nanoseconds(Clock::now() - start) / unpacked;
}

double BareBzip2(int calls) {
    std::vector<std::string> streams;
    for (const std::string& part : Parts(calls)) streams.push_back(Bzip2(Thread(1, part)));
    std::vector<char> out(kPartSize * 2);
    double unpacked = 0;
    const Clock::time_point start = Clock::now();
    for (std::string& stream : streams) {
        auto size = static_cast<unsigned>(out.size());
        Check(BZ2_bzBuffToBuffDecompress(out.data(), &size, stream.data(), static_cast<unsigned>(stream.size()), 0,
                                         0) == BZ_OK,
              "a stream is damaged");
        unpacked += size;
    }
    return Nanoseconds(Clock::now() - start) / unpacked;
}

// --- Scripts

double LoadScripts(int actions) {
    const std::string xml = Script(actions, "Method0");
    std::vector<double> samples;
    for (int i = 0; i < kSamples; ++i) {
        const std::shared_ptr<IQxData> store = bench::MakeStore();
        const Clock::time_point start = Clock::now();
        bench::LoadScript(store, xml);
        samples.push_back(Nanoseconds(Clock::now() - start) / actions);
    }
    return Median(samples);
}

double BareExpat(int actions) {
    const std::string xml = Script(actions, "Method0");
    std::vector<double> samples;
    for (int i = 0; i < kSamples; ++i) {
        const Clock::time_point start = Clock::now();
        XML_Parser parser = XML_ParserCreate(nullptr);
        XML_SetElementHandler(
            parser, [](void*, const XML_Char*, const XML_Char**) {}, [](void*, const XML_Char*) {});
        Check(XML_Parse(parser, xml.data(), static_cast<int>(xml.size()), 1) == XML_STATUS_OK, "the script is damaged");
        XML_ParserFree(parser);
        samples.push_back(Nanoseconds(Clock::now() - start) / actions);
    }
    return Median(samples);
}

// --- Memory

double PeakKilobytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) return std::stod(line.substr(6));
    }
    return 0;
}

void ForgetPeak() {
    std::ofstream("/proc/self/clear_refs") << "5";
}

// What decoding takes at its peak, above what was there before.
double DecodePeak(int calls) {
    std::string bytes = Calls(calls);
    const std::shared_ptr<IQxData> store = bench::MakeStore();
    QxParser parser(nullptr, nullptr);
    ForgetPeak();
    const double before = PeakKilobytes();
    Decode(parser, store, bytes);
    return (PeakKilobytes() - before) * 1024 / calls;
}

// What the same calls take in a map, and their stream.
double MapAndStream(int calls) {
    const std::string bytes = Calls(calls);
    ForgetPeak();
    const double before = PeakKilobytes();
    auto& map = *new std::map<unsigned long long, IQxData::HSCall>;
    for (int i = 0; i < calls; ++i) map.try_emplace(map.end(), static_cast<unsigned long long>(i), ReadyCall(i));
    auto& stream = *new std::vector<char>(bytes.begin(), bytes.end());
    return ((PeakKilobytes() - before) * 1024 + 0 * static_cast<double>(stream.size())) / calls;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string side = argc > 1 ? argv[1] : "";
    const int count = argc > 2 ? std::atoi(argv[2]) : 100000;
    const std::map<std::string, std::function<double()>> sides = {
        {"decode", [&] { return DecodeFresh(count, 1, 1); }},
        {"build", [&] { return BuildMap(count); }},
        {"cycles", [&] { return LiveCycles(count); }},
        {"pass-10", [&] { return TracePass(count, Script(10, "None")); }},
        {"pass-10000", [&] { return TracePass(count, Script(10000, "None")); }},
        {"fire", [&] { return TracePass(count, Script(10, "SetTitle9")); }},
        {"copies", [&] { return EventCopies(count); }},
        {"unpack", [&] { return Unpack(count); }},
        {"bzip2", [&] { return BareBzip2(count); }},
        {"load", [&] { return LoadScripts(count); }},
        {"expat", [&] { return BareExpat(count); }},
        {"peak", [&] { return DecodePeak(count); }},
        {"map-peak", [&] { return MapAndStream(count); }},
        {"size", [&] { return static_cast<double>(Calls(count).size()) / count; }},
        {"threads-10", [&] { return DecodeFresh(count, 10, 1); }},
        {"threads-100", [&] { return DecodeFresh(count, 100, 1); }},
        {"build-100", [&] { return BuildMap(count, 100); }},
        {"locations-100000", [&] { return DecodeFresh(count, 1, 100000); }},
    };
    const auto found = sides.find(side);
    if (found == sides.end()) {
        std::fprintf(stderr, "usage: qx_ratio SIDE [COUNT]; SIDE is one of");
        for (const auto& known : sides) std::fprintf(stderr, " %s", known.first.c_str());
        std::fprintf(stderr, "\n");
        return 2;
    }
    std::printf("%.1f\n", found->second());
    return 0;
}
