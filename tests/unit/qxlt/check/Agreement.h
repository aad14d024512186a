// What the tests share that compare checks and explanations with the library over scenarios made at random.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "Checks.h"
#include "Findings.h"
#include "Messages.h"

// Choices that are the same in every run.
class Dice final {
public:
    explicit Dice(std::uint32_t seed) : m_engine(seed) {}

    unsigned Pick(std::size_t below) { return static_cast<unsigned>(m_engine() % below); }

    template <typename Item, std::size_t count>
    const Item& Of(const Item (&items)[count]) {
        return items[Pick(count)];
    }

private:
    std::mt19937 m_engine;
};

struct Found {
    std::string code;
    std::string place;  // "FILE:LINE"
};

// What the checks find in these scripts, which are pairs of a file's name and its text.
inline std::vector<Found> FindingsIn(const std::vector<std::pair<std::string, std::string>>& texts) {
    std::deque<qxlt::ScriptText> scripts;
    std::vector<const qxlt::ScriptText*> pointers;
    for (const auto& [file, text] : texts) pointers.push_back(&scripts.emplace_back(file, text));
    const qxlt::ScenarioOutline outline(pointers);
    qxlt::Findings findings;
    for (const auto check : {qxlt::CheckMarkup, qxlt::CheckElements, qxlt::CheckActions, qxlt::CheckEvents,
                             qxlt::CheckFilters, qxlt::CheckConditions, qxlt::CheckSharing}) {
        check(outline, findings);
    }
    std::vector<Found> found;
    for (const qxlt::Finding& finding : findings.Sorted(pointers)) {
        found.push_back({finding.check->code, qxlt::Place(finding.script->File(), finding.place.line)});
    }
    return found;
}

// The library says a line or two for each call.
class Agreement : public testing::Test {
protected:
    Agreement() { qxlt::SetLevel(Silent); }
};
