// The control: finds the recordings of a program by its name and writes what came since the last dump into a dump file.
// It removes none: what it has read to the end, and what it leaves alone, it remembers as long as the file is there.
// One object serves all trackers of a program; any thread may call it.
#pragma once

#include <qx/IControl.h>

#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "QxCatalog.h"
#include "QxDumpBuilder.h"
#include "QxOwners.h"
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
    void Watch(const std::string& process);
    std::vector<qx::host::ProcessState> GetProcesses(const std::string& process);
    bool GetLoss(const std::string& process, qx::host::Loss* total, qx::host::Loss* lastDump);
    std::vector<qx::host::ThreadLoss> GetThreadLoss(const std::string& process);
    void SetOpenCallLimit(unsigned milliseconds);
    const std::string& Directory() const { return m_directory; }

private:
    // A recording that was found.
    struct Recording {
        std::string fileName;
        std::unique_ptr<QxRecordingReader> reader;  // null: nothing more is read of it
        pid_t owner = 0;                            // the process, 0 when it had ended when it was looked for last
        // It had ended before the watch began, or was read to its end.
        bool isDone = false;
        std::string damage;  // why it was given up
    };
    // By the file, whose name goes to another one when the program runs another one in its place.
    using Recordings = std::map<QxRecordingFile::Id, Recording>;

    // What is known of one program name.
    struct Program {
        bool isWatched = false;
        bool wasDumped = false;
        std::size_t bestFit = 1;  // how well the names fit whose recordings are read
        QxCatalog catalog;
        Recordings recordings;
        std::deque<pid_t> endedPids;  // of processes whose recordings were read, those that ended last
        qx::host::Loss ended;         // of the readers that were dropped
        qx::host::Loss lastDump;      // of the last dump alone
        std::string describedItems;   // what `description` was made from
        std::string description;

        qx::host::Loss Total() const;
        bool HasReaders() const;
        // Forgets what was read, so that it is read again.
        void Restart();
        void NoteEnd(pid_t pid);
    };

    // The directory with the names of the recordings in it.
    struct Listing {
        QxFd directory;       // empty when it is not there, or not usable
        std::string problem;  // why it is not usable
        std::vector<std::string> fileNames;
    };

    Listing List();
    void BeginWatch(const Listing& listing, Program& program);
    bool Dump(std::vector<char>& path, const std::string& process, bool first);
    void FindRecordings(const Listing& listing, const std::string& process, bool first, Program& program);
    void TakeUp(int directoryFd, const std::string& fileName, bool first, Program& program);
    void OpenRecording(int directoryFd, const std::string& fileName, bool first, Program& program,
                       QxRecordingFile::Id id);
    void ReadRecordings(Program& program, QxDumpBuilder& builder);
    void GiveUp(Recording& recording, const std::string& reason);
    static const std::string& Describe(Program& program);
    static void DropRead(int directoryFd, Program& program);
    static std::set<pid_t> Ended(const Program* program);
    static std::set<pid_t> Running(const std::string& process, const Listing& listing);
    qx::host::ProcessState StateOf(pid_t pid, const std::string& process, const Listing& listing,
                                   const Program* program) const;
    static qx::host::ProcessState StateOfRecording(pid_t pid, const Listing& listing, const std::string& fileName,
                                                   const Program* program);
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
