// Writes a dump file: into a new file first, which then takes the place of the dump before, so that whoever reads sees
// one of the two, whole.
#pragma once

#include <string>

#include "QxFileName.h"

namespace qxhost {

class QxDumpWriter {
public:
    // For the dumps of a program that the calling process takes, in that directory.
    QxDumpWriter(int directoryFd, const std::string& process);

    // False when it cannot be written; then there is no new file left, and Error says why.
    bool Write(const std::string& dump);

    const std::string& FileName() const { return m_fileName; }
    const std::string& Error() const { return m_error; }

private:
    bool WriteNew(const std::string& newName, const std::string& dump);

    const int m_directoryFd;  // not owned
    QxFileName m_name;
    const std::string m_fileName;
    std::string m_error;
};

}  // namespace qxhost
