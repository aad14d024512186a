// The lines that `decode` prints, one for each record.
#pragma once

#include <string>

#include "CallView.h"
#include "Format.h"
#include "IQxData.h"

namespace qxlt {

// What a dump says about the process that it comes from.
struct HeaderRecord {
    unsigned short pid;
    std::string process;
    std::string qxVersion;
    std::string swBuildString;
    std::string swVersionModel;
    std::string extraField1;
    std::string extraField2;
};

// How the decoding of one dump ended.
struct EndRecord {
    std::string dump;
    std::size_t bytes;
    std::size_t calls;
    bool parsed;
    bool extracted;
};

std::string HeaderLine(Format format, const HeaderRecord& header);
std::string ThreadLine(Format format, const IQxData::HSIThread& thread);
std::string LocationLine(Format format, unsigned short pid, const IQxData::_HSCallLocation& location);
// Adds what the line of a location tells.
void AddLocation(JsonLine& line, unsigned short pid, const IQxData::_HSCallLocation& location);
std::string DescriptorLine(Format format, const std::string& name, const IQxData::_HSCompArgDesc& descriptor);
std::string CallLine(Format format, const CallView& view);
std::string EndLine(Format format, const EndRecord& end);

}  // namespace qxlt
