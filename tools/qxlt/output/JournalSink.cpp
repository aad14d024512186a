#include "JournalSink.h"

#include <cstring>
#include <vector>

namespace qxlt {

// 5 is "notice", 6 "informational".
void JournalSink::Write(const std::string& line, const LineFields& fields) {
    std::vector<std::string> entry = {"MESSAGE=" + line, "PRIORITY=" + std::string(fields.empty() ? "6" : "5"),
                                      "SYSLOG_IDENTIFIER=qxlt"};
    for (const LineField& field : fields) entry.push_back("QX_" + std::string(field.name) + "=" + field.value);
    std::vector<iovec> parts;
    parts.reserve(entry.size());
    for (std::string& text : entry) parts.push_back({text.data(), text.size()});
    const int status = m_send(parts.data(), static_cast<int>(parts.size()));
    if (status >= 0) return m_lost.Keep();
    m_lost.Lose(std::strerror(-status));
}

}  // namespace qxlt
