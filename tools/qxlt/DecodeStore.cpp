#include "DecodeStore.h"

#include <utility>

#include "RecordLine.h"

namespace qxlt {

void DecodeStore::AppendHeader(unsigned short pid, std::string process, std::string qxVersion,
                               std::string swBuildString, std::string swVersionModel, std::string extraField1,
                               std::string extraField2) {
    m_output.Line(
        HeaderLine(m_format, {pid, process, qxVersion, swBuildString, swVersionModel, extraField1, extraField2}));
    QxData::AppendHeader(pid, std::move(process), std::move(qxVersion), std::move(swBuildString),
                         std::move(swVersionModel), std::move(extraField1), std::move(extraField2));
}

// The store sets the thread's process, so it goes first.
void DecodeStore::AppendThread(HSIThread& thread) {
    QxData::AppendThread(thread);
    m_output.Line(ThreadLine(m_format, thread));
}

void DecodeStore::AppendCallLocation(_HSCallLocation& location) {
    m_output.Line(LocationLine(m_format, GetCurrentPID(), location));
    QxData::AppendCallLocation(location);
}

void DecodeStore::AppendCompArgDesc(std::string name, _HSCompArgDesc desc) {
    m_output.Line(DescriptorLine(m_format, name, desc));
    QxData::AppendCompArgDesc(std::move(name), std::move(desc));
}

}  // namespace qxlt
