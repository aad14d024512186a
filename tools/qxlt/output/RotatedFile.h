// A file that lines are added to for months: it begins anew when it is full, and when somebody has moved it away.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "Descriptor.h"
#include "ILineSink.h"
#include "LostLines.h"

namespace qxlt {

class RotatedFile final : public ILineSink {
public:
    struct Bounds {
        std::uint64_t size = 0;  // of each file, which a single longer line alone exceeds; 0: it grows without end
        unsigned kept = 5;       // files besides it: FILE.1, the latest, FILE.2, ...; at least 1
    };

    // Goes on behind what the file holds, or makes it. Throws a Failure (cannot start).
    RotatedFile(std::string path, const Bounds& bounds);

    // Lines are whole: one that there is no room for leaves nothing behind.
    void Write(const std::string& line, const LineFields& fields) override;
    void End() override { m_lost.End(); }
    bool Failed() const override { return m_lost.Any(); }

private:
    bool Open();
    bool IsInPlace() const;
    bool TryWrite(const std::string& line);
    bool MakeRoom(std::size_t size);
    void Rotate();
    bool Append(const std::string& text);

    const std::string m_path;
    const Bounds m_bounds;
    std::optional<Descriptor> m_file;
    bool m_isDevice = false;     // as /dev/null is: it neither grows nor goes
    bool m_isLineBegun = false;  // something stands behind the last end of a line
    bool m_rotates = true;       // until that has failed
    LostLines m_lost;
};

}  // namespace qxlt
