// Reading and writing the store without copies where it is the library's own, and through its exported operations where
// it is another implementation or a class derived from it. What the store holds afterwards is the same.
#pragma once

#include <string>
#include <vector>

#include "IQxData.h"
#include "QxLocation.h"

class QxData;

class QxStoreAccess final {
public:
    // To no store; nothing may be asked for.
    QxStoreAccess() = default;
    // The store must outlive this object.
    explicit QxStoreAccess(IQxData& store);

    // The location of the current process, or of the process `pid`. The result lives in the store or in `scratch`, and
    // is valid until either changes.
    const QxLocation& Location(unsigned int locId, QxLocation& scratch) const;
    const QxLocation& Location(unsigned int locId, unsigned short pid, QxLocation& scratch) const;

    // The layout of the type; lives in the store or in `scratch`.
    const IQxData::_HSCompArgDesc& Descriptor(const std::string& type, IQxData::_HSCompArgDesc& scratch) const;

    // Whether something is told of this element of the store's script tree for the first time. Other implementations do
    // not remember: there it is always the first time.
    bool IsFirstReport(const IQxData::_HSScriptPtr& element) const;

    // A new call to fill in, in the store or in `scratch`; its list `in` may hold values to write over. It is stored,
    // used up by it, and its key returned by AddCall, which comes before the next NewCall.
    IQxData::HSCall& NewCall(IQxData::HSCall& scratch) const;
    unsigned long long AddCall(IQxData::HSCall& call) const;

    // The call under the key, in the store or in `scratch`; throws PERR_CALL_NOT_FOUND. Once it has been changed,
    // StoreChanged puts it back.
    IQxData::HSCall& Call(unsigned long long key, IQxData::HSCall& scratch) const;
    void StoreChanged(unsigned long long key, IQxData::HSCall& call) const;

    // A list of arguments to fill, which may hold values to write over.
    std::vector<IQxData::HSICallArg> TakeList() const;

private:
    IQxData* m_store = nullptr;
    QxData* m_own = nullptr;  // the same, when it is the library's
};
