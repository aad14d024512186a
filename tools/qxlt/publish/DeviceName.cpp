#include "DeviceName.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <sys/random.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <random>

#include "Failure.h"
#include "Text.h"

namespace qxlt {

namespace {

constexpr std::size_t kLongestName = 128;
constexpr std::size_t kIdDigits = 32;

std::string FirstLine(const char* file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

bool IsId(const std::string& text) {
    return text.size() == kIdDigits && text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

void RequireName(const std::string& name) {
    const bool isText = IsUtf8(name) && std::none_of(name.begin(), name.end(), [](char byte) {
                            return static_cast<unsigned char>(byte) < ' ' || byte == '\x7f';
                        });
    if (!isText) throw Failure(kCannotStart, "--device: the name holds what is no text");
    if (name.size() > kLongestName) throw Failure(kCannotStart, "--device: the name has more than 128 bytes");
}

}  // namespace

// As systemd does it: the key makes the ids of different applications differ, and the bits say that it is a random one.
std::string NameOfMachine(const std::string& machineId) {
    const std::string id = Unhex(machineId);
    const std::string application = Unhex(kNameKey);
    std::array<unsigned char, EVP_MAX_MD_SIZE> sum{};
    HMAC(EVP_sha256(), id.data(), static_cast<int>(id.size()),
         reinterpret_cast<const unsigned char*>(application.data()), application.size(), sum.data(), nullptr);
    sum[6] = static_cast<unsigned char>((sum[6] & 0x0f) | 0x40);
    sum[8] = static_cast<unsigned char>((sum[8] & 0x3f) | 0x80);
    return Hex(std::string(sum.begin(), sum.begin() + kIdDigits / 2));
}

std::string DeviceName(const std::string& given) {
    RequireName(given);
    if (!given.empty()) return given;
    const std::string id = FirstLine("/etc/machine-id");
    if (!IsId(id)) throw Failure(kCannotStart, "/etc/machine-id holds no id; name this device with --device");
    return NameOfMachine(id);
}

std::string BootId() {
    std::string id = FirstLine("/proc/sys/kernel/random/boot_id");
    id.erase(std::remove(id.begin(), id.end(), '-'), id.end());
    return IsId(id) ? id : std::string(kIdDigits, '0');
}

std::string NewRunId() {
    char bytes[8];
    if (getrandom(bytes, sizeof bytes, 0) == static_cast<ssize_t>(sizeof bytes)) return Hex({bytes, sizeof bytes});
    std::random_device device;
    for (char& byte : bytes) byte = static_cast<char>(device());
    return Hex({bytes, sizeof bytes});
}

}  // namespace qxlt
