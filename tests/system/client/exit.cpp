// A client that ends without stopping its tracker. The worker goes on with its cycles while and after exit() destroys
// what has static storage: nothing that it uses may be gone then. Ends with 0 when events still arrive, and nothing of
// the library's was to be destroyed.
#include <stdlib.h>
#include <unistd.h>

#include <atomic>
#include <boost/make_shared.hpp>
#include <chrono>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <string>
#include <thread>

#include "DumpWriter.h"
#include "QxLogTracker.h"
#include "dlog.h"
#include "qx/api.h"

using namespace dump;

namespace {

constexpr int kCycles = 20;

std::atomic<int> events{0};
QxLogTracker* tracker = nullptr;
char dumpPath[] = "/tmp/qx-exit-XXXXXX";

// Values of a layout with nameless and typeless members, of a call site that nobody described, and plain ones.
Bytes Dump() {
    const Bytes call = StreamItem(kBefore, Before(1, 3, Int(5, 4))) + StreamItem(kAfter, After(2));
    const Bytes composite = StreamItem(kBefore, Before(1, 4, Bytes(8, 'x'))) + StreamItem(kAfter, After(2));
    const Bytes unknown = StreamItem(kBefore, Before(1, 9, "")) + StreamItem(kAfter, After(2));
    return Persistent({Item(kDescriptor, Descriptor("Point").Member("", 4, "").Member("", 4, "")),
                       Item(kLocation, Location(3).Name("Plain").Arg("int", kIn, 4)),
                       Item(kLocation, Location(4).Name("Composite").Arg("Point", kIn, kCompositeSize))}) +
           Thread(5, call + composite + unknown);
}

class Control final : public qx::IControl {
public:
    bool getQxBufferDump(std::vector<char>& path, const std::string&, bool) override {
        path.assign(dumpPath, dumpPath + sizeof dumpPath - 1);
        return true;
    }
};

int OnEvent(std::string, std::string, IQxData::HSCall, void*) {
    return ++events;
}

bool WaitForMoreThan(int count) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (events <= count && std::chrono::steady_clock::now() < limit) std::this_thread::yield();
    return events > count;
}

bool RunCycles() {
    QxEvent now;
    now.id = 0x1001;
    for (int cycle = 0; cycle < kCycles; ++cycle) {
        const int before = events;
        if (tracker->SendEvent(now) == 0 || !WaitForMoreThan(before)) return false;
    }
    return true;
}

// Destructors of static storage that were registered: this program has one.
std::atomic<int> destructors{0};

// Made before all other static storage of this program, and so destroyed after it.
struct Last {
    ~Last() {
        const bool ran = RunCycles();
        tracker->Stop();
        unlink(dumpPath);
        if (!ran) std::fprintf(stderr, "no events after the end\n");
        if (destructors != 1) std::fprintf(stderr, "%d destructors of static storage, not 1\n", destructors.load());
        _exit(ran && destructors == 1 ? 0 : 1);
    }
};
__attribute__((init_priority(101))) Last last;

std::string OwnName() {
    std::string name;
    std::getline(std::ifstream("/proc/self/comm"), name);
    return name;
}

}  // namespace

boost::shared_ptr<qx::IControl> qx::api::GetControl() {
    static auto& control = *new boost::shared_ptr<qx::IControl>(new Control);
    return control;
}

// The linker leads every registration here. The names are the compilers', and the linker's.
// NOLINTBEGIN(bugprone-reserved-identifier,readability-identifier-naming)
extern "C" {

int __real___cxa_atexit(void (*)(void*), void*, void*);

int __wrap___cxa_atexit(void (*destroy)(void*), void* object, void* module) {
    ++destructors;
    return __real___cxa_atexit(destroy, object, module);
}

int __wrap___aeabi_atexit(void* object, void (*destroy)(void*), void* module) {
    return __wrap___cxa_atexit(destroy, object, module);
}

}  // extern "C"
// NOLINTEND(bugprone-reserved-identifier,readability-identifier-naming)

// Formats what it is given, so that nothing of it may be gone, and keeps nothing.
extern "C" int __dlog_print(log_id_t, int, const char*, const char* format, ...) {
    char text[16384];
    va_list arguments;
    va_start(arguments, format);
    const int length = std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    return length;
}

int main() {
    const int file = mkstemp(dumpPath);
    if (file < 0) return std::perror(dumpPath), 1;
    close(file);
    std::ofstream(dumpPath, std::ios::binary) << Dump();

    std::string script =
        "<Scenario><a name='a'><method/><method name='Plain'/><method name='Composite'/>"
        "<method name=''/><event/><event name='N' tag='NONE'/><event tag='IN' value='x'/></a></Scenario>";
    std::pair<int, char*> text(static_cast<int>(script.size()), &script[0]);
    std::string name = OwnName();
    tracker = new QxLogTracker(Info);
    if (tracker->ParseScript(text) == 0 || tracker->SetQxProcess(name) == 0) return 1;
    tracker->Run(OnEvent, nullptr, 1);
    return WaitForMoreThan(0) ? 0 : 1;
}
