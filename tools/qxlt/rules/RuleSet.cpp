#include "RuleSet.h"

#include <utility>

#include "Digest.h"
#include "QxData.h"
#include "QxXMLLoader.h"
#include "Text.h"

namespace qxlt {

namespace {

std::uint64_t HashOf(const JoinedScripts& scripts, const std::vector<std::string>& files) {
    Digest digest;
    for (const std::string& file : files) digest.AddPiece(file);
    digest.Add(scripts.Text());
    return digest.Value();
}

// Without the processes, as a run's own store holds it.
std::unique_ptr<IQxData::_HSScriptPtr> Load(const JoinedScripts& scripts) {
    const auto store = std::make_shared<QxData>();
    std::string text = scripts.TextWithoutProcesses();
    std::pair<int, char*> bytes(static_cast<int>(text.size()), text.data());
    QxXMLLoader::Parse(bytes, store);
    return store->ExchangeScript(nullptr);
}

}  // namespace

RuleNumbers::RuleNumbers(const JoinedScripts& scripts, const std::vector<std::string>& files)
    : m_hash(HashOf(scripts, files)), m_scripts(files.size()), m_events(scripts.Events().size()) {}

std::string RuleNumbers::Text() const {
    return "rules " + DigestText(m_hash) + " (" + Counted(m_scripts, "script") + ", " + Counted(m_events, "event") +
           ")";
}

RuleSet::RuleSet(std::shared_ptr<const JoinedScripts> joined, const std::vector<std::string>& files)
    : scripts(std::move(joined)),
      numbers(*scripts, files),
      tree(Load(*scripts)),
      places(scripts->PlacesIn(*tree)),
      definitions(*tree) {}

}  // namespace qxlt
