// Item decoder of the return from a traced call: completes the most recently opened call record with the exit time, the
// values recorded at exit and the return value.
#pragma once

#include "IQxItem.h"

class QxAfterCall final : public IQxItem {
public:
    // Throws PERR_CALL_NOT_FOUND when the store no longer holds the call.
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
