#include "QxShiftedText.h"

#include "IQxLogTracker.h"
#include "QxDebugPrint.h"

unsigned ReadStringArg(const char* pBuffer, unsigned size, std::string& out) {
    if (pBuffer == nullptr) {
        QxDebugPrint::GetInstance()->Print("ReadStringArg", __LINE__, Fatal, "[ReadStringArg] pBuffer is NULL");
        return size;
    }
    const std::size_t start = out.size();
    out.resize(start + size);
    qxshifted::Write(pBuffer, &out[start], size);
    return size;
}
