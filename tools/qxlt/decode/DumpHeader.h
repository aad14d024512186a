// What the headers in a dump tell of the process that it comes from.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace qxlt {

struct DumpHeader {
    std::string process;
    unsigned short pid = 0;
};

// The dump's first header; nothing when it has none. Headers do not always stand ahead of everything else, so the dump
// is decoded up to it. The bytes stay as they are.
std::optional<DumpHeader> HeaderOf(std::vector<char>& dump);

// The process id that a header of the host's control tells, which is not cut to 16 bits; nothing when it tells none.
std::optional<std::uint32_t> WholeProcessId(const std::string& qxVersion, const std::string& extraField1);

}  // namespace qxlt
