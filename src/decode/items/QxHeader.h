// Item decoder of the process header: process id and name, versions, and two fields that are carried along.
#pragma once

#include "IQxItem.h"

class QxHeader final : public IQxItem {
public:
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
