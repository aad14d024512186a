#include "ResultFile.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include "Failure.h"

namespace qxlt {

ResultFile::ResultFile(std::string path, std::string again)
    : m_path(std::move(path)), m_again(std::move(again)), m_file(m_path, std::ios::binary) {
    std::signal(SIGXFSZ, SIG_IGN);  // a file size limit is met as an error of the write
    if (!m_file)
        throw Failure(kCannotStart, m_path + ": " + std::strerror(errno) + "; name a file that can be written");
}

void ResultFile::Close() {
    errno = 0;
    m_file.close();
    if (m_file) return;
    const std::string why = errno == 0 ? "" : std::string(", ") + std::strerror(errno);
    throw Failure(kInputWrong, m_path + ": not all could be written" + why + "; make room and " + m_again + " again");
}

}  // namespace qxlt
