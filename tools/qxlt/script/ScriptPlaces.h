// Where in which script file each loaded element stands. The library keeps no positions: scripts are joined before they
// are loaded, and the places of the joined elements are kept here.
#pragma once

#include <string>
#include <unordered_map>

#include "IQxData.h"

namespace qxlt {

struct ScriptPlace {
    std::string file;
    std::size_t line = 0;

    bool operator==(const ScriptPlace& other) const { return line == other.line && file == other.file; }

    // "FILE:LINE".
    std::string Text() const;
};

class ScriptPlaces final {
public:
    void Add(const IQxData::_HSScriptPtr& element, ScriptPlace place) { m_places[&element] = std::move(place); }

    // Requires: the element was added.
    const ScriptPlace& Of(const IQxData::_HSScriptPtr& element) const { return m_places.at(&element); }

private:
    std::unordered_map<const IQxData::_HSScriptPtr*, ScriptPlace> m_places;
};

// The name of an event; empty when it has none.
const std::string& EventNameOf(const IQxData::_HSScriptPtr& event);

}  // namespace qxlt
