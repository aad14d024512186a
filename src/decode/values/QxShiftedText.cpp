#include "QxShiftedText.h"

#include <cstddef>

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"

unsigned ReadStringArg(const char* pBuffer, unsigned size, std::string& out) {
    if (pBuffer == nullptr) {
        QxDebugPrint::GetInstance()->Print("ReadStringArg", __LINE__, Fatal, "[ReadStringArg] pBuffer is NULL");
        return size;
    }
    const std::size_t start = out.size();
    out.append(pBuffer, size);
    for (std::size_t i = start; i < out.size(); ++i) {
        out[i] = static_cast<char>(static_cast<unsigned char>(out[i]) + 1);
    }
    return size;
}
