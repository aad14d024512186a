// Item decoder of a composite argument descriptor: the layout of one structured argument type. Also home of the reading
// of shifted strings.
#pragma once

#include <string>

#include "IQxItem.h"

class QxCompCallArg final : public IQxItem {
public:
    int Append(std::vector<char>& payload, QxParser* parser) override;
};

// Appends `size` bytes at `pBuffer` to `out`, each plus one (modulo 256): names travel with every byte one less than
// its character. Returns `size`, also for a null buffer, which is reported and appends nothing. Requires: the bytes are
// there.
unsigned ReadStringArg(const char* pBuffer, unsigned size, std::string& out);
