// The system's journal, which keeps the fields of an event apart.
#pragma once

#include <sys/uio.h>

#include <functional>
#include <memory>
#include <string>

#include "ILineSink.h"
#include "LostLines.h"

namespace qxlt {

class JournalSink final : public ILineSink {
public:
    // Sends an entry of that many fields, each "NAME=VALUE"; below 0: the error.
    using Send = std::function<int(const iovec* fields, int count)>;

    explicit JournalSink(Send send) : m_send(std::move(send)), m_lost("journal") {}

    // An entry with the line as MESSAGE, and each field as QX_NAME. Lines without fields are no events, and of less
    // weight.
    bool TakesFields() const override { return true; }
    void Write(const std::string& line, const LineFields& fields) override;
    void End() override { m_lost.End(); }
    bool Failed() const override { return m_lost.Any(); }

private:
    const Send m_send;
    LostLines m_lost;
};

// The journal of this system. Throws a Failure (cannot start) where there is none, or the tool was built without what
// it takes.
std::unique_ptr<ILineSink> OpenJournal();

}  // namespace qxlt
