#include "LiveRun.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "EndOnSignal.h"
#include "Messages.h"
#include "Platform.h"
#include "QxEventMemory.h"
#include "QxLogTracker.h"
#include "RuleNews.h"
#include "Text.h"
#include "WaitNotice.h"

namespace qxlt {

namespace {

constexpr std::chrono::milliseconds kLookAgain(200);
constexpr int kShortPause = 1;
constexpr int kLongPause = 0;

// There is none behind all that the clock counts.
std::optional<Interruption::Clock::time_point> EndOf(Interruption::Clock::time_point start,
                                                     std::chrono::duration<double> time) {
    using Time = Interruption::Clock::time_point;
    if (time >= Time::max() - start) return std::nullopt;
    return start + std::chrono::duration_cast<Time::duration>(time);
}

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
      m_processes(WantedBy(m_scripts), *m_store),
      m_account(common.format, m_output, m_processes.Names()),
      m_run(
          m_store, m_processes.Names(), [this](const EventView& view) { Fire(view); }, PrintFault) {
    m_printer.Expect(m_scripts.Events());
    RequireKnownEnd(options.until, m_scripts.Events());
    if (!m_processes.IsWaiting()) throw Failure(kCannotStart, "no process is to be watched; name one with -p");
    if (m_sink) m_interruption.LeaveReader();
    MakeParts();
    if (options.seconds > 0) m_end = EndOf(m_start, std::chrono::duration<double>(options.seconds));
    m_output.OnEnd([this](ExitStatus status) {
        if (status != kDone) m_failed = true;
        m_interruption.Request();
    });
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
    std::vector<HealthFigure> all = m_limits.Health();
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

int LiveRun::Perform() {
    Load();
    if (WaitForProcesses()) {
        for (const auto& part : m_parts) part->OnBegin(m_processes.Names(), Start());
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
    if (m_processes.Watch().IsBlind()) {
        PrintError("nothing could be read of " + CommaSeparated(m_processes.Wanted()) + "; no call was seen");
        m_failed = true;
    }
    if (m_options.failOnLoss && m_account.Lost()) m_failed = true;
    if (m_sink && m_sink->Failed()) m_failed = true;
    return m_failed || !m_run.Whole() || HasFailedPart();
}

bool LiveRun::HasFailedPart() const {
    return std::any_of(m_parts.begin(), m_parts.end(), [](const auto& part) { return part->Failed(); });
}

// The library would wait without end and without a word. Returns false when the run was ended meanwhile.
bool LiveRun::WaitForProcesses() {
    WaitNotice notice(m_start);
    for (;;) {
        TakeRules();
        const std::vector<std::string> missing = m_processes.RegisterWaiting(*m_tracker);
        if (missing.empty()) return true;
        m_processes.NoteNear(missing);
        notice.Show(missing);
        for (const auto& part : m_parts) part->OnWaiting(missing);
        const Clock::time_point again = Clock::now() + kLookAgain;
        if (m_interruption.Wait(m_end ? std::min(*m_end, again) : again) != Interruption::Cause::TimeOver) return false;
        if (m_end && Clock::now() >= *m_end) GiveUp(missing);
    }
}

void LiveRun::GiveUp(const std::vector<std::string>& missing) const {
    throw Failure(kCannotStart, "the time is over and " + CommaSeparated(missing) + " does not run; start it first");
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
    m_processes.Change(*m_tracker, WantedBy(*rules->scripts), m_cycle > 0);
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

void LiveRun::WarnOfMissing(const JoinedScripts& scripts) const {
    const std::vector<std::string>& events = scripts.Events();
    const auto warn = [&events](const std::string& option, const std::string& event) {
        if (event.empty() || std::find(events.begin(), events.end(), event) != events.end()) return;
        PrintWarning(option + event + ": the changed scripts have no event of that name");
    };
    warn("--until ", m_options.until);
    warn("--explain=", m_explain.event);
}

// Processes that rules name which took over during the run.
void LiveRun::RegisterLate() {
    for (const LateProcess& late : m_processes.RegisterLate(*m_tracker, m_cycle, m_options.history)) {
        if (late.since) m_run.BeginOf(late.pid, *late.since);
        for (const auto& part : m_parts) part->OnProcess(late);
        for (const std::string& text : m_processes.Running(late.name)) PrintNote("tracking " + text);
    }
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
    for (const auto& part : m_parts) part->OnEnded();
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
    if (m_cycle == 1) m_processes.BeginCycles();
    if (!m_ending) TakeRules();
    if (primes) NoteTracked();
    m_run.BeginCycle(m_cycle);
    for (const auto& part : m_parts) part->OnCycle(m_cycle, primes);
    if (m_processes.IsWaiting()) RegisterLate();
}

void LiveRun::NoteTracked() const {
    const std::vector<std::string> tracked = m_processes.Running();
    if (!tracked.empty()) PrintNote("tracking " + CommaSeparated(tracked));
    if (!m_ending) PrintNote("priming, events come from the next cycle on");
}

void LiveRun::OnDump(const std::string& process, const std::vector<char>& dump) {
    std::optional<LossCounts>& counts = m_counts[process] = LossOfLastDump(process);
    if (counts && dump.empty()) counts->LoseDump();
    const std::vector<ProcessChange> changes = m_processes.Watch().Look(process);
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
    if (m_cycle == 1 && m_processes.Watch().LooksBlind())
        PrintWarning("not ready: nothing that is tracked can be read");
    if (m_ending || m_readingTold || m_processes.Watch().LooksBlind()) return;
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
