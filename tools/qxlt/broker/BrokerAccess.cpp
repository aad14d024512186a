#include "BrokerAccess.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>
#include <vector>

#include "Descriptor.h"
#include "Failure.h"

namespace qxlt {

namespace {

constexpr std::size_t kMostBytes = 4096;

[[noreturn]] void Refuse(const std::string& file, const std::string& problem) {
    throw Failure(kCannotStart, file + ": " + problem);
}

// Of the file that was opened, not of one that stands in its place by now.
void RequirePrivate(const Descriptor& descriptor, const std::string& file) {
    struct stat status {};
    if (fstat(descriptor.Get(), &status) != 0) Refuse(file, std::strerror(errno));
    if (!S_ISREG(status.st_mode)) Refuse(file, "is no file with user and password");
    if (status.st_uid != geteuid() && status.st_uid != 0) {
        Refuse(file, "belongs to somebody else; let it belong to who runs qxlt");
    }
    if ((status.st_mode & 077) != 0) Refuse(file, "others can read the password; run chmod 600 on it");
}

std::string ReadPrivate(const std::string& file) {
    const Descriptor descriptor(open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!descriptor.IsOpen()) Refuse(file, std::strerror(errno));
    RequirePrivate(descriptor, file);
    std::string text(kMostBytes + 1, '\0');
    const ssize_t size = read(descriptor.Get(), text.data(), text.size());
    if (size < 0) Refuse(file, std::strerror(errno));
    text.resize(static_cast<std::size_t>(size));
    if (text.size() > kMostBytes) Refuse(file, "has more than a user and a password");
    return text;
}

std::vector<std::string> LinesOf(const std::string& text) {
    std::vector<std::string> lines;
    for (std::size_t begin = 0; begin < text.size();) {
        const std::size_t end = std::min(text.find('\n', begin), text.size());
        lines.push_back(text.substr(begin, end - begin));
        if (!lines.back().empty() && lines.back().back() == '\r') lines.back().pop_back();
        begin = end + 1;
    }
    return lines;
}

// One line is the password of the user in the address, two are the user and the password.
void ReadCredentials(const std::string& file, BrokerAccess& access) {
    const std::vector<std::string> lines = LinesOf(ReadPrivate(file));
    const std::size_t expected = access.user.empty() ? 2 : 1;
    if (lines.size() != expected || lines.front().empty()) {
        Refuse(file, access.user.empty() ? "is to have two lines, the user and the password"
                                         : "is to have one line, the password of the user in the address");
    }
    if (access.user.empty()) access.user = lines.front();
    access.password = lines.back();
}

void RequireReadable(const std::string& file) {
    if (!file.empty() && access(file.c_str(), R_OK) != 0) Refuse(file, std::strerror(errno));
}

}  // namespace

BrokerAccess ReadBrokerAccess(const BrokerOptions& options) {
    BrokerAccess access{ReadBrokerAddress(options.address), options.ca, options.certificate, options.key, {}, {}};
    access.user = access.address.user;
    if (!access.address.isSecure && (!options.ca.empty() || !options.certificate.empty())) {
        throw Failure(kCannotStart, "--ca and --cert are for mqtts://, and the address begins with mqtt://");
    }
    for (const std::string& file : {options.ca, options.certificate, options.key}) RequireReadable(file);
    if (!options.credentials.empty()) ReadCredentials(options.credentials, access);
    return access;
}

}  // namespace qxlt
