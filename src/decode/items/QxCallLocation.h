// Item decoder of a call location: the description of one traced call site.
#pragma once

#include "IQxItem.h"

class QxCallLocation final : public IQxItem {
public:
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
