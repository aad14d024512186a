// What this device is called at the broker, and which of its boots this is.
#pragma once

#include <string>

namespace qxlt {

// The name that was given or, when it is empty, one made of the machine's id, which is not to be shown itself: the same
// 32 hex digits as `systemd-id128 machine-id --app-specific=` kNameKey prints. Throws a Failure (cannot start) for a
// name that is no text or too long, and where there is no machine id.
std::string DeviceName(const std::string& given);

// The same, of the machine's id.
std::string NameOfMachine(const std::string& machineId);

// 32 hex digits: the kernel's own for this boot.
std::string BootId();

// 16 random hex digits.
std::string NewRunId();

inline constexpr char kNameKey[] = "6d2b1c5e0f7a4be3935c1a8e74d0f296";

}  // namespace qxlt
