#include "ScriptWatch.h"

#include <sys/inotify.h>
#include <sys/timerfd.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <utility>

#include "Failure.h"
#include "Messages.h"
#include "WatchedPlaces.h"

namespace qxlt {

namespace {

// Not each write: a file is whole at the earliest when its writer closes it, and others may write much in there.
constexpr std::uint32_t kChanges = IN_CLOSE_WRITE | IN_ATTRIB | IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                   IN_DELETE_SELF | IN_MOVE_SELF | IN_ONLYDIR;

const char* Advice(int error) {
    if (error == ENOSPC || error == EMFILE)
        return "; raise fs.inotify.max_user_watches and max_user_instances, or send";
    return "; leave --watch out, and send";
}

std::string Refusal(const std::string& what, int error) {
    return "--watch: " + what + " cannot be watched: " + std::strerror(error) + Advice(error) +
           " SIGHUP when the scripts have changed";
}

int Checked(int descriptor, const char* what) {
    if (descriptor < 0) throw Failure(kCannotStart, Refusal(what, errno));
    return descriptor;
}

timespec Spec(std::chrono::nanoseconds time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time);
    timespec spec{};
    spec.tv_sec = static_cast<time_t>(seconds.count());
    spec.tv_nsec = static_cast<long>((time - seconds).count());
    return spec;
}

}  // namespace

ScriptWatch::ScriptWatch(std::vector<std::string> files, Interruption& interruption, std::function<void()> changed)
    : m_files(std::move(files)),
      m_changed(std::move(changed)),
      m_events(Checked(inotify_init1(IN_CLOEXEC | IN_NONBLOCK), "the scripts")),
      m_timer(Checked(timerfd_create(CLOCK_MONOTONIC, TFD_CLOEXEC | TFD_NONBLOCK), "the scripts")) {
    const std::string problem = Follow();
    if (!problem.empty()) throw Failure(kCannotStart, problem);
    interruption.Watch(m_events.Get(), [this] { Drain(); });
    interruption.Watch(m_timer.Get(), [this] { Settle(); });
    Postpone();  // what has changed since the scripts were read
}

// The same directory gives the same watch. One that is not there is made later, which the directory around it tells.
// Returns what cannot be watched; empty: all is.
std::string ScriptWatch::Follow() {
    const std::map<int, std::set<std::string>> before = std::exchange(m_names, {});
    std::string problem;
    for (const auto& [directory, names] : PlacesOf(m_files)) {
        const int watch = inotify_add_watch(m_events.Get(), directory.c_str(), kChanges);
        if (watch >= 0) {
            m_names[watch].insert(names.begin(), names.end());
        } else if (errno != ENOENT && errno != ENOTDIR) {
            problem = Refusal(directory, errno);
        }
    }
    for (const auto& entry : before) {
        if (m_names.count(entry.first) == 0) inotify_rm_watch(m_events.Get(), entry.first);
    }
    return problem;
}

void ScriptWatch::Drain() {
    alignas(inotify_event) std::array<char, 16384> bytes;
    bool changed = false;
    for (;;) {
        const ssize_t size = read(m_events.Get(), bytes.data(), bytes.size());
        if (size <= 0) break;
        changed = Take(bytes.data(), static_cast<std::size_t>(size)) || changed;
    }
    if (changed) Postpone();
}

// Returns whether any of it counts: a name that does, or a directory itself; or events were lost.
bool ScriptWatch::Take(const char* bytes, std::size_t size) {
    bool counts = false;
    for (std::size_t at = 0; at < size;) {
        inotify_event event{};
        std::memcpy(&event, bytes + at, sizeof event);
        const std::string name = event.len > 0 ? bytes + at + sizeof event : "";
        at += sizeof event + event.len;
        const auto names = m_names.find(event.wd);
        const bool isOld = names == m_names.end() && (event.mask & IN_Q_OVERFLOW) == 0;
        counts = counts || (!isOld && (name.empty() || names->second.count(name) != 0));
    }
    return counts;
}

void ScriptWatch::Postpone() {
    const Clock::time_point now = Clock::now();
    if (m_first == Clock::time_point()) m_first = now;
    const Clock::time_point when = std::max(std::min(now + kSettles, m_first + kLongest), now);
    itimerspec timer{};
    timer.it_value = Spec(std::max<Clock::duration>(when - now, std::chrono::nanoseconds(1)));
    timerfd_settime(m_timer.Get(), 0, &timer, nullptr);
}

// Watched first, read then: what changes meanwhile is told again.
void ScriptWatch::Settle() {
    std::uint64_t expirations = 0;
    if (read(m_timer.Get(), &expirations, sizeof expirations) < 0) return;
    m_first = Clock::time_point();
    const std::string problem = Follow();
    if (!problem.empty() && problem != m_told) PrintWarning(m_told = problem);
    m_changed();
}

}  // namespace qxlt
