// Item decoder of a thread's name. The thread is the store's current one; the item carries no id.
#pragma once

#include "IQxItem.h"

class QxThreadData final : public IQxItem {
public:
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
