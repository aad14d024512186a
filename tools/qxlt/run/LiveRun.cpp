#include "LiveRun.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <thread>
#include <utility>

#include "Messages.h"
#include "Platform.h"
#include "QxEventMemory.h"
#include "QxLogTracker.h"
#include "RuleNews.h"
#include "RunningProcesses.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::chrono::milliseconds kLookAgain(200);
constexpr std::chrono::milliseconds kOneInterruption(500);
constexpr int kShortPause = 1;
constexpr int kLongPause = 0;

// There is none behind all that the clock counts.
std::optional<Interruption::Clock::time_point> EndOf(Interruption::Clock::time_point start,
                                                     std::chrono::duration<double> time) {
    using Time = Interruption::Clock::time_point;
    if (time >= Time::max() - start) return std::nullopt;
    return start + std::chrono::duration_cast<Time::duration>(time);
}

template <typename Names>
std::string Listed(const Names& names) {
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : ", ") + name;
    return text;
}

// Says what is waited for: on a terminal on one line that counts the seconds, elsewhere every ten seconds and whenever
// it is less.
class WaitNotice final {
public:
    explicit WaitNotice(Interruption::Clock::time_point start) : m_start(start) {}

    void Show(const std::vector<std::string>& names) {
        const auto waited = std::chrono::floor<std::chrono::seconds>(Interruption::Clock::now() - m_start).count();
        if (waited < m_next && names == m_names) return;
        m_names = names;
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
    std::vector<std::string> m_names;  // that were said last
};

// Tells who watches, if anybody does, of the beginning and the end.
class WatchedSpan final {
public:
    explicit WatchedSpan(ICallWatcher* watcher) : m_watcher(watcher) {
        if (m_watcher != nullptr) m_watcher->OnBegin();
    }
    WatchedSpan(const WatchedSpan&) = delete;
    WatchedSpan& operator=(const WatchedSpan&) = delete;
    ~WatchedSpan() {
        if (m_watcher != nullptr) m_watcher->OnEnding();
    }

private:
    ICallWatcher* const m_watcher;
};

// While it lives, a signal ends the program at once: what is left to do takes as long as a reader of the output that
// does not read. After a first signal a second one has to come later, since one wish to end may send several: to the
// program, and to its group.
class EndOnSignal final {
public:
    EndOnSignal(Interruption& interruption, bool interrupted)
        : m_interruption(interruption), m_interrupted(interrupted), m_watcher([this] { Watch(); }) {}
    EndOnSignal(const EndOnSignal&) = delete;
    EndOnSignal& operator=(const EndOnSignal&) = delete;
    ~EndOnSignal() {
        m_over = true;
        m_interruption.Request();
        m_watcher.join();
    }

private:
    using Clock = Interruption::Clock;

