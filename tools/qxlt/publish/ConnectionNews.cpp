#include "ConnectionNews.h"

#include <algorithm>

#include "Messages.h"

namespace qxlt {

// The problem that is seen once the first one was told may be of another kind, and is told then.
void ConnectionNews::Look(const std::string& problem, Clock::time_point now) {
    if (m_told == problem || !MayTell(now)) return;
    m_told = problem;
    m_problem = problem;
    Tell();
}

bool ConnectionNews::MayTell(Clock::time_point now) {
    if (m_earned == Clock::time_point{}) m_earned = now;
    while (m_left < kAtOnce && now - m_earned >= kForOne) {
        ++m_left;
        m_earned += kForOne;
    }
    if (m_left == kAtOnce) m_earned = now;
    if (m_left == 0) return false;
    --m_left;
    return true;
}

void ConnectionNews::Tell() const {
    if (m_problem.empty()) {
        PrintNote("publishing to " + m_broker);
    } else {
        PrintWarning("not published to " + m_broker + ": " + m_problem + "; events wait in " + m_outbox +
                     ", and it is tried again");
    }
}

}  // namespace qxlt
