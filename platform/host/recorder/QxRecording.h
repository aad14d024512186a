// The recording of one process: its file in the runtime directory, with the header, the slots and the metadata mapped,
// and the storage of each ring taken when it is needed.
#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "QxFd.h"
#include "QxLayout.h"
#include "QxMapping.h"

namespace qxhost {

class QxRecording {
public:
    // Makes the calling process's recording in the directory, complete before it appears under its name. Null when that
    // fails, with one line in `error`. Removes what dead processes left that is too old; see QxLeftovers.
    static std::unique_ptr<QxRecording> Create(const std::string& directory, const qxlayout::Geometry& geometry,
                                               bool refuseWhenFull, std::string& error);

    // The bytes that a record of metadata takes.
    static std::size_t MetadataSize(const std::string& content);

    // Appends a record to the metadata, from where it is never removed. False when there is no room. Not thread-safe.
    bool AppendMetadata(qxlayout::MetaKind kind, const std::string& content);

    // Takes and maps the storage of a slot's ring; empty when that fails, with one line in `error`.
    QxMapping MapRing(std::size_t slot, std::string& error) const;

    // The words of the header and of a slot, valid as long as the recording.
    qxlayout::SharedWord* Header() const { return m_front.Words(0); }
    qxlayout::SharedWord* SlotWords(std::size_t slot) const {
        return m_front.Words(qxlayout::Geometry::SlotOffset(slot));
    }

private:
    QxRecording(const std::string& directory, const qxlayout::Geometry& geometry);

    bool Write(int directoryFd, bool refuseWhenFull, std::string& error);
    void WriteHeader(bool refuseWhenFull);

    const std::string m_directory;
    const qxlayout::Geometry m_geometry;
    std::string m_processName;
    std::uint64_t m_startTime;
    std::string m_fileName;
    dev_t m_device = 0;  // the file's identity: it is opened anew for each ring, since programs close descriptors
    ino_t m_inode = 0;   // that they do not know
    QxMapping m_front;
    std::size_t m_metaUsed = 0;
};

}  // namespace qxhost
