#include "RuleReload.h"

#include <algorithm>
#include <csignal>
#include <deque>
#include <filesystem>
#include <system_error>
#include <utility>

#include "Checks.h"
#include "Digest.h"
#include "Failure.h"
#include "Messages.h"
#include "ReadFile.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostReasons = 10;

// A pipe would be waited for.
std::string ReadScript(const std::string& file) {
    std::error_code ignored;
    if (std::filesystem::exists(file, ignored) && !std::filesystem::is_regular_file(file, ignored)) {
        throw Failure(kCannotStart, file + ": is no file that can be read again");
    }
    return ReadFile(file);
}

}  // namespace

// The scripts as they stand now, and a digest of that.
class RuleReload::Texts final {
public:
    // Throws a Failure when one cannot be read.
    explicit Texts(const std::vector<std::string>& files) {
        for (const std::string& file : files) {
            const std::string text = ReadScript(file);
            m_content.AddPiece(text);
            m_pointers.push_back(&m_scripts.emplace_back(file, text));
        }
    }

    const std::vector<const ScriptText*>& Scripts() const { return m_pointers; }
    std::uint64_t Content() const { return m_content.Value(); }

    // Whether all are well-formed.
    bool AreWhole() const {
        return std::none_of(m_scripts.begin(), m_scripts.end(),
                            [](const ScriptText& script) { return script.Defect().has_value(); });
    }

    // What `qxlt check` calls errors, a line for each.
    std::vector<std::string> Errors() const {
        Findings findings;
        CheckScripts(ScenarioOutline(m_pointers), findings);
        std::vector<std::string> errors;
        for (const Finding& finding : findings.Sorted(m_pointers)) {
            if (finding.IsError()) {
                errors.push_back(finding.PlaceText() + ": " + finding.Told() + " [" + finding.check->code + "]");
            }
        }
        return errors;
    }

private:
    std::deque<ScriptText> m_scripts;
    std::vector<const ScriptText*> m_pointers;
    Digest m_content;
};

RuleReload::RuleReload(RuleSource source, const RunSurroundings& surroundings)
    : m_source(std::move(source)),
      m_calls(CallScript(m_source.calls).Text()),
      m_interruption(surroundings.interruption),
      m_rules(surroundings.rules),
      m_last(std::make_shared<JoinedScripts>(surroundings.scripts)) {
    if (m_source.isWatched && m_source.files.empty()) {
        throw Failure(kCannotStart, "--watch reads changed scripts again; name one with -s");
    }
    m_interruption.Handle(SIGHUP, [this] { OnSignal(); });
    if (m_source.isWatched) m_watch.emplace(m_source.files, m_interruption, [this] { Read(Asked::ByChange); });
}

void RuleReload::OnSignal() {
    if (m_hangup.IsEnd()) return m_interruption.EndBySignal();
    Read(Asked::BySignal);
}

void RuleReload::Read(Asked asked) {
    m_rules.TellReading(true);
    Look(asked);
    m_rules.TellReading(false);
}

void RuleReload::Look(Asked asked) {
    try {
        const Texts texts(m_source.files);
        const auto scripts = texts.AreWhole() ? std::make_shared<JoinedScripts>(texts.Scripts(), m_calls) : nullptr;
        // What a run was begun with goes on, errors or not.
        if (scripts != nullptr && *scripts == *m_last) return Take(scripts, asked);
        const std::vector<std::string> errors = texts.Errors();
        if (!errors.empty()) return Refuse(texts.Content(), asked, errors);
        if (scripts->Processes().empty() && m_source.processes.empty()) {
            return Refuse(texts.Content(), asked, {"the changed scripts name no process to be watched"});
        }
        Take(scripts, asked);
    } catch (const Failure& failure) {
        Digest content;
        content.Add(failure.what());
        Refuse(content.Value(), asked, {failure.what()});
    }
}

void RuleReload::Take(std::shared_ptr<const JoinedScripts> scripts, Asked asked) {
    m_refused.reset();
    if (*scripts == *m_last) {
        if (asked == Asked::BySignal)
            PrintNote("the scripts are as before, rules " + DigestText(m_rules.Hash()) + " go on");
        return;
    }
    m_last = std::move(scripts);
    m_rules.Offer(std::make_unique<RuleSet>(m_last, m_source.files));
}

// An editor may write the same once more, and it is told of once; whoever sends a signal gets an answer.
void RuleReload::Refuse(std::uint64_t content, Asked asked, const std::vector<std::string>& reasons) {
    if (std::exchange(m_refused, content) == content && asked == Asked::ByChange) return;
    for (std::size_t i = 0; i < std::min(reasons.size(), kMostReasons); ++i) PrintError(reasons[i]);
    const std::size_t more = reasons.size() - std::min(reasons.size(), kMostReasons);
    PrintWarning("the changed scripts are refused" + (more == 0 ? "" : ", with " + Counted(more, "error") + " more") +
                 "; rules " + DigestText(m_rules.Hash()) + " go on");
}

}  // namespace qxlt
