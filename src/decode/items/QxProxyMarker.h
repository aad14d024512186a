// Item decoder of a marker that holds one varint: checked, not stored.
#pragma once

#include "IQxItem.h"

class QxProxyMarker final : public IQxItem {
public:
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
