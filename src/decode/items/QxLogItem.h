// Item decoder of a log record: a call record made at one point, with all arguments of its location. Its key goes on
// the stack of open calls like that of a call, though nothing closes it: an exit that follows completes the log record.
#pragma once

#include "IQxItem.h"

class QxLogItem final : public IQxItem {
public:
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
