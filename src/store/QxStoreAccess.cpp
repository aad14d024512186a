#include "QxStoreAccess.h"

#include <typeinfo>

#include "QxData.h"
#include "QxObservedData.h"

namespace {

// Null for other classes, derived ones included: those may override what would be passed over. Stores that promise not
// to are taken as well.
QxData* Own(IQxData& store) {
    return typeid(store) == typeid(QxData) ? static_cast<QxData*>(&store) : dynamic_cast<QxObservedData*>(&store);
}

}  // namespace

QxStoreAccess::QxStoreAccess(IQxData& store) : m_store(&store), m_own(Own(store)) {}

const QxLocation& QxStoreAccess::Location(unsigned int locId, QxLocation& scratch) const {
    if (m_own != nullptr) return m_own->Location(locId, m_own->GetCurrentPID());
    return scratch = QxLocation(m_store->GetCallLocation(locId));
}

const QxLocation& QxStoreAccess::Location(unsigned int locId, unsigned short pid, QxLocation& scratch) const {
    if (m_own != nullptr) return m_own->Location(locId, pid);
    return scratch = QxLocation(m_store->GetCallLocationWithPID(locId, pid));
}

const IQxData::_HSCompArgDesc& QxStoreAccess::Descriptor(const std::string& type,
                                                         IQxData::_HSCompArgDesc& scratch) const {
    if (m_own != nullptr) return m_own->CompArgDesc(type);
    m_store->GetCompArgDesc(scratch, type);
    return scratch;
}

bool QxStoreAccess::IsFirstReport(const IQxData::_HSScriptPtr& element) const {
    auto* const own = dynamic_cast<QxData*>(m_store);
    return own == nullptr || own->IsFirstReport(element);
}

IQxData::HSCall& QxStoreAccess::NewCall(IQxData::HSCall& scratch) const {
    return m_own != nullptr ? m_own->NewCall() : scratch;
}

unsigned long long QxStoreAccess::AddCall(IQxData::HSCall& call) const {
    return m_own != nullptr ? m_own->AddNewCall() : m_store->AppendBeforeCall(call);
}

IQxData::HSCall& QxStoreAccess::Call(unsigned long long key, IQxData::HSCall& scratch) const {
    if (m_own != nullptr) return m_own->Call(key);
    m_store->GetCall(key, scratch);
    return scratch;
}

void QxStoreAccess::StoreChanged(unsigned long long key, IQxData::HSCall& call) const {
    if (m_own == nullptr) m_store->AppendAfterCall(key, call);
}

std::vector<IQxData::HSICallArg> QxStoreAccess::TakeList() const {
    return m_own != nullptr ? m_own->TakeList() : std::vector<IQxData::HSICallArg>();
}
