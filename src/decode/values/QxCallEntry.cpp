#include "QxCallEntry.h"

#include "QxCallCost.h"
#include "QxCursor.h"
#include "QxDecodeContext.h"

const QxLocation& ReadCallEntry(QxCursor& cursor, QxDecodeContext& context, IQxData::HSCall& call,
                                std::optional<QxLocation>& scratch) {
    IQxData& store = context.Store();
    call.tid = store.GetCurrentThread();
    call.time = cursor.Varint64() + store.GetThreadTime();
    store.SetThreadTime(call.time);
    call.locId = cursor.Varint();
    const QxLocation& location = context.Access().Location(call.locId, scratch);
    call.pid = store.GetCurrentPID();
    return location;
}

void OpenCall(QxDecodeContext& context, IQxData::HSCall& call) {
    context.Budget().TakeCall();
    context.Budget().TakeCallBytes(qxcost::kCall);
    context.Store().SetLocationMarker(context.Access().AddCall(call));
}
