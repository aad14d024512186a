// Reads the scripts of a live run again, when asked to by SIGHUP or when the files change: scripts in which nothing is
// wrong take over; others are told of, and what runs goes on.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "CallScript.h"
#include "HangupReason.h"
#include "IRunPart.h"
#include "Interruption.h"
#include "JoinedScripts.h"
#include "RuleExchange.h"
#include "ScriptWatch.h"

namespace qxlt {

// What a run's rules are made of.
struct RuleSource {
    std::vector<std::string> files;
    CallChoice calls;                    // besides them
    std::vector<std::string> processes;  // that are watched besides those that the rules name
    bool isWatched = false;              // the files are
};

class RuleReload final : public IRunPart {
public:
    // Throws a Failure (cannot start) when the files are to be watched and that cannot be done.
    RuleReload(RuleSource source, const RunSurroundings& surroundings);

private:
    enum class Asked { ByChange, BySignal };
    class Texts;

    void OnSignal();
    void Read(Asked asked);
    void Look(Asked asked);
    void Take(std::shared_ptr<const JoinedScripts> scripts, Asked asked);
    void Refuse(std::uint64_t content, Asked asked, const std::vector<std::string>& reasons);

    const RuleSource m_source;
    const std::string m_calls;  // the script that they stand for
    Interruption& m_interruption;
    RuleExchange& m_rules;
    const HangupReason m_hangup;
    std::shared_ptr<const JoinedScripts> m_last;  // that was taken
    std::optional<std::uint64_t> m_refused;       // the content that was told of last, if nothing was taken since
    std::optional<ScriptWatch> m_watch;
};

}  // namespace qxlt
