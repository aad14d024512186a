// Buffer decoder of a run of whole items, decoded at once.
#pragma once

#include "IQxBuffer.h"

class QxPersistentBuffer final : public IQxBuffer {
public:
    // Returns `size`. An item tag of 0 ends the run early.
    int Parse(const char* data, unsigned int size, unsigned short prefixSize, QxParser* parser) override;
    void Extract(QxParser*) override {}
};
