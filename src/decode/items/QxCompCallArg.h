// Item decoder of a composite argument descriptor: the layout of one structured argument type.
#pragma once

#include "IQxItem.h"
#include "QxShiftedText.h"

class QxCompCallArg final : public IQxItem {
public:
    int Append(std::vector<char>& payload, QxParser* parser) override;
};
