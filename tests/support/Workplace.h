// A directory of a test's own, and what is put into it.
#pragma once

#include <string>
#include <vector>

class Workplace final {
public:
    Workplace();
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;
    // Removes it with all that it holds.
    ~Workplace();

    const std::string& Path() const { return m_path; }

    // The path of that name in it.
    std::string At(const std::string& name) const { return m_path + "/" + name; }

    // Writes a file, with the folders above it. Returns its path.
    std::string Write(const std::string& name, const std::string& content) const;

    std::string Read(const std::string& name) const;

    // Puts a copy of the program into it, under a name that no other process of the machine has. Returns the name, of
    // at most 15 bytes, so that the system keeps it whole. A second copy takes the name of the first.
    std::string CopyUnderOwnName(const std::string& program) const;

private:
    std::string m_path;
};

// A scenario with one action on SetVolume, whose events are given; `process` is the action's.
std::string VolumeScript(const std::string& events, const std::string& process = "media-server");

// An event that fires for each call, with the volume.
inline constexpr char kEveryVolume[] = "<event name=\"VOLUME\" tag=\"IN\" value=\"0\" type=\"INT\" watch=\"ALWAYS\"/>";

// A dump with a location and a call of SetVolume for each volume, all in thread 3 at times 105, 2210, ...
std::string VolumeDump(const std::vector<int>& volumes);
