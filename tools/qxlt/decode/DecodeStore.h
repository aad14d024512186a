// A store that prints the records which describe a process as it takes them: one that it refuses is not printed. Calls
// are printed by its owner, once the dump that they came from has ended.
#pragma once

#include <string>

#include "Format.h"
#include "Output.h"
#include "ProcessStore.h"

namespace qxlt {

class DecodeStore final : public ProcessStore {
public:
    // `output` must outlive the store.
    DecodeStore(Format format, Output& output) : m_format(format), m_output(output) {}

    void AppendHeader(unsigned short pid, std::string process, std::string qxVersion, std::string swBuildString,
                      std::string swVersionModel, std::string extraField1, std::string extraField2) override;
    void AppendThread(HSIThread& thread) override;
    void AppendCallLocation(_HSCallLocation& location) override;
    void AppendCompArgDesc(std::string name, _HSCompArgDesc desc) override;

private:
    const Format m_format;
    Output& m_output;
};

}  // namespace qxlt
