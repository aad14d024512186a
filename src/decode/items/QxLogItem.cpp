#include "QxLogItem.h"

#include <optional>

#include "QxArgReader.h"
#include "QxCallEntry.h"
#include "QxParser.h"

namespace {
const QxArgReader::Texts kTexts = {"[QxLogItem::Append] count not expected asize:%u, payload.size():%u, count:%u",
                                   "[QxLogItem::Append] asize not expected asize:0 ", Info,
                                   "[QxLogItem::Append] asize:%u, payload.size():%u, count:%u"};
}

int QxLogItem::Append(std::vector<char>& payload, QxParser* parser) {
    QxCursor cursor = PayloadCursor(payload, "QxLogItem::Append", parser);
    std::optional<IQxData::HSCall> callScratch;
    IQxData::HSCall& call = parser->Access().NewCall(callScratch);
    std::optional<QxLocation> scratch;
    const QxLocation& location = ReadCallEntry(cursor, *parser, call, scratch);
    if (location.site.locId == 0) {
        cursor.Print(Info, "[QxLogItem::Append] locData.locId returned 0.. skipping..");
        return static_cast<int>(payload.size());
    }
    QxArgList in(call.args.in);
    QxArgReader(cursor, *parser, kTexts, QxArgReader::Composites::PlainBytes).ReadPlan(location, location.always, in);
    in.End();
    OpenCall(*parser, call);
    return static_cast<int>(payload.size());
}
