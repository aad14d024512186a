// Turns the recorded bytes of a composite argument into pairs, following the descriptor of its type and those of its
// members' types. Composites nest 64 deep at most, and one value yields 1,048,576 pairs at most.
#pragma once

#include "IQxData.h"

class QxCursor;
class QxDecodeContext;
class QxParser;

class QxCompCallParser final {
public:
    // Decodes one value at the cursor, a container or a composite as the descriptor says. Its pairs are written over
    // what stands in `out`. Throws PERR_INVALID_SIZE; `out` then holds anything.
    static void Parse(QxCursor& cursor, const IQxData::_HSCompArgDesc& desc, IQxData::HSICallArg& out,
                      QxDecodeContext& context);

    // The same on bare bytes, whose pairs are appended to `out`; each returns how many of them it took. Requires: all
    // bytes that the value claims are there. A container is a varint count and that many composites of the one layout.
    static int Parse(char* bytes, IQxData::_HSCompArgDesc& desc, IQxData::HSICallArg& out, QxParser* parser);
    static int ParseContainer(char* bytes, IQxData::_HSCompArgDesc& desc, IQxData::HSICallArg& out, QxParser* parser);
    static int ParseComposite(char* bytes, IQxData::_HSCompArgDesc& desc, IQxData::HSICallArg& out, QxParser* parser);
};
