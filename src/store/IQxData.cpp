#include "IQxData.h"

#include <cstddef>

#include "QxData.h"

std::shared_ptr<IQxData> IQxData::Instance() {
    return std::make_shared<QxData>();
}

void IQxData::_HSScriptPtr::Append(const char* elementName, const char** attrs) {
    name = elementName;
    std::size_t count = 0;
    while (attrs[2 * count] != nullptr) ++count;
    attributes.reserve(attributes.size() + count);
    for (; attrs[0] != nullptr; attrs += 2) attributes.emplace_back(attrs[0], attrs[1]);
}

// Scripts may nest deeper than the stack is: every element's children are moved to one list before it is freed, so that
// no destructor runs inside another's for more than one level.
IQxData::_HSScriptPtr::~_HSScriptPtr() {
    std::vector<_HSScriptPtr*> pending;
    pending.swap(children);
    while (!pending.empty()) {
        _HSScriptPtr* const element = pending.back();
        pending.pop_back();
        if (element == nullptr) continue;
        pending.insert(pending.end(), element->children.begin(), element->children.end());
        element->children.clear();
        delete element;
    }
}
