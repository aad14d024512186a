#include "QxShiftedText.h"

#include <algorithm>
#include <cstddef>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"

unsigned ReadStringArg(const char* pBuffer, unsigned size, std::string& out) {
    if (pBuffer == nullptr) {
        QxDebugPrint::GetInstance()->Print("ReadStringArg", __LINE__, Fatal, "[ReadStringArg] pBuffer is NULL");
        return size;
    }
    const std::size_t start = out.size();
    out.resize(start + size);
    std::transform(pBuffer, pBuffer + size, out.begin() + static_cast<std::ptrdiff_t>(start),
                   [](char byte) { return static_cast<char>(static_cast<unsigned char>(byte) + 1); });
    return size;
}
