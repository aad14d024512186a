// A set of rules as it runs: the scripts of a run, read, checked for being well-formed, and loaded.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "EventDefinitions.h"
#include "IQxData.h"
#include "JoinedScripts.h"
#include "ScriptPlaces.h"

namespace qxlt {

// What names a set: the files, in order, and what stands in them but for comments and layout.
class RuleNumbers final {
public:
    RuleNumbers(const JoinedScripts& scripts, const std::vector<std::string>& files);

    std::uint64_t Hash() const { return m_hash; }

    // "rules 1f2e3d4c5b6a7988 (2 scripts, 5 events)".
    std::string Text() const;

    std::size_t Scripts() const { return m_scripts; }
    std::size_t Events() const { return m_events; }

private:
    std::uint64_t m_hash;
    std::size_t m_scripts;
    std::size_t m_events;
};

struct RuleSet {
    // Loads the scripts.
    RuleSet(std::shared_ptr<const JoinedScripts> joined, const std::vector<std::string>& files);

    std::shared_ptr<const JoinedScripts> scripts;
    RuleNumbers numbers;
    std::unique_ptr<IQxData::_HSScriptPtr> tree;  // the store's, once the set runs
    ScriptPlaces places;                          // in the tree
    EventDefinitions definitions;
};

}  // namespace qxlt
