// A folder of captures, each of an event that fired: NAME-000001, NAME-000002, ... The numbers are those of all events
// together, so that they tell which capture is the oldest whatever a clock says.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace qxlt {

class CaptureFolder final {
public:
    struct Bounds {
        std::uint64_t captures = 100;
        std::uint64_t bytes = 256000000;
    };

    // Makes the folder, if need be, and looks at what earlier runs have kept there: it counts, and goes first. What is
    // no such capture is left alone. Throws a Failure (cannot start).
    CaptureFolder(std::string path, const Bounds& bounds);

    // Makes the directory of a new capture, with the next number; empty when that fails, and errno tells why.
    std::string Make(const std::string& event);

    // Removes the oldest captures, as long as one more would be too many; or until so many bytes more have room. Those
    // that are being written stay. Returns whether there is room then.
    bool MakeRoomForOne();
    bool MakeRoomFor(std::uint64_t bytes);

    // The capture has grown; is complete; is to go.
    void Grow(const std::string& path, std::uint64_t bytes);
    void Close(const std::string& path);
    void Remove(const std::string& path);

private:
    struct Kept {
        std::uint64_t number;
        std::string path;
        std::uint64_t bytes;
        bool isOpen;
    };

    void Look();
    bool DropOldest();
    Kept* Find(const std::string& path);

    const std::string m_path;
    const Bounds m_bounds;
    std::vector<Kept> m_captures;  // the oldest first
    std::uint64_t m_bytes = 0;     // of all of them
    std::uint64_t m_next = 1;
};

}  // namespace qxlt
