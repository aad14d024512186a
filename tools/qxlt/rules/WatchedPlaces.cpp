#include "WatchedPlaces.h"

#include <deque>
#include <filesystem>
#include <system_error>

namespace qxlt {

namespace {

namespace fs = std::filesystem;

constexpr int kMostLinks = 40;  // as the system itself follows; more lead nowhere

void PutBefore(std::deque<fs::path>& names, const fs::path& path) {
    names.insert(names.begin(), path.begin(), path.end());
}

void AddPath(const std::string& path, WatchedPlaces& places) {
    std::deque<fs::path> names;
    PutBefore(names, path);
    fs::path at = ".";
    for (int links = 0; !names.empty() && links <= kMostLinks;) {
        const fs::path name = names.front();
        names.pop_front();
        if (name.empty() || name == ".") continue;
        if (name.is_absolute()) {
            at = name;
            continue;
        }
        const fs::path next = at / name;
        if (name != "..") places[at.string()].insert(name.string());
        std::error_code error;
        const fs::file_status status = fs::symlink_status(next, error);
        if (!fs::exists(status)) return;
        if (fs::is_symlink(status)) {
            ++links;
            PutBefore(names, fs::read_symlink(next, error));
        } else {
            at = next;
        }
    }
}

}  // namespace

WatchedPlaces PlacesOf(const std::vector<std::string>& paths) {
    WatchedPlaces places;
    for (const std::string& path : paths) AddPath(path, places);
    return places;
}

}  // namespace qxlt
