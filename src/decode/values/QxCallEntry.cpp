#include "QxCallEntry.h"

#include "QxCallCost.h"
#include "QxCursor.h"
#include "QxDecodeContext.h"
#include "QxStoreAccess.h"

const QxLocation& ReadCallEntry(QxCursor& cursor, QxDecodeContext& context, IQxData::HSCall& call,
                                QxLocation& scratch) {
    IQxData& store = context.Store();
    call.tid = store.GetCurrentThread();
    call.time = cursor.Varint64() + store.GetThreadTime();
    store.SetThreadTime(call.time);
    call.locId = cursor.Varint();
    const QxLocation& location = FetchLocation(store, call.locId, scratch);
    call.pid = store.GetCurrentPID();
    return location;
}

void OpenCall(QxDecodeContext& context, IQxData::HSCall& call) {
    IQxData& store = context.Store();
    context.Budget().TakeCall();
    context.Budget().TakeCallBytes(qxcost::kCall);
    store.SetLocationMarker(StoreCall(store, call));
}
