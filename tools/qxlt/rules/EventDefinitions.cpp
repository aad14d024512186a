#include "EventDefinitions.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "Digest.h"
#include "QxSubscriptions.h"
#include "ScriptPlaces.h"

namespace qxlt {

namespace {

// In an order of their own: that in which they are written says nothing.
void AddAttributes(Digest& digest, const IQxData::_HSScriptPtr& element) {
    const std::set<std::pair<std::string_view, std::string_view>> sorted(element.attributes.begin(),
                                                                         element.attributes.end());
    for (const auto& [name, value] : sorted) {
        digest.AddPiece(name);
        digest.AddPiece(value);
    }
    digest.Add("/");
}

// The walk keeps no stack of calls: depth is the script's choice.
void AddElement(Digest& digest, const IQxData::_HSScriptPtr& top) {
    std::vector<const IQxData::_HSScriptPtr*> open = {&top};
    while (!open.empty()) {
        const IQxData::_HSScriptPtr* const element = open.back();
        open.pop_back();
        if (element == nullptr) {  // the end of one with children
            digest.Add(")");
            continue;
        }
        digest.Add("(");
        digest.AddPiece(element->name);
        AddAttributes(digest, *element);
        open.push_back(nullptr);
        open.insert(open.end(), element->children.rbegin(), element->children.rend());
    }
}

Digest DigestOf(const IQxData::_HSScriptPtr& action, const std::string& name) {
    Digest digest;
    digest.AddPiece(name);
    AddAttributes(digest, action);
    std::set<std::string_view> methods;
    for (const IQxData::_HSScriptPtr* const child : action.children) {
        if (qxscript::IsMethod(child) && !child->attributes.empty()) methods.insert(qxscript::MethodNameOf(*child));
    }
    for (const std::string_view method : methods) digest.AddPiece(method);
    digest.Add(";");
    return digest;
}

}  // namespace

EventDefinitions::EventDefinitions(const IQxData::_HSScriptPtr& root) {
    qxscript::ForEachAction(root, [this](const IQxData::_HSScriptPtr& action, const std::string& name) {
        const Digest before = DigestOf(action, name);
        for (const IQxData::_HSScriptPtr* const event : action.children) {
            if (!qxscript::IsEvent(event)) continue;
            Digest digest = before;
            AddElement(digest, *event);
            m_digests[EventNameOf(*event)].push_back(digest.Value());
        }
    });
    for (auto& [name, digests] : m_digests) std::sort(digests.begin(), digests.end());
}

std::vector<std::string> EventDefinitions::ChangedIn(const EventDefinitions& other) const {
    std::vector<std::string> changed;
    for (const auto& [name, digests] : m_digests) {
        const auto found = other.m_digests.find(name);
        if (found == other.m_digests.end() || found->second != digests) changed.push_back(name);
    }
    return changed;
}

}  // namespace qxlt
