// A tool that was built without libsystemd.
#include "Failure.h"
#include "JournalSink.h"

namespace qxlt {

std::unique_ptr<ILineSink> OpenJournal() {
    throw Failure(kCannotStart,
                  "--output journald: this qxlt was built without the journal; build it with -D QX_SYSTEMD=ON, which "
                  "needs libsystemd-dev, or name a file");
}

}  // namespace qxlt
