#include "CaptureLayout.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>

namespace qxlt {

namespace {

constexpr char kPlain[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._-";

bool IsPlain(char byte) {
    return byte != '\0' && std::strchr(kPlain, byte) != nullptr;
}

std::string Escape(char byte) {
    char text[4];
    std::snprintf(text, sizeof text, "%%%02X", static_cast<unsigned>(static_cast<unsigned char>(byte)));
    return text;
}

}  // namespace

std::string CycleName(std::uint64_t number) {
    char text[24];
    std::snprintf(text, sizeof text, "%06" PRIu64, number);
    return text;
}

std::string FileNameOf(const std::string& text) {
    std::string name;
    for (const char byte : text) {
        const bool hides = name.empty() && byte == '.';
        name += IsPlain(byte) && !hides ? std::string(1, byte) : Escape(byte);
    }
    return name;
}

std::string DumpName(const std::string& process) {
    return FileNameOf(process) + ".qxdump";
}

std::string LossName(const std::string& process) {
    return FileNameOf(process) + ".qxloss";
}

std::string ChangesName(const std::string& process) {
    return FileNameOf(process) + ".qxlife";
}

}  // namespace qxlt
