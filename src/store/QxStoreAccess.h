// Reading and writing the store without copies where it is the library's own, and through its exported operations where
// it is another implementation or a class derived from it. What the store holds afterwards is the same.
#pragma once

#include <string>

#include "IQxData.h"
#include "QxLocation.h"

// The location of the current process, or of the process `pid`. The result lives in the store or in `scratch`, and is
// valid until either changes.
const QxLocation& FetchLocation(IQxData& store, unsigned int locId, QxLocation& scratch);
const QxLocation& FetchLocation(IQxData& store, unsigned int locId, unsigned short pid, QxLocation& scratch);

// The layout of the type; lives in the store or in `scratch`.
const IQxData::_HSCompArgDesc& FetchDescriptor(IQxData& store, const std::string& type,
                                               IQxData::_HSCompArgDesc& scratch);

// Whether something is told of this element of the store's script tree for the first time. Other implementations do not
// remember: there it is always the first time.
bool IsFirstReport(IQxData& store, const IQxData::_HSScriptPtr& element);

// Stores a new call, which is used up, and returns its key.
unsigned long long StoreCall(IQxData& store, IQxData::HSCall& call);

// The call under the key, in the store or in `scratch`; throws PERR_CALL_NOT_FOUND. Once it has been changed,
// StoreChanged puts it back.
IQxData::HSCall& FetchCall(IQxData& store, unsigned long long key, IQxData::HSCall& scratch);
void StoreChanged(IQxData& store, unsigned long long key, IQxData::HSCall& call);
