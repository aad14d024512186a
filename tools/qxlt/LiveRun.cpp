#include "LiveRun.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <thread>
#include <utility>

#include "Nearest.h"
#include "QxLogTracker.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::chrono::milliseconds kLookAgain(200);
using Seconds = std::chrono::duration<double>;
constexpr Seconds kLongestRun(100 * 365.0 * 24 * 3600);  // the clock counts to a little more
constexpr std::chrono::milliseconds kOneWish(500);
constexpr int kShortPause = 1;
constexpr int kLongPause = 0;

std::string Listed(const std::vector<std::string>& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

// Says what is waited for: on a terminal on one line that counts the seconds, elsewhere every ten seconds.
class WaitNotice final {
public:
    explicit WaitNotice(Interruption::Clock::time_point start) : m_start(start) {}

    void Show(const std::vector<std::string>& names) {
        const auto waited = std::chrono::floor<std::chrono::seconds>(Interruption::Clock::now() - m_start).count();
        if (waited < m_next) return;
        const std::string text = "waiting for " + Listed(names) + ", " + std::to_string(waited) + " s";
        if (!m_terminal) {
            PrintNote(text);
        } else {
            const std::string line = kWipeLine + Printable(text);
            [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
        }
        m_next = waited + (m_terminal ? 1 : 10);
    }

private:
    const Interruption::Clock::time_point m_start;
    const bool m_terminal = isatty(STDERR_FILENO) != 0;
    std::int64_t m_next = 0;
};

// While it lives, a signal ends the program at once: what is left to do takes as long as a reader of the output that
// does not read. After a first signal a second one has to come later, since one wish to end may send several: to the
// program, and to its group.
class Impatience final {
public:
    Impatience(Interruption& interruption, bool interrupted)
        : m_interruption(interruption), m_interrupted(interrupted), m_watcher([this] { Watch(); }) {}
    Impatience(const Impatience&) = delete;
    Impatience& operator=(const Impatience&) = delete;
    ~Impatience() {
        m_over = true;
        m_interruption.Request();
        m_watcher.join();
    }

private:
    using Clock = Interruption::Clock;

    void Watch() const {
        const Clock::time_point counts = m_interrupted ? Clock::now() + kOneWish : Clock::now();
        while (!m_over) {
            const bool signal = m_interruption.Wait(std::nullopt) == Interruption::Cause::Signal;
            if (signal && Clock::now() >= counts) std::_Exit(kInputWrong);
        }
    }

    Interruption& m_interruption;
    const bool m_interrupted;
    std::atomic<bool> m_over{false};
    std::thread m_watcher;  // last: it uses the others
};

}  // namespace

LiveRun::LiveRun(const RunOptions& options, const CommonOptions& common)
    : m_options(options),
      m_common(common),
      m_scripts(options.scripts.scripts),
      m_explain(ExplainOf(options.scripts, m_scripts.Events())),
      m_printer(common.format, m_output, WidestOf(m_scripts.Events(), 0)),
      m_tracker(IQxLogTracker::Instance(common.level)),
      m_watchable(static_cast<QxLogTracker&>(*m_tracker)),
      m_waiting(Wanted()),
      m_account(common.format, m_output, m_processes) {
    m_printer.Expect(m_scripts.Events());
    RequireKnownEnd();
    if (m_waiting.empty()) throw Failure(kCannotStart, "no process is to be watched; name one with -p");
    if (!options.keep.empty()) m_capture.emplace(options.keep);
    if (options.seconds > 0) {
        m_end = m_start + std::chrono::duration_cast<Clock::duration>(std::min(Seconds(options.seconds), kLongestRun));
    }
    m_output.OnEnd([this](ExitStatus status) {
        if (status != kDone) m_whole = false;
        m_interruption.Request();
    });
}

// The tracker goes first: its worker uses everything else.
LiveRun::~LiveRun() {
    m_tracker.reset();
}

std::set<std::string> LiveRun::Wanted() const {
    std::set<std::string> names(m_scripts.Processes().begin(), m_scripts.Processes().end());
    names.insert(m_options.processes.begin(), m_options.processes.end());
    return names;
}

void LiveRun::RequireKnownEnd() const {
    const std::vector<std::string>& events = m_scripts.Events();
    if (m_options.until.empty() || std::find(events.begin(), events.end(), m_options.until) != events.end()) return;
    const std::string near = Suggestion(m_options.until, events);
    throw Failure(kCannotStart, "--until " + m_options.until + ": the scripts have no event of that name" +
                                    (near.empty() ? "" : "; did you mean " + near));
}

int LiveRun::Perform() {
    if (WaitForProcesses()) {
        Load();
        if (m_capture) m_capture->Begin(m_processes);
        Track();
    } else {
        PrintCounts();
    }
    if (m_options.failOnLoss && m_account.Lost()) m_whole = false;
    return m_whole && !(m_capture && m_capture->Failed()) ? kDone : kInputWrong;
}

// Registers the processes that run by now; returns the others.
std::vector<std::string> LiveRun::RegisterWaiting() {
    for (auto name = m_waiting.begin(); name != m_waiting.end();) {
        std::string process = *name;
        const bool registered = m_tracker->SetQxProcess(process) != 0;
        const unsigned long pid = QxLogTracker::FindProcess(process.c_str());
        if (pid > UINT16_MAX && m_warned.insert(process).second) WarnOfCutId(process, pid);
        if (registered) Watch(process);
        name = registered ? m_waiting.erase(name) : std::next(name);
    }
    return {m_waiting.begin(), m_waiting.end()};
}

// Notes the id under which the store knows the process.
void LiveRun::Watch(const std::string& process) {
    const std::shared_ptr<IQxData> store = m_tracker->Get();
    store->AppendCurrentProcess(process);
    m_processes.Add(process, store->GetCurrentPID());
}

// The library would wait without end and without a word. Returns false when the run was ended meanwhile.
bool LiveRun::WaitForProcesses() {
    WaitNotice notice(m_start);
    for (;;) {
        const std::vector<std::string> missing = RegisterWaiting();
        if (missing.empty()) return true;
        notice.Show(missing);
        const Clock::time_point again = Clock::now() + kLookAgain;
        if (m_interruption.Wait(m_end ? std::min(*m_end, again) : again) != Interruption::Cause::TimeOver) return false;
        if (m_end && Clock::now() >= *m_end) GiveUp(missing);
    }
}

void LiveRun::GiveUp(const std::vector<std::string>& missing) const {
    throw Failure(kCannotStart, "the time is over and " + Listed(missing) + " does not run; start it first");
}

void LiveRun::Load() {
    std::string text = m_scripts.TextWithoutProcesses();
    std::pair<int, char*> bytes(static_cast<int>(text.size()), text.data());
    m_tracker->ParseScript(bytes);
    const IQxData::_HSScriptPtr& root = RootOf(*m_tracker->Get());
    m_places = m_scripts.PlacesIn(root);
    m_observers.Add(m_keys);
    m_observers.Add(m_account);
    m_observers.Add(m_errors.emplace(m_places, [this](const Fault& fault) { Tell(fault); }));
    if (m_explain.wanted) {
        m_observers.Add(m_explainer.emplace(m_common.format, m_output, root, m_places, m_explain.event));
    }
    m_watchable.SetObserver(&m_observers);
    m_watchable.SetCycleObserver(*this);
}

// The cycle in progress goes to its end, and the results are printed.
void LiveRun::Track() {
    m_tracker->Run(OnEvent, this, m_options.fast ? kShortPause : kLongPause);
    const bool interrupted = m_interruption.Wait(m_end) == Interruption::Cause::Signal;
    const Impatience impatience(m_interruption, interrupted);
    m_tracker->Stop();
    if (m_explainer) m_explainer->Print();
    m_account.Print();
    PrintCounts();
}

void LiveRun::OnCycle(bool primes) {
    ++m_cycle;
    if (primes) PrintNote("priming, events come from the next cycle on");
    m_account.SetCycle(m_cycle);
    if (m_explainer) m_explainer->SetCycle(m_cycle);
    if (m_capture) m_capture->BeginCycle(m_cycle);
}

void LiveRun::OnDump(const std::string& process, const std::vector<char>& dump) {
    std::optional<LossCounts>& counts = m_counts[process] = LossOfLastDump(process);
    if (counts && dump.empty()) counts->LoseDump();
    if (m_capture) m_capture->AddDump(process, dump, counts);
}

void LiveRun::OnDecoded(const std::string& process, const QxCycle::Decoded& decoded) {
    m_account.AddDump(process, m_counts[process], decoded.bytesNotDecoded);
    if (decoded.Whole()) return;
    Tell(DamageFault(process + ", dump of cycle " + std::to_string(m_cycle), process, decoded));
}

void LiveRun::OnCycleEnd() {
    if (m_capture) m_capture->EndCycle();
    if (m_cycle == 1) PrintNote("ready");
}

void LiveRun::Tell(const Fault& fault) {
    m_whole = false;
    PrintFault(fault);
}

int LiveRun::OnEvent(std::string name, std::string value, IQxData::HSCall call, void* context) {
    const RunAccount::Clock::time_point began = RunAccount::Clock::now();
    auto& self = *static_cast<LiveRun*>(context);
    const IQxData::_HSCallLocation location = self.m_tracker->Get()->GetCallLocationWithPID(call.locId, call.pid);
    self.m_printer.Print(
        {self.m_cycle, name, value, {call, location, self.m_processes.NameOf(call.pid), self.m_keys.Key()}});
    if (!name.empty() && name == self.m_options.until) self.m_interruption.Request();
    self.m_account.AddCallback(call.pid, began);
    return 1;
}

void LiveRun::PrintCounts() const {
    std::uint64_t total = 0;
    for (const auto& event : m_printer.Counts()) total += event.second;
    PrintNote(Counted(total, "event") + " in " + Counted(m_cycle, "cycle"));
    std::vector<std::string> names;
    for (const auto& event : m_printer.Counts()) names.push_back(event.first);
    const std::size_t width = WidestOf(names, 0);
    for (const auto& [name, count] : m_printer.Counts()) {
        PrintNote("  " + Pad(Printable(name), width) + "  " + std::to_string(count));
    }
}

}  // namespace qxlt
