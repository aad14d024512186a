// The script kind "Scenario": subscribes the loaded actions to the methods that they name, and evaluates an action's
// events against every stored call of such a method.
//
// Used by one trace pass at a time on the tracker's worker thread. The subscriptions point into the store's script
// tree, which must outlive this object.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "IQxData.h"
#include "IQxScript.h"
#include "QxConversions.h"
#include "QxEventMemory.h"
#include "QxEventWords.h"
#include "QxSubscriptions.h"

class IQxEventObserver;
class QxEventEvaluation;
class QxStoreAccess;

class QxScriptScenario final : public IQxScript {
public:
    // One pass over the parser's store. Returns 1, or 0 when no script is loaded. Calls that a callback adds to the
    // store meanwhile are not visited, those that it removes still are.
    int Trace(QxParser* parser) override;

    // Subscribes the actions below `root` to their methods, in addition to those subscribed before. A method is
    // subscribed once under each action name, to the first action that has it.
    void SetSubscriber(IQxData::_HSScriptPtr* root);

    // Evaluates each event of the action. An error in one event is printed, and the next one is evaluated.
    void MakeEvent(IQxData::_HSScriptPtr* action, IQxData::HSCall& call, QxParser* parser);

    // Evaluates one event; stores and sends it if it fires. Throws std::invalid_argument or std::out_of_range for text
    // that is no number or a number or position out of range.
    void PushEvent(IQxData::_HSScriptPtr* event, IQxData::HSCall& call, QxParser* parser);

    // The stored bytes less one each, which is what the process passed.
    static std::string ConverStringArg(std::string raw) { return qxconversions::ToText(std::move(raw)); }

    // The same as a decimal number: 32 bits, little-endian, signed; further bytes add nothing.
    static std::string ConverIntArg(std::string raw) { return qxconversions::ToNumber(raw); }

private:
    // Whether a call is needed after an event, or may be handed to the callback instead of a copy.
    enum class Call { Kept, UsedUp };

    // A method that calls of the pass are of.
    struct Method {
        std::string name;
        bool isSubscribed = false;
    };
    // A call of the pass, its key in the store, and its method.
    struct Seen {
        unsigned long long key;
        IQxData::HSCall* call;  // in the store, or the copy of it
        const Method* method;
    };
    // The methods by location, which is the process's id and the location's number.
    using Methods = std::unordered_map<std::uint64_t, Method>;

    static std::vector<Seen> Look(const QxParser& parser, Methods& methods);
    void SubscribePass(const IQxData::_HSScriptPtr& root, Methods& methods, const QxParser& parser);
    void SubscribeLate(const std::string& method, QxParser& parser);
    bool HasSubscriber(const std::string& method) const;
    void Await(const std::vector<Seen>& calls, IQxEventObserver* observer);
    void CopyAwaited(const QxStoreAccess& access);
    void LeavePass();
    void Visit(QxParser* parser);
    // A call is given by the pointer to it, which moves on to the copy when one is made.
    void MakeEvents(const IQxData::_HSScriptPtr& action, IQxData::HSCall*& call, Call use, QxParser* parser);
    const QxEventWords& WordsOf(const IQxData::_HSScriptPtr& event);
    void PushGuarded(IQxData::_HSScriptPtr* event, IQxData::HSCall*& call, Call use, QxParser* parser);
    void Push(QxEventEvaluation& evaluation, const IQxData::_HSScriptPtr& event, IQxData::HSCall*& call, Call use,
              QxParser& parser);

    // An event's words, and what they were taken from.
    struct Read {
        const void* attributes;
        std::size_t count;
        QxEventWords words;
    };

    std::vector<Seen> m_Awaited;            // calls of this pass that something is subscribed to
    std::size_t m_At = 0;                   // the one of them that the pass has come to
    std::vector<IQxData::HSCall> m_Copies;  // of those from the first one on that an event fired for
    std::unordered_map<const IQxData::_HSScriptPtr*, Read> m_Read;  // for this pass
    std::unordered_set<std::string> m_Subscribed;                   // the methods of this pass that were subscribed
    std::size_t m_ActionCount = 0;                                  // of the script when the pass began
    QxSubscriptions m_Subscribers;                                  // to actions of the store
    unsigned long long m_Key = 0;  // of the call that the pass has come to; for the observer
};
