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

const IQxData::_HSCompArgDesc& QxStoreAccess::Descriptor(const std::string& type,
                                                         std::optional<IQxData::_HSCompArgDesc>& scratch) const {
    if (m_own != nullptr) return m_own->CompArgDesc(type);
    m_store->GetCompArgDesc(scratch.emplace(), type);
    return *scratch;
}

bool QxStoreAccess::IsFirstReport(const IQxData::_HSScriptPtr& element) const {
    auto* const own = dynamic_cast<QxData*>(m_store);
    return own == nullptr || own->IsFirstReport(element);
}
