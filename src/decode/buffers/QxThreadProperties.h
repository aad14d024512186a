// Buffer decoder of a thread's property items: a thread id, then whole items, decoded at once.
#pragma once

#include "IQxBuffer.h"

class QxThreadProperties final : public IQxBuffer {
public:
    // Makes the thread current. Returns the bytes used up, which are `size`.
    int Parse(const char* data, unsigned int size, unsigned short prefixSize, QxParser* parser) override;
    void Extract(QxParser*) override {}
};
