#include "LostLines.h"

#include <utility>

#include "Messages.h"
#include "Text.h"

namespace qxlt {

LostLines::LostLines(std::string place) : m_place(std::move(place)) {}

void LostLines::Lose(const std::string& why) {
    m_any = true;
    if (m_lost++ == 0) PrintError(m_place + ": " + why + "; lines are lost until it can be written again");
}

void LostLines::Keep() {
    if (m_lost == 0) return;
    PrintWarning(m_place + ": can be written again; " + Counted(m_lost, "line") + " lost");
    m_lost = 0;
}

void LostLines::End() {
    if (m_lost > 0) PrintError(m_place + ": " + Counted(m_lost, "line") + " lost");
    m_lost = 0;
}

}  // namespace qxlt
