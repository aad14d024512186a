#include "ProcessNames.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>

#include "Failure.h"
#include "Messages.h"

namespace qxlt {

namespace {

bool IsDecimal(const std::string& text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

unsigned short ReadId(const std::string& process, const std::string& text) {
    constexpr std::size_t kMostDigits = 9;  // more than any process id has
    if (!IsDecimal(text) || text.size() > kMostDigits) {
        throw Failure(kCannotStart, "-p " + process + "=" + text + ": the process id is no number; write NAME=PID");
    }
    const unsigned long pid = std::stoul(text);
    if (pid > UINT16_MAX) WarnOfCutId(process, pid);
    return static_cast<unsigned short>(pid);
}

}  // namespace

void WarnOfCutId(const std::string& process, unsigned long pid) {
    PrintWarning(process + ": process id " + std::to_string(pid) + " does not fit 16 bits and counts as " +
                 std::to_string(pid & UINT16_MAX));
}

std::pair<std::string, unsigned short> ProcessNames::Parse(const std::string& text) {
    const std::size_t sign = text.rfind('=');
    const std::string name = text.substr(0, sign);
    if (name.empty()) throw Failure(kCannotStart, "-p " + text + ": the process has no name; write NAME=PID");
    if (sign == std::string::npos) return {name, static_cast<unsigned short>(0)};
    return {name, ReadId(name, text.substr(sign + 1))};
}

void ProcessNames::Register(IQxData& store) const {
    for (const auto& [name, pid] : m_pids) store.AppendProcessName(pid, name);
}

const std::string& ProcessNames::NameOf(unsigned short pid) const {
    static const std::string none;
    const auto found =
        std::find_if(m_pids.begin(), m_pids.end(), [pid](const auto& process) { return process.second == pid; });
    return found == m_pids.end() ? none : found->first;
}

}  // namespace qxlt
