// Item decoder of the time marker: sets the current thread's time base back to 0. It marks the start of a run of items;
// its payload is not read.
#pragma once

#include "IQxItem.h"

class QxTimeMaker final : public IQxItem {
public:
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
