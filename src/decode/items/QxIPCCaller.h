// Item decoder of the caller of an inter-process call: checked, not stored.
#pragma once

#include "IQxItem.h"

class QxIPCCaller final : public IQxItem {
public:
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
