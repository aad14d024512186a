// What the two items that make a new call record, call entries and log items, have in common.
#pragma once

#include <optional>

#include "IQxData.h"
#include "QxLocation.h"

class QxCursor;
class QxDecodeContext;

// Reads the time delta, advances the current thread's time base by it, and reads the location. Sets all of the call but
// its arguments. Returns the location, which lives in the store or in `scratch`.
const QxLocation& ReadCallEntry(QxCursor& cursor, QxDecodeContext& context, IQxData::HSCall& call,
                                std::optional<QxLocation>& scratch);

// Stores the call, which is used up, and puts its key on the stack of open calls.
void OpenCall(QxDecodeContext& context, IQxData::HSCall& call);
