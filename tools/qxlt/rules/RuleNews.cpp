#include "RuleNews.h"

#include <utility>

#include "Digest.h"
#include "JsonLine.h"
#include "Messages.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostNamed = 5;

std::string AnewText(const std::vector<std::string>& anew) {
    if (anew.empty()) return "";
    const std::string what = anew.size() > kMostNamed ? Counted(anew.size(), "event") : CommaSeparated(anew);
    return "; forgotten is what was seen of " + what;
}

}  // namespace

void PrintRules(Format format, Output& output, const RuleNews& news) {
    PrintNote(news.rules.Text() + " take over with cycle " + std::to_string(news.cycle) + AnewText(news.anew));
    if (format != Format::Json) return;
    JsonLine line;
    line.Add("cycle", news.cycle);
    line.AddText("rules", DigestText(news.rules.Hash()));
    line.Add("scripts", news.rules.Scripts());
    line.Add("events", news.rules.Events());
    line.AddTexts("forgotten", news.anew);
    output.Line(std::move(line).Finish());
}

}  // namespace qxlt
