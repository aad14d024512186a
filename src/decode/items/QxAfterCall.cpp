#include "QxAfterCall.h"

#include <iterator>
#include <utility>

#include "QxArgReader.h"
#include "QxFormat.h"
#include "QxParser.h"
#include "QxStoreAccess.h"

namespace {

// The comma after "expected" stands in this item's texts only.
const QxArgReader::Texts kTexts = {"[QxAfterCall::Append] count not expected, asize:%u, payload.size():%u, count:%u",
                                   "[QxAfterCall::Append] asize not expected asize:0 ", Major,
                                   "[QxAfterCall::Append] asize:%u, payload.size():%u, count:%u"};
const QxArgReader::Texts kReturnTexts = {
    "[QxAfterCall::Append] count not expected, rsize:%u, payload.size():%u, count:%u", nullptr, Major,
    "[QxAfterCall::Append] rsize:%u, payload.size():%u, count:%u"};

void MoveAppend(std::vector<IQxData::HSICallArg>& from, std::vector<IQxData::HSICallArg>& to) {
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

unsigned long long ReadExitTime(QxCursor& cursor, IQxData& store) {
    const unsigned long long exitTime = qxformat::kExitUnit * cursor.Varint64() + store.GetThreadTime();
    store.SetThreadTime(exitTime);
    return exitTime;
}

}  // namespace

int QxAfterCall::Append(std::vector<char>& payload, QxParser* parser) {
    QxCursor cursor = PayloadCursor(payload, "QxAfterCall::Append", parser);
    IQxData& store = parser->Store();
    const unsigned long long key = store.GetLocationMarker();
    IQxData::HSCall callScratch;
    IQxData::HSCall& call = FetchCall(store, key, callScratch);
    const unsigned long long exitTime = ReadExitTime(cursor, store);
    QxLocation scratch;
    const QxLocation& location = FetchLocation(store, call.locId, scratch);
    if (location.site.locId == 0) {
        cursor.Print(Info, "[QxAfterCall::Append] locData.locId returned 0.. skipping..");
        return static_cast<int>(payload.size());
    }
    // Everything is read before anything is stored.
    IQxData::HSCall::Args read;
    QxArgReader(cursor, *parser, kTexts, QxArgReader::Composites::Decoded)
        .ReadPlan(location, location.atExit, read.out);
    QxArgReader(cursor, *parser, kReturnTexts, QxArgReader::Composites::Decoded)
        .ReadValue(location.site.args.retSize, location.site.args.retType, read.ret);
    call.exitTime = exitTime;
    call.pid = store.GetCurrentPID();
    MoveAppend(read.out, call.args.out);
    MoveAppend(read.ret, call.args.ret);
    StoreChanged(store, key, call);
    return static_cast<int>(payload.size());
}
