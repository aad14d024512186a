// Reading and writing the store without copies where it is the library's own, and through its exported operations where
// it is another implementation or a class derived from it. What the store holds afterwards is the same.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "IQxData.h"
#include "QxData.h"
#include "QxLocation.h"

class QxStoreAccess final {
public:
    // To no store; nothing may be asked for.
    QxStoreAccess() = default;
    // The store must outlive this object.
    explicit QxStoreAccess(IQxData& store);

    // The location of the current process, or of the process `pid`. The result lives in the store or in `scratch`, and
    // is valid until either changes. So do all results below; a scratch of the library's own store stays empty.
    const QxLocation& Location(unsigned int locId, std::optional<QxLocation>& scratch) const {
        if (m_own != nullptr) return m_own->Location(locId);
        return scratch.emplace(m_store->GetCallLocation(locId));
    }
    const QxLocation& Location(unsigned int locId, unsigned short pid, std::optional<QxLocation>& scratch) const {
        if (m_own != nullptr) return m_own->Location(locId, pid);
        return scratch.emplace(m_store->GetCallLocationWithPID(locId, pid));
    }

    // The layout of the type.
    const IQxData::_HSCompArgDesc& Descriptor(const std::string& type,
                                              std::optional<IQxData::_HSCompArgDesc>& scratch) const;

    // Whether something is told of this element of the store's script tree for the first time. Other implementations do
    // not remember: there it is always the first time.
    bool IsFirstReport(const IQxData::_HSScriptPtr& element) const;

    // About what the store keeps between cycles; of other implementations that is not known, and 0.
    std::uint64_t KeptBytes() const { return m_own != nullptr ? m_own->KeptBytes() : 0; }

    // A new call to fill in; its list `in` may hold values to write over. It is stored, used up by it, and its key
    // returned by AddCall, which comes before the next NewCall.
    IQxData::HSCall& NewCall(std::optional<IQxData::HSCall>& scratch) const {
        return m_own != nullptr ? m_own->NewCall() : scratch.emplace();
    }
    unsigned long long AddCall(IQxData::HSCall& call) const {
        return m_own != nullptr ? m_own->AddNewCall() : m_store->AppendBeforeCall(call);
    }

    // The call under the key; throws PERR_CALL_NOT_FOUND. Once it has been changed, StoreChanged puts it back.
    IQxData::HSCall& Call(unsigned long long key, std::optional<IQxData::HSCall>& scratch) const {
        if (m_own != nullptr) return m_own->Call(key);
        m_store->GetCall(key, scratch.emplace());
        return *scratch;
    }
    void StoreChanged(unsigned long long key, IQxData::HSCall& call) const {
        if (m_own == nullptr) m_store->AppendAfterCall(key, call);
    }

    // A list of arguments to fill, which may hold values to write over.
    std::vector<IQxData::HSICallArg> TakeList() const {
        return m_own != nullptr ? m_own->TakeList() : std::vector<IQxData::HSICallArg>();
    }

    // Records to write over, which are no part of the store, and what is done with them when they are used no more.
    std::vector<IQxData::HSCall> TakeRecords() const {
        return m_own != nullptr ? m_own->TakeRecords() : std::vector<IQxData::HSCall>();
    }
    void KeepRecords(std::vector<IQxData::HSCall> records) const {
        if (m_own != nullptr) m_own->KeepRecords(std::move(records));
    }

private:
    IQxData* m_store = nullptr;
    QxData* m_own = nullptr;  // the same, when it is the library's
};
