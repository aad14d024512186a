#include "QxTickCounter.h"

#include <fcntl.h>
#include <unistd.h>

#include "QxFd.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace qxhost {

namespace {

// The name that the system has for the counter that is read here; empty where none is.
std::string OwnName() {
#if defined(__x86_64__) || defined(__i386__)
    constexpr unsigned kPowerManagement = 0x80000007;
    constexpr unsigned kRunsEvenly = 1 << 8;
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    const bool runsEvenly = __get_cpuid(kPowerManagement, &a, &b, &c, &d) != 0 && (d & kRunsEvenly) != 0;
    return runsEvenly ? "tsc" : "";
#elif defined(__aarch64__)
    return "arch_sys_counter";
#else
    return "";
#endif
}

}  // namespace

bool QxTickCounter::IsTrusted(const std::string& path) {
    const std::string own = OwnName();
    const QxFd file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    char name[64];
    const ssize_t size = file ? ::read(file.Get(), name, sizeof(name)) : 0;
    return !own.empty() && size > 0 && std::string(name, static_cast<std::size_t>(size)) == own + "\n";
}

}  // namespace qxhost
