#include "QxCallEntry.h"

#include "QxCallCost.h"
#include "QxCursor.h"
#include "QxParser.h"
#include "QxStoreAccess.h"

const QxLocation& ReadCallEntry(QxCursor& cursor, QxParser& parser, IQxData::HSCall& call, QxLocation& scratch) {
    IQxData& store = parser.Store();
    call.tid = store.GetCurrentThread();
    call.time = cursor.Varint64() + store.GetThreadTime();
    store.SetThreadTime(call.time);
    call.locId = cursor.Varint();
    const QxLocation& location = FetchLocation(store, call.locId, scratch);
    call.pid = store.GetCurrentPID();
    return location;
}

void OpenCall(QxParser& parser, IQxData::HSCall& call) {
    IQxData& store = parser.Store();
    parser.Budget().TakeCall();
    parser.Budget().TakeCallBytes(qxcost::kCall);
    store.SetLocationMarker(StoreCall(store, call));
}
