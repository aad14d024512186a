#include "PublishPart.h"

#include <cstdlib>
#include <utility>

#include "DeviceName.h"
#include "Failure.h"
#include "HealthPart.h"
#include "Messages.h"
#include "Text.h"
#include "Topics.h"

namespace qxlt {

namespace {

std::string Variable(const char* name) {
    const char* const value = std::getenv(name);
    return value == nullptr ? std::string() : std::string(value);
}

// Where init systems say that a service keeps its state, or else where that of people is.
std::string StateFolder() {
    const std::string service = Variable("STATE_DIRECTORY");
    if (!service.empty()) return service.substr(0, service.find(':'));
    const std::string state = Variable("XDG_STATE_HOME");
    if (!state.empty()) return state + "/qxlt";
    const std::string home = Variable("HOME");
    if (home.empty()) throw Failure(kCannotStart, "there is no place for the outbox; name one with --outbox FILE");
    return home + "/.local/state/qxlt";
}

std::string OutboxFileOf(const PublishOptions& options, const std::string& device) {
    if (!options.outbox.empty()) return options.outbox;
    return StateFolder() + "/" + TopicLevel(device) + ".outbox";
}

}  // namespace

PublishPart::PublishPart(const PublishOptions& options, const RunSurroundings& surroundings)
    : PublishPart(options, ReadBrokerAccess(options.broker), surroundings.health) {}

PublishPart::PublishPart(const PublishOptions& options, BrokerAccess access, const HealthPart& health)
    : m_waitSeconds(options.waitSeconds),
      m_sending{DeviceName(options.device), BootId(), NewRunId()},
      m_file(OutboxFileOf(options, m_sending.device)),
      m_outbox({m_file, options.outboxBytes, options.outboxSeconds, m_sending.boot + ":" + m_sending.run}),
      m_firstNumber(m_outbox.Taken() + 1),
      m_publisher(m_outbox,
                  {std::move(access), m_sending, options.statusSeconds, m_file, [&health] { return health.Json(); }}) {}

// A run that never began has no end of its own.
PublishPart::~PublishPart() {
    OnEnd();
}

void PublishPart::OnEvent(const EventView& view) {
    const std::string payload = EventMessage(m_sending, m_firstNumber + m_batch.size(), view);
    m_batch.push_back({EventTopic(m_sending.device, view.event), payload});
    m_batchBytes += payload.size();
    if (m_batchBytes >= m_outbox.BatchBytes()) Commit();
}

void PublishPart::OnCycleEnd() {
    Commit();
}

// Events that were not taken leave no gap: their numbers go to the next ones.
void PublishPart::Commit() {
    if (m_batch.empty()) return;
    const std::string problem = m_outbox.Take(m_batch);
    if (problem.empty()) {
        m_publisher.Wake();
    } else {
        m_notTaken += m_batch.size();
    }
    TellNotTaken(problem);
    m_firstNumber = m_outbox.Taken() + 1;
    m_batch.clear();
    m_batchBytes = 0;
}

void PublishPart::TellNotTaken(const std::string& problem) {
    if (!problem.empty() && !m_isFull) {
        PrintWarning(m_file + ": " + problem + "; events are not published until it has room");
    }
    if (problem.empty() && m_isFull) {
        PrintWarning(m_file + ": it has room again; " + Counted(m_notTaken - m_notTakenTold, "event") +
                     " of meanwhile will not be published");
        m_notTakenTold = m_notTaken;
    }
    m_isFull = !problem.empty();
}

std::vector<HealthFigure> PublishPart::Health() const {
    const OutboxCounts counts = m_outbox.Count();
    return {
        {"outboxTaken", "qxlt_events_taken_total", "Events that were taken into the outbox.", counts.taken},
        {"outboxWaiting", "qxlt_outbox_events", "Events that wait in the outbox for the broker.", counts.waiting},
        {"outboxDropped", "qxlt_outbox_dropped", "Events that the outbox dropped since it was made.", counts.dropped},
        {"outboxNotTaken", "qxlt_events_not_taken_total", "Events that the outbox had no room for.", m_notTaken}};
}

void PublishPart::OnEnd() {
    if (std::exchange(m_ended, true)) return;
    Commit();
    m_publisher.Finish(m_waitSeconds);
    const OutboxCounts counts = m_outbox.Count();
    if (m_notTaken != 0) PrintWarning(Counted(m_notTaken, "event") + " could not be kept for the broker");
    if (counts.waiting != 0) {
        PrintWarning("not published yet: " + Counted(counts.waiting, "event") + "; the next run with " + m_file +
                     " publishes what waits there");
    }
}

}  // namespace qxlt
