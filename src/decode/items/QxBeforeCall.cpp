#include "QxBeforeCall.h"

#include <optional>

#include "QxArgReader.h"
#include "QxCallEntry.h"
#include "QxParser.h"

namespace {
const QxArgReader::Texts kTexts = {"[QxBeforeCall::Append] count not expected asize:%u, payload.size():%u, count:%u",
                                   "[QxBeforeCall::Append] asize not expected asize:0 ", Major,
                                   "[QxBeforeCall::Append] asize:%u, payload.size():%u, count:%u"};
}

// A call of an unknown location is stored too, without arguments.
int QxBeforeCall::Append(std::vector<char>& payload, QxParser* parser) {
    QxCursor cursor = PayloadCursor(payload, "QxBeforeCall::Append", parser);
    std::optional<IQxData::HSCall> callScratch;
    IQxData::HSCall& call = parser->Access().NewCall(callScratch);
    std::optional<QxLocation> scratch;
    const QxLocation& location = ReadCallEntry(cursor, *parser, call, scratch);
    QxArgList in(call.args.in);
    QxArgReader(cursor, *parser, kTexts, QxArgReader::Composites::Decoded).ReadPlan(location, location.atEntry, in);
    in.End();
    OpenCall(*parser, call);
    return static_cast<int>(payload.size());
}
