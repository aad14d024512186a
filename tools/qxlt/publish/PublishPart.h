// The part of a live run that publishes its events. The run's worker only puts them into the outbox; a thread of its
// own brings them to the broker.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "EventMessage.h"
#include "IRunPart.h"
#include "Outbox.h"
#include "PublishOptions.h"
#include "Publisher.h"

namespace qxlt {

class PublishPart final : public IRunPart {
public:
    // Opens the outbox and begins to publish what waits there. Throws a Failure (cannot start).
    PublishPart(const PublishOptions& options, const RunSurroundings& surroundings);

    ~PublishPart() override;

    void OnEvent(const EventView& view) override;
    void OnCycleEnd() override;
    void OnEnd() override;
    std::vector<HealthFigure> Health() const override;
    bool Failed() const override { return m_notTaken != 0; }

private:
    PublishPart(const PublishOptions& options, BrokerAccess access, const HealthPart& health);

    void Commit();
    void TellNotTaken(const std::string& problem);

    const double m_waitSeconds;
    const Sending m_sending;
    const std::string m_file;
    Outbox m_outbox;
    std::vector<Outbox::Message> m_batch;  // of the cycle, as long as it is not in the outbox
    std::size_t m_batchBytes = 0;
    std::uint64_t m_firstNumber;  // of the batch
    std::uint64_t m_notTaken = 0;
    std::uint64_t m_notTakenTold = 0;  // of those
    bool m_isFull = false;             // and that was told
    bool m_ended = false;
    Publisher m_publisher;  // the last: it uses the outbox
};

}  // namespace qxlt
