#include "QxStoreAccess.h"

#include <typeinfo>
#include <utility>

#include "QxData.h"
#include "QxObservedData.h"

namespace {

// Null for other classes, derived ones included: those may override what would be passed over. Stores that promise not
// to are taken as well.
QxData* Own(IQxData& store) {
    return typeid(store) == typeid(QxData) ? static_cast<QxData*>(&store) : dynamic_cast<QxObservedData*>(&store);
}

}  // namespace

const QxLocation& FetchLocation(IQxData& store, unsigned int locId, QxLocation& scratch) {
    if (QxData* const own = Own(store)) return own->Location(locId, own->GetCurrentPID());
    return scratch = QxLocation(store.GetCallLocation(locId));
}

const QxLocation& FetchLocation(IQxData& store, unsigned int locId, unsigned short pid, QxLocation& scratch) {
    if (QxData* const own = Own(store)) return own->Location(locId, pid);
    return scratch = QxLocation(store.GetCallLocationWithPID(locId, pid));
}

const IQxData::_HSCompArgDesc& FetchDescriptor(IQxData& store, const std::string& type,
                                               IQxData::_HSCompArgDesc& scratch) {
    if (QxData* const own = Own(store)) return own->CompArgDesc(type);
    store.GetCompArgDesc(scratch, type);
    return scratch;
}

bool IsFirstReport(IQxData& store, const IQxData::_HSScriptPtr& element) {
    auto* const own = dynamic_cast<QxData*>(&store);
    return own == nullptr || own->IsFirstReport(element);
}

unsigned long long StoreCall(IQxData& store, IQxData::HSCall& call) {
    if (QxData* const own = Own(store)) return own->AddCall(std::move(call));
    return store.AppendBeforeCall(call);
}

IQxData::HSCall& FetchCall(IQxData& store, unsigned long long key, IQxData::HSCall& scratch) {
    if (QxData* const own = Own(store)) return own->Call(key);
    store.GetCall(key, scratch);
    return scratch;
}

void StoreChanged(IQxData& store, unsigned long long key, IQxData::HSCall& call) {
    if (Own(store) == nullptr) store.AppendAfterCall(key, call);
}
