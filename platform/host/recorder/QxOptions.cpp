#include "QxOptions.h"

#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace qxhost {

namespace {

// Reads a number of the environment; keeps the value when there is none. False when it is none or out of range.
bool ReadNumber(const char* variable, std::size_t& value) {
    const char* text = std::getenv(variable);
    if (text == nullptr) return true;
    char* end = nullptr;
    errno = 0;
    const unsigned long long number = std::strtoull(text, &end, 10);
    if (end == text || *end != '\0' || errno != 0 || number > qxlayout::Geometry::kMaxRingSize) return false;
    value = static_cast<std::size_t>(number);
    return true;
}

}  // namespace

QxOptions::Switch QxOptions::ReadSwitch() {
    const char* text = std::getenv("QX_RECORDER");
    const std::string_view word = text != nullptr ? text : "";
    if (word == "off") return Switch::Off;
    return word.empty() || word == "on" ? Switch::On : Switch::Unknown;
}

QxOptions QxOptions::WithEnvironment(std::string& error) const {
    QxOptions changed = *this;
    const bool isRead = ReadNumber("QX_RING_PAGE_SIZE", changed.m_options.pageSize) &&
                        ReadNumber("QX_RING_PAGES", changed.m_options.pageCount) && changed.ReadMode();
    if (isRead && changed.IsValid()) return changed;
    error = "QX_RING_PAGE_SIZE, QX_RING_PAGES or QX_RING_MODE is out of range, all three are ignored";
    return *this;
}

bool QxOptions::ReadMode() {
    const char* text = std::getenv("QX_RING_MODE");
    const std::string mode = text != nullptr ? text : "";
    if (mode == "discard") m_options.mode = qx::recorder::Mode::Discard;
    if (mode == "overwrite") m_options.mode = qx::recorder::Mode::Overwrite;
    return mode.empty() || mode == "discard" || mode == "overwrite";
}

}  // namespace qxhost
