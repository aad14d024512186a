// The control: finds the recordings of a program by its name and writes what came since the last dump into a dump file.
// One object serves all trackers of a program; any thread may call it.
#pragma once

#include <qx/IControl.h>

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "QxCatalog.h"
#include "QxDumpBuilder.h"
#include "QxRecordingReader.h"
#include "QxTidPool.h"
#include "qx/control.h"

namespace qxhost {

class QxControl final : public qx::IControl {
public:
    // Works in that directory.
    explicit QxControl(std::string directory);

    // See qx::IControl. A dump is written even without calls when `first` is set and there is a recording. The file is
    // named after the program and this process, and replaced by the next dump. Each failure is printed once.
    bool getQxBufferDump(std::vector<char>& path, const std::string& process, bool first) override;

    // See qx/control.h.
    bool GetLoss(const std::string& process, qx::host::Loss* total, qx::host::Loss* lastDump);
    std::vector<qx::host::ThreadLoss> GetThreadLoss(const std::string& process);
    void SetOpenCallLimit(unsigned milliseconds);
    const std::string& Directory() const { return m_directory; }

private:
    // A recording that was found.
    struct Recording {
        std::string fileName;
        std::unique_ptr<QxRecordingReader> reader;  // null: it was given up
        bool isAlive = true;                        // whether its process ran when it was looked for last
    };
    // By the file, whose name goes to another one when the program runs another one in its place.
    using Recordings = std::map<QxRecordingFile::Id, Recording>;

    // What is known of one program name.
    struct Program {
        QxCatalog catalog;
        Recordings recordings;
        qx::host::Loss ended;        // of the readers that were dropped
        qx::host::Loss lastDump;     // of the last dump alone
        std::string describedItems;  // what `description` was made from
        std::string description;

        qx::host::Loss Total() const;
        bool HasReaders() const;
    };

    bool Dump(std::vector<char>& path, const std::string& process, bool first);
    void FindRecordings(int directoryFd, const std::vector<std::string>& fileNames, const std::string& process,
                        bool first, Program& program);
    void TakeUp(int directoryFd, const std::string& fileName, bool first, Program& program);
    void OpenRecording(int directoryFd, const std::string& fileName, bool first, Program& program,
                       QxRecordingFile::Id id);
    void ReadRecordings(Program& program, QxDumpBuilder& builder);
    void GiveUp(const std::string& fileName, const std::string& reason);
    const std::string& Describe(Program& program) const;
    void DropDrained(int directoryFd, Program& program);
    void ReportOnce(const std::string& message);

    const std::string m_directory;
    std::mutex m_mutex;  // guards all below
    QxTidPool m_tids;    // outlives the readers, which give back what they took
    std::map<std::string, Program> m_programs;
    std::uint64_t m_openCallLimitNs = 5000000000;
    bool m_hasCleaned = false;
    std::set<std::string> m_reported;
};

}  // namespace qxhost
