// Several scripts as one. The library hangs a second script below the first one, where its actions are too deep to be
// subscribed; here the actions of all scripts, in order, stand below the first script's top element.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "IQxData.h"
#include "ScriptPlaces.h"

namespace qxlt {

class ScriptText;
struct ScriptElement;

class JoinedScripts final {
public:
    // Reads the files, and takes the script that --call stands for behind them, if there is one. Without any it is a
    // scenario that does nothing. Throws a Failure: cannot start when one cannot
    // be read, input wrong when one is not well-formed.
    explicit JoinedScripts(const std::vector<std::string>& files, const std::string& calls = std::string());

    // The same of scripts that were read and are well-formed. They are not needed afterwards.
    explicit JoinedScripts(const std::vector<const ScriptText*>& scripts, const std::string& calls = std::string());

    // Whether a run does and says the same with both.
    bool operator==(const JoinedScripts& other) const { return m_text == other.m_text && m_places == other.m_places; }

    // The joined XML text. Without the actions' process attributes it may be loaded by a tracker that would otherwise
    // wait for the processes by itself.
    const std::string& Text() const { return m_text; }
    const std::string& TextWithoutProcesses() const { return m_textWithoutProcesses; }

    // The processes that the actions name, in order; a name may come twice.
    const std::vector<std::string>& Processes() const { return m_processes; }

    // The names of the events, in order.
    const std::vector<std::string>& Events() const { return m_events; }

    // Where the elements stand, after one of the texts was loaded as the store's only script. `root` is its top element
    // and must outlive the result.
    ScriptPlaces PlacesIn(const IQxData::_HSScriptPtr& root) const;

private:
    void Join(const std::vector<const ScriptText*>& scripts, const std::string& calls);
    void AppendScript(const ScriptText& script);
    void AppendElement(const ScriptElement& element);
    void Append(const std::string& text);

    std::string m_top;  // the first script's top element
    std::string m_text;
    std::string m_textWithoutProcesses;
    std::vector<std::string> m_processes;
    std::vector<std::string> m_events;
    std::vector<ScriptPlace> m_places;  // of all elements, in the order in which they begin
};

// Loads the joined scripts into a store that holds none yet. Returns the top element.
IQxData::_HSScriptPtr& LoadScripts(const JoinedScripts& scripts, const std::shared_ptr<IQxData>& store);

// The top element of the loaded scripts. Requires: a script is loaded.
IQxData::_HSScriptPtr& RootOf(IQxData& store);

}  // namespace qxlt
