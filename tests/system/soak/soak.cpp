// Months of running in a minute: qx_soak CYCLES runs whole cycles, fetching included, over dumps with calls, log
// records, unknown locations, damage and restarts, and fails when the process grows after the first thousand of them.
#include <dirent.h>
#include <sched.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

#include "DumpWriter.h"
#include "FakeControl.h"
#include "IQxLogTracker.h"
#include "QxCycle.h"
#include "QxData.h"
#include "QxDebugPrint.h"
#include "QxDumpFile.h"
#include "QxXMLLoader.h"

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kMemoryIsOurs = false;  // a sanitizer's own bookkeeping grows
#else
constexpr bool kMemoryIsOurs = true;
#endif

constexpr int kWarmUp = 1000;
constexpr long kAllowedGrowth = 1 << 20;
// Nothing ever closes a log record, so its key stays on the stack of open calls: enough of them fill it in the warm-up.
constexpr int kLogRecords = 2000;

struct Usage {
    long memory = 0;  // bytes
    int descriptors = 0;
    int threads = 0;
    int semaphores = 0;
};

int CountEntries(const char* directory) {
    DIR* const open = opendir(directory);
    int count = 0;
    while (readdir(open) != nullptr) ++count;
    closedir(open);
    return count;
}

int CountLines(const char* path) {
    std::ifstream file(path);
    int count = 0;
    for (std::string line; std::getline(file, line);) ++count;
    return count;
}

Usage Measure() {
    Usage usage;
    long pages = 0;
    std::ifstream statm("/proc/self/statm");
    statm >> pages >> pages;
    usage.memory = pages * sysconf(_SC_PAGESIZE);
    usage.descriptors = CountEntries("/proc/self/fd");
    usage.threads = CountEntries("/proc/self/task");
    usage.semaphores = CountLines("/proc/sysvipc/sem");
    return usage;
}

std::string Locations(int generation) {
    using namespace dump;
    return Persistent({Item(kHeader, Header(400u + static_cast<unsigned>(generation), "soaked")),
                       Item(kLocation, Location(1).Name("SetVolume").Arg("int", kIn, 4).Returns("int", 4)),
                       Item(kLocation, Location(2).Name("Log").Arg("string", kIn, kVariableSize))});
}

std::string Stream(int cycle) {
    using namespace dump;
    std::string stream =
        StreamItem(kBefore, Before(static_cast<std::uint64_t>(cycle) * 1000000, 1, Int(cycle % 100, 4))) +
        StreamItem(kAfter, After(2, Int(cycle, 4)));
    for (int i = 0; i < kLogRecords; ++i) stream += StreamItem(kLog, LogRecord(1, 2, Variable("alive")));
    // A call of a location that nobody described, and an exit that finds no call.
    return stream + StreamItem(kBefore, Before(1, 77)) + StreamItem(kAfter, After(1));
}

std::string Dump(int cycle) {
    using namespace dump;
    const std::string good = Locations(cycle / 500 % 3) + Thread(static_cast<unsigned>(cycle % 5), Stream(cycle));
    switch (cycle % 6) {
        case 3:
            return Cut(good, good.size() / 2);
        case 4:
            return Compressed(good) + Change(Flush(), 0, 9);
        case 5:
            return Change(good, 40, 0xFF);
        default:
            return good;
    }
}

int CountEvent(std::string, std::string, IQxData::HSCall, void* context) {
    return ++*static_cast<int*>(context);
}

bool Same(const char* what, long before, long after, long allowed) {
    std::printf("%-12s %10ld after %d cycles, %10ld at the end\n", what, before, kWarmUp, after);
    if (after - before <= allowed) return true;
    std::printf("%s grew by %ld\n", what, after - before);
    return false;
}

}  // namespace

int main(int argc, char** argv) {
    const int cycles = argc > 1 ? std::atoi(argv[1]) : 100000;
    QxDebugPrint::GetInstance()->SetLevel(Silent);
    // Other programs' semaphores come and go.
    const bool semaphoresAreOurs = unshare(CLONE_NEWIPC) == 0 || unshare(CLONE_NEWUSER | CLONE_NEWIPC) == 0;
    const std::shared_ptr<IQxData> store = IQxData::Instance();
    std::string xml =
        "<Scenario><action name='a'><method name='SetVolume'/><event name='V' tag='IN' value='0' type='INT' "
        "watch='CHANGED'/></action></Scenario>";
    std::pair<int, char*> script(static_cast<int>(xml.size()), xml.data());
    if (!QxXMLLoader::Parse(script, store)) return 2;
    store->AppendProcessName(400, "soaked");

    int events = 0;
    FakeControl control;
    Usage before;
    for (int cycle = 0; cycle < cycles; ++cycle) {
        if (cycle == kWarmUp) before = Measure();
        control.SetNext("soaked", Dump(cycle));
        std::vector<char> path;
        control.getQxBufferDump(path, "soaked", cycle == 0);
        std::vector<char> dump = QxDumpFile::Read(std::string(path.begin(), path.end()));
        QxCycle run(CountEvent, &events, store);
        run.Decode("soaked", dump);
        run.Finish(cycle == 0);
    }
    const Usage after = Measure();
    std::printf("%d cycles, %d events\n", cycles, events);
    bool steady = Same("memory", before.memory, after.memory, kMemoryIsOurs ? kAllowedGrowth : 1L << 40);
    steady &= Same("descriptors", before.descriptors, after.descriptors, 0);
    steady &= Same("threads", before.threads, after.threads, 0);
    if (semaphoresAreOurs) {
        steady &= Same("semaphores", before.semaphores, after.semaphores, 0);
    } else {
        std::puts("semaphores are not compared: this system gives a process none of its own");
    }
    return steady && events > cycles / 4 ? 0 : 1;
}
