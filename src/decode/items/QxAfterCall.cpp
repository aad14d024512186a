#include "QxAfterCall.h"

#include <iterator>
#include <optional>
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
    if (to.empty()) {
        to = std::move(from);
        return;
    }
    to.insert(to.end(), std::make_move_iterator(from.begin()), std::make_move_iterator(from.end()));
}

// A list as `read` fills it. Where nothing is recorded, what is read says so and fills in nothing.
template <typename Read>
std::vector<IQxData::HSICallArg> ReadList(const QxStoreAccess& access, bool isRecorded, const Read& read) {
    std::vector<IQxData::HSICallArg> values;
    if (isRecorded) values = access.TakeList();
    QxArgList list(values);
    read(list);
    list.End();
    return values;
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
    std::optional<IQxData::HSCall> callScratch;
    const QxStoreAccess& access = parser->Access();
    IQxData::HSCall& call = access.Call(key, callScratch);
    const unsigned long long exitTime = ReadExitTime(cursor, store);
    std::optional<QxLocation> scratch;
    const QxLocation& location = access.Location(call.locId, scratch);
    if (location.site.locId == 0) {
        cursor.Print(Info, "[QxAfterCall::Append] locData.locId returned 0.. skipping..");
        return static_cast<int>(payload.size());
    }
    // Everything is read before anything is stored.
    const auto& site = location.site;
    std::vector<IQxData::HSICallArg> out = ReadList(access, !location.atExit.steps.empty(), [&](QxArgList& list) {
        QxArgReader(cursor, *parser, kTexts, QxArgReader::Composites::Decoded)
            .ReadPlan(location, location.atExit, list);
    });
    std::vector<IQxData::HSICallArg> ret = ReadList(access, site.args.retSize != 0, [&](QxArgList& list) {
        QxArgReader(cursor, *parser, kReturnTexts, QxArgReader::Composites::Decoded)
            .ReadValue(site.args.retSize, site.args.retType, list);
    });
    call.exitTime = exitTime;
    call.pid = store.GetCurrentPID();
    MoveAppend(out, call.args.out);
    MoveAppend(ret, call.args.ret);
    access.StoreChanged(key, call);
    return static_cast<int>(payload.size());
}
