#include "DecodeStore.h"

#include "DecodeLines.h"

namespace qxlt {

void DecodeStore::AppendHeader(unsigned short pid, std::string process, std::string qxVersion,
                               std::string swBuildString, std::string swVersionModel, std::string extraField1,
                               std::string extraField2) {
    ProcessStore::AppendHeader(pid, process, qxVersion, swBuildString, swVersionModel, extraField1, extraField2);
    m_output.Line(
        HeaderLine(m_format, {pid, process, qxVersion, swBuildString, swVersionModel, extraField1, extraField2}));
}

void DecodeStore::AppendThread(HSIThread& thread) {
    ProcessStore::AppendThread(thread);
    m_output.Line(ThreadLine(m_format, thread));
}

void DecodeStore::AppendCallLocation(_HSCallLocation& location) {
    ProcessStore::AppendCallLocation(location);
    m_output.Line(LocationLine(m_format, GetCurrentPID(), location));
}

void DecodeStore::AppendCompArgDesc(std::string name, _HSCompArgDesc desc) {
    ProcessStore::AppendCompArgDesc(name, desc);
    m_output.Line(DescriptorLine(m_format, name, desc));
}

}  // namespace qxlt