    void Watch() const {
        const Clock::time_point counts = m_interrupted ? Clock::now() + kOneInterruption : Clock::now();
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
      m_callScript(options.scripts.calls),
      m_scripts(options.scripts.scripts, m_callScript.Text()),
      m_explain(ExplainOf(options.scripts, m_scripts.Events())),
      m_sink(options.sink ? options.sink() : nullptr),
      m_printer(common.format, m_output, WidestOf(m_scripts.Events()), options.show),
      m_limits(options.limits, common.format, m_output),
      m_tracker(std::make_unique<QxLogTracker>(common.level, m_store)),
      m_wanted(WantedBy(m_scripts)),
      m_waiting(m_wanted),
      m_account(common.format, m_output, m_processes),
      m_run(
          m_store, m_processes, [this](const EventView& view) { Fire(view); }, PrintFault) {
    m_printer.Expect(m_scripts.Events());
    RequireKnownEnd(options.until, m_scripts.Events());
    if (m_waiting.empty()) throw Failure(kCannotStart, "no process is to be watched; name one with -p");
    if (m_sink) m_interruption.LeaveReader();
    MakeParts();
    if (options.seconds > 0) m_end = EndOf(m_start, std::chrono::duration<double>(options.seconds));
    m_output.OnEnd([this](ExitStatus status) {
        if (status != kDone) m_failed = true;
        m_interruption.Request();
    });
    WatchWaiting();
}

// The health comes first: others give it out.
void LiveRun::MakeParts() {
    const auto storeBytes = [this] { return m_store->KeptBytes(); };
    const HealthPart::Sources sources = {m_scripts.Events(), m_account, storeBytes, [this] { return Figures(); }};
    auto health = std::make_unique<HealthPart>(m_options.health, sources, m_interruption);
    const RunSurroundings surroundings = {m_scripts, m_rules, m_interruption, *health};
    m_parts.push_back(std::move(health));
    m_rules.SetReadingSink([this](bool begins) {
        for (const auto& part : m_parts) begins ? part->OnReloading() : part->OnReloaded();
    });
    for (const RunPartMaker& make : m_options.parts) m_parts.push_back(make(surroundings));
}

std::vector<HealthFigure> LiveRun::Figures() const {
    std::vector<HealthFigure> all;
    for (const auto& part : m_parts) {
        std::vector<HealthFigure> figures = part->Health();
        std::move(figures.begin(), figures.end(), std::back_inserter(all));
    }
    return all;
}

// The tracker goes first: its worker uses everything else. Then the parts, the last one first: others ask the health.
LiveRun::~LiveRun() {
    m_tracker.reset();
    while (!m_parts.empty()) m_parts.pop_back();
}

std::set<std::string> LiveRun::WantedBy(const JoinedScripts& scripts) const {
    std::set<std::string> names(scripts.Processes().begin(), scripts.Processes().end());
    names.insert(m_options.processes.begin(), m_options.processes.end());
    return names;
}

// A process may end again while others are waited for.
void LiveRun::WatchWaiting() {
    for (const std::string& process : m_waiting) {
        WatchRecordings(process);
        m_watch.Begin(process);
    }
}

int LiveRun::Perform() {
    Load();
    if (WaitForProcesses()) {
        for (const auto& part : m_parts) part->OnBegin(m_processes, Start());
        Track();
    } else {
        PrintCounts();
    }
    if (m_sink) m_sink->End();
    return HasFailed() ? kInputWrong : kDone;
}

RunStart LiveRun::Start() const {
    return {m_options.history ? std::nullopt : m_now, m_now, m_clock};
}

bool LiveRun::HasFailed() {
    if (m_watch.IsBlind()) {
        PrintError("nothing could be read of " + Listed(m_wanted) + "; no call was seen");
        m_failed = true;
    }
    if (m_options.failOnLoss && m_account.Lost()) m_failed = true;
    if (m_sink && m_sink->Failed()) m_failed = true;
    return m_failed || !m_run.Whole() || HasFailedPart();
}

bool LiveRun::HasFailedPart() const {
    return std::any_of(m_parts.begin(), m_parts.end(), [](const auto& part) { return part->Failed(); });
}

// Registers the process, if it runs, under its own id: the tracker by itself takes the first whose name begins alike.
bool LiveRun::Register(const std::string& process) {
    for (const unsigned long pid : FindRunning(process)) {
        if (pid > UINT16_MAX && m_warned.insert(process).second) WarnOfCutId(process, pid);
        if (static_cast<unsigned short>(pid) == 0) continue;  // counts as none
        m_store->AppendProcessName(static_cast<unsigned short>(pid), process);
        std::string name = process;
        if (m_tracker->SetQxProcess(name) == 0) continue;
        m_store->AppendCurrentProcess(process);
        m_processes.Add(process, m_store->GetCurrentPID());
        m_tracked.insert(process);
        return true;
    }
    return false;
}

// Registers the processes that run by now; returns the others.
std::vector<std::string> LiveRun::RegisterWaiting() {
    for (auto name = m_waiting.begin(); name != m_waiting.end();) {
        name = Register(*name) ? m_waiting.erase(name) : std::next(name);
    }
    return {m_waiting.begin(), m_waiting.end()};
}

// The library would wait without end and without a word. Returns false when the run was ended meanwhile.
bool LiveRun::WaitForProcesses() {
    WaitNotice notice(m_start);
    for (;;) {
        TakeRules();
        const std::vector<std::string> missing = RegisterWaiting();
        if (missing.empty()) return true;
        NoteNear(missing);
        notice.Show(missing);
        for (const auto& part : m_parts) part->OnWaiting(missing);
        const Clock::time_point again = Clock::now() + kLookAgain;
        if (m_interruption.Wait(m_end ? std::min(*m_end, again) : again) != Interruption::Cause::TimeOver) return false;
        if (m_end && Clock::now() >= *m_end) GiveUp(missing);
    }
}

// Once for each: a name that is mistyped is waited for without end.
void LiveRun::NoteNear(const std::vector<std::string>& missing) {
    for (const std::string& process : missing) {
        const bool isFirst = m_noted.insert(process).second;
        if (isFirst && !NearRunning(process).empty()) PrintNote(NotRunningText(process));
    }
}

void LiveRun::GiveUp(const std::vector<std::string>& missing) const {
    throw Failure(kCannotStart, "the time is over and " + Listed(missing) + " does not run; start it first");
}

void LiveRun::Load() {
    std::string text = m_scripts.TextWithoutProcesses();
    std::pair<int, char*> bytes(static_cast<int>(text.size()), text.data());
    m_tracker->ParseScript(bytes);
    IQxData::_HSScriptPtr& root = RootOf(*m_store);
    m_run.SetPlaces(m_scripts.PlacesIn(root));
    m_run.SetCalls(m_callScript, root);
    if (!m_options.tellHistory) m_account.KeepHistoryQuiet();
    m_run.SetAccount(m_account);
    m_run.SetChangeSink([this](const ProcessNews& news) { PrintNews(m_common.format, m_output, news); });
    m_run.Begin(Start());
    if (m_options.watcher != nullptr) m_run.SetCallWatcher(*m_options.watcher);
    m_run.EndAt(m_options.until, [this] { Reach(); });
    for (const auto& part : m_parts) {
        if (IQxEventObserver* const observer = part->Observer()) m_run.AddObserver(*observer);
    }
    Explain();
    m_definitions = EventDefinitions(root);
    const RuleNumbers rules(m_scripts, m_options.scripts.scripts);
    m_rules.SetHash(rules.Hash());
    for (const auto& part : m_parts) part->OnRules(rules, m_scripts.Events());
    if (m_options.watchesRules) PrintRules(m_common.format, m_output, {1, rules, {}});
    m_tracker->SetObserver(&m_run.Observer());
    m_tracker->SetCycleObserver(this);
}

void LiveRun::Explain() {
    if (!m_explain.wanted) return;
    IQxData::_HSScriptPtr& root = RootOf(*m_store);
    m_run.SetExplainer(m_explainer.emplace(m_common.format, m_output, root, m_run.Places(), m_explain.event));
}

// Between two cycles no pass runs, and no call waits to be evaluated but those of a cycle that primed.
void LiveRun::TakeRules() {
    const std::unique_ptr<RuleSet> rules = m_rules.Take();
    if (rules == nullptr) return;
    const std::vector<std::string> anew = m_definitions.ChangedIn(rules->definitions);
    for (const std::string& event : anew) QxEventMemory::Forget(event);
    ChangeScripts(*rules);
    PrintRules(m_common.format, m_output, {std::max<std::uint64_t>(m_cycle, 1), rules->numbers, anew});
    ChangeProcesses(*rules->scripts);
    WarnOfMissing(*rules->scripts);
}

// The explanation is about one set: that of the set before ends here.
void LiveRun::ChangeScripts(RuleSet& rules) {
    if (m_explainer && m_cycle > 1) m_explainer->Print();
    IQxData::_HSScriptPtr& root = *rules.tree;
    const std::unique_ptr<IQxData::_HSScriptPtr> before = m_store->ExchangeScript(std::move(rules.tree));
    m_run.ChangeScripts(std::move(rules.places), root);
    Explain();
    m_printer.Expect(rules.scripts->Events());
    m_definitions = std::move(rules.definitions);
    m_rules.SetHash(rules.numbers.Hash());
    for (const auto& part : m_parts) part->OnRules(rules.numbers, rules.scripts->Events());
}

// What a process recorded that was not tracked so far belongs to nobody's rules.
void LiveRun::ChangeProcesses(const JoinedScripts& scripts) {
    m_wanted = WantedBy(scripts);
    for (auto name = m_tracked.begin(); name != m_tracked.end();) {
        const bool stays = m_wanted.count(*name) != 0;
        if (!stays) m_tracker->DropProcess(*name);
        if (!stays) PrintNote(Printable(*name) + " is tracked no longer");
        name = stays ? std::next(name) : m_tracked.erase(name);
    }
    std::set<std::string> waiting;
    std::set_difference(m_wanted.begin(), m_wanted.end(), m_tracked.begin(), m_tracked.end(),
                        std::inserter(waiting, waiting.end()));
    for (const std::string& name : waiting) {
        if (m_cycle > 0 && m_waiting.count(name) == 0) m_namedAt[name] = CallClockNow();
    }
    m_waiting = std::move(waiting);
    WatchWaiting();
    if (m_cycle > 0 && !m_waiting.empty()) PrintNote("waiting for " + Listed(m_waiting));
}

void LiveRun::WarnOfMissing(const JoinedScripts& scripts) const {
    const std::vector<std::string>& events = scripts.Events();
    const auto warn = [&events](const std::string& option, const std::string& event) {
        if (event.empty() || std::find(events.begin(), events.end(), event) != events.end()) return;
        PrintWarning(option + event + ": the changed scripts have no event of that name");
    };
    warn("--until ", m_options.until);
    warn("--explain=", m_explain.event);
}

// Processes that rules name which took over during the run. They are tracked from the cycle on that begins.
void LiveRun::RegisterLate() {
    const std::set<std::string> missing = m_waiting;
    RegisterWaiting();
    for (const std::string& process : missing) {
        if (m_waiting.count(process) == 0) NoteBegin(process);
    }
}

// One that was tracked before has had its calls evaluated; where the time of calls is not known, those that came since
// then are taken for what it records from now on.
void LiveRun::NoteBegin(const std::string& process) {
    const bool isKnown = !m_begun.insert(process).second;
    const std::optional<std::uint64_t> since = m_namedAt[process];
    LateProcess late{m_cycle, process, m_processes.Pids().at(process), std::nullopt};
    if (isKnown || !m_options.history) late.since = since;
    if (since || !isKnown) m_tracker->FetchAnew(process);
    if (late.since) m_run.BeginOf(late.pid, *late.since);
    for (const auto& part : m_parts) part->OnProcess(late);
    for (const std::uint32_t pid : m_watch.Running(process)) PrintNote("tracking " + ProcessText(process, pid));
}

// The event that ends the run has come: no cycle follows this one.
void LiveRun::Reach() {
    m_tracker->Stop();
    m_interruption.Request();
}

// The cycle in progress goes to its end, and the results are printed.
void LiveRun::Track() {
    const Interruption::Cause cause = TrackUntilTheEnd();
    const EndOnSignal endOnSignal(m_interruption, cause == Interruption::Cause::Signal);
    m_tracker->Stop();
    for (const auto& part : m_parts) part->OnEnding();
    const bool isRegular = cause == Interruption::Cause::Signal || cause == Interruption::Cause::TimeOver;
    if (isRegular && !m_run.IsOver()) FetchTheRest();
    m_limits.End(m_cycle);
    for (const auto& part : m_parts) part->OnEnd();
    PrintResults();
}

Interruption::Cause LiveRun::TrackUntilTheEnd() {
    const WatchedSpan span(m_options.watcher);
    m_tracker->Run(EventRun::OnEvent, &m_run, m_options.fast ? kShortPause : kLongPause);
    return m_interruption.Wait(m_end);
}

// What was recorded since the last dump belongs to the run. Only a cycle that does not prime evaluates it.
void LiveRun::FetchTheRest() {
    m_ending = true;
    m_tracker->SetDumpPause(kShortPause);
    do {
        m_tracker->t_process();
    } while (m_primes);
}

void LiveRun::Fire(const EventView& view) {
    if (!m_printer.Takes(view) || !m_limits.Lets(view)) return;
    m_printer.Print(view);
    for (const auto& part : m_parts) part->OnEvent(view);
}

void LiveRun::OnCycle(bool primes) {
    ++m_cycle;
    m_primes = primes;
    if (m_cycle == 1) m_begun = m_tracked;
    if (!m_ending) TakeRules();
    if (primes) NoteTracked();
    m_run.BeginCycle(m_cycle);
    for (const auto& part : m_parts) part->OnCycle(m_cycle, primes);
    if (!m_waiting.empty()) RegisterLate();
}

void LiveRun::NoteTracked() const {
    std::vector<std::string> tracked;
    for (const auto& [process, id] : m_processes.Pids()) {
        for (const std::uint32_t pid : m_watch.Running(process)) tracked.push_back(ProcessText(process, pid));
    }
    if (!tracked.empty()) PrintNote("tracking " + Listed(tracked));
    if (!m_ending) PrintNote("priming, events come from the next cycle on");
}

void LiveRun::OnDump(const std::string& process, const std::vector<char>& dump) {
    std::optional<LossCounts>& counts = m_counts[process] = LossOfLastDump(process);
    if (counts && dump.empty()) counts->LoseDump();
    const std::vector<ProcessChange> changes = m_watch.Look(process);
    m_run.TellChanges(process, changes);
    for (const auto& part : m_parts) part->OnDump({process, dump, counts, changes});
}

void LiveRun::OnDecoded(const std::string& process, const QxCycle::Decoded& decoded) {
    const std::string place = process + ", dump of cycle " + std::to_string(m_cycle);
    m_run.AddDump({process, place, process, m_counts[process]}, decoded);
    m_decoded = m_store->GetCallIMap()->size();
}

void LiveRun::OnCycleEnd() {
    m_run.EndCycle(m_primes);
    m_limits.EndCycle(m_cycle);
    for (const auto& part : m_parts) part->OnCycleEnd();
    NoteReading();
    ShowHeartbeat();
}

// That it goes on though nothing fires: whoever is shown the calls sees that. What is printed takes the line's place.
void LiveRun::ShowHeartbeat() {
    const Clock::time_point now = Clock::now();
    const double seconds = std::chrono::duration<double>(now - m_beat).count();
    const auto rate = static_cast<std::uint64_t>(static_cast<double>(m_decoded) / std::max(seconds, 0.001));
    m_beat = now;
    if (m_ending || IsQuiet() || m_options.watcher != nullptr) return;
    m_progress.Show("cycle " + std::to_string(m_cycle) + ", " + Counted(rate, "call") + " per second, " +
                    Counted(Fired(), "event") + ", " + std::to_string(m_account.LostCalls()) + " lost");
}

std::uint64_t LiveRun::Fired() const {
    std::uint64_t total = 0;
    for (const auto& event : m_printer.Counts()) total += event.second;
    return total;
}

// That events come from now on, or why they do not.
void LiveRun::NoteReading() {
    if (m_cycle == 1) m_account.PrintHistory();
    if (m_cycle == 1 && m_watch.LooksBlind()) PrintWarning("not ready: nothing that is tracked can be read");
    if (m_ending || m_readingTold || m_watch.LooksBlind()) return;
    m_readingTold = true;
    PrintNote("ready");
    m_run.TellMissingCalls();
}

void LiveRun::PrintResults() {
    if (m_explainer) m_explainer->Print();
    m_account.Print();
    PrintCounts();
}

void LiveRun::PrintCounts() const {
    if (m_options.watcher != nullptr) return;
    PrintNote(Counted(Fired(), "event") + " in " + Counted(m_cycle, "cycle"));
    std::vector<std::string> names;
    for (const auto& event : m_printer.Counts()) names.push_back(event.first);
    const std::size_t width = WidestOf(names);
    for (const auto& [name, count] : m_printer.Counts()) {
        PrintNote("  " + Pad(Printable(name), width) + "  " + std::to_string(count));
    }
}

}  // namespace qxlt
