// Item decoder of the entry into a traced call: makes a new call record with the values recorded at entry, and puts its
// key on the stack of open calls.
#pragma once

#include "IQxItem.h"

class QxBeforeCall final : public IQxItem {
public:
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
