// One recording as the control reads it. Nothing of it is mapped: its process may cut the file short at any moment,
// which a mapping would answer with a signal and reading does with fewer bytes. Nothing that is read is trusted: what a
// recorder cannot have written throws QxDamage.
#pragma once

#include <sys/stat.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

#include "IQxByteSource.h"
#include "QxFd.h"
#include "QxFileName.h"
#include "QxLayout.h"
#include "QxRingView.h"

namespace qxhost {

// Thrown when a file is not there, or may well be opened another time.
struct QxOpenFailure {
    int error;  // as errno has it
};

class QxRecordingFile final : public IQxByteSource {
public:
    // Tells files apart, whatever their names. Of a file that is held open, as long as it is.
    using Id = std::pair<dev_t, ino_t>;
    static Id IdOf(const struct stat& status) { return {status.st_dev, status.st_ino}; }

    // Opens the file of that name in the directory. Throws QxDamage when it is no recording that this user may read,
    // and QxOpenFailure.
    QxRecordingFile(int directoryFd, const std::string& fileName, const QxFileName& name);

    // Opens any file that the user may read, without writing to it; its name is what its header says. Throws the same.
    explicit QxRecordingFile(const std::string& path);

    const qxlayout::Geometry& Geometry() const { return m_geometry; }
    const QxFileName& Name() const { return m_name; }

    Id GetId() const { return m_id; }

    // The process that it belongs to as it is known here, be it another one than the name says; see QxOwners.
    void SetPid(pid_t pid) { m_name.pid = pid; }

    // Whether the file is still in some directory.
    bool HasName() const;

    void Read(std::uint64_t offset, void* out, std::size_t size) const override;

    // Calls of threads that had no slot.
    std::uint64_t ReadRefused() const;

    // How many bytes of the metadata are complete; reading them.
    std::size_t ReadMetaUsed() const;
    std::string ReadMeta(std::size_t offset, std::size_t size) const;

    // The ring of a slot. The file must outlive it.
    QxRingView Ring(std::size_t slot) const { return {*this, m_geometry, slot}; }

    // Tells the recorder that it may use again what lies before the position. Best effort: a ring that overwrites does
    // not care, and one that refuses goes on refusing.
    void WriteConsumed(std::size_t slot, std::uint64_t position) const;

private:
    void ReadStatus(struct stat& status);
    std::array<std::uint64_t, qxlayout::kHeaderWords> ReadHeader();

    QxFileName m_name;
    QxFd m_fd;
    Id m_id;
    qxlayout::Geometry m_geometry;
};

}  // namespace qxhost
