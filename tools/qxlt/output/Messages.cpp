#include "Messages.h"

#include <unistd.h>

#include <cstdlib>

#include "QxDebugPrint.h"
#include "Text.h"

namespace qxlt {

namespace {

// What a progress line may have left on the terminal is wiped away first.
void PrintWhole(const std::string& text) {
    static const bool terminal = isatty(STDERR_FILENO) != 0;
    const std::string line = (terminal ? kWipeLine : "") + text + "\n";
    // Nowhere is left to tell that this failed.
    [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.data(), line.size());
}

// The text may hold names of any bytes, out of captures and scripts.
void PrintLine(const std::string& text) {
    PrintWhole(Printable(text));
}

bool& Quiet() {
    static bool quiet = false;
    return quiet;
}

}  // namespace

void PrintError(const std::string& text) {
    PrintLine("error: " + text);
}

void PrintWarning(const std::string& text) {
    PrintLine("warning: " + text);
}

void PrintNote(const std::string& text) {
    if (!Quiet()) PrintLine(text);
}

void PrintData(const std::string& line) {
    PrintWhole(line);
}

void SetQuiet() {
    Quiet() = true;
}

bool IsQuiet() {
    return Quiet();
}

// Some lines of the library pass whatever the level: silence is the log's matter.
void SetLevel(EDebugLevel level) {
    setenv("QX_LOG", level == Silent ? "none" : "stderr", 0);
    QxDebugPrint::GetInstance()->SetLevel(level);
}

std::string Place(const std::string& file, std::size_t number) {
    return file + ":" + std::to_string(number);
}

std::string Place(const std::string& file, std::size_t line, std::size_t column) {
    return Place(Place(file, line), column);
}

}  // namespace qxlt
