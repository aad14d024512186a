#include "RecordingInput.h"

#include <vector>

#include "DumpHeader.h"
#include "DumpInput.h"
#include "RecordingChoice.h"

namespace qxlt {

ReplayInput RecordingInput(const std::string& recording, const std::string& process) {
    ReplayInput input;
    input.dumps = {ChooseRecording(recording)};
    RequireReadable(input.dumps);
    std::vector<char> dump = ReadDump(input.dumps.front());
    const DumpHeader header = HeaderOf(dump).value_or(DumpHeader());
    input.process = process.empty() ? header.process + "=" + std::to_string(header.pid) : process;
    return input;
}

}  // namespace qxlt
