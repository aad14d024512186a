#define SD_JOURNAL_SUPPRESS_LOCATION  // entries tell where a call was traced, not where the tool sends them
#include <systemd/sd-journal.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "Failure.h"
#include "JournalSink.h"

namespace qxlt {

namespace {

// Without it the library takes entries and drops them, without a word.
constexpr char kSocket[] = "/run/systemd/journal/socket";

}  // namespace

std::unique_ptr<ILineSink> OpenJournal() {
    if (access(kSocket, W_OK) != 0) {
        throw Failure(kCannotStart, std::string("--output journald: ") + kSocket + ": " + std::strerror(errno) +
                                        "; start the journal, or name a file");
    }
    return std::make_unique<JournalSink>([](const iovec* fields, int count) {
        if (access(kSocket, W_OK) != 0) return -errno;
        return sd_journal_sendv(fields, count);
    });
}

}  // namespace qxlt
