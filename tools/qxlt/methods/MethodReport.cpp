#include "MethodReport.h"

#include "Messages.h"
#include "Text.h"

namespace qxlt {

void MethodReport::OnDump(const DumpNews& news) {
    m_history += news.history;
    if (news.bytesNotDecoded == 0 && !(news.counts && news.counts->Any())) return;
    const LossCounts counts = news.counts.value_or(LossCounts()).Without(news.history);
    Loss& loss = m_losses[news.process];
    loss.counts.Add(counts);
    loss.bytesNotDecoded += news.bytesNotDecoded;
    if (m_format != Format::Json) return;
    m_output.Line(
        LossLine(news.cycle, news.process, news.counts ? std::optional(counts) : std::nullopt, news.bytesNotDecoded));
}

void MethodReport::OnCall(const CallView& call) {
    if (!m_filter.ShowsCall(call)) return;
    m_statistics.Add(call);
    ++m_calls;
    m_first = std::min<std::uint64_t>(m_first, call.call.time);
    m_end = std::max<std::uint64_t>({m_end, call.call.time, call.call.exitTime});
}

MethodSpan MethodReport::Take() {
    constexpr double kSecondNs = 1e9;
    m_statistics.EndInterval();
    return {m_statistics.Whole(), m_end > m_first ? static_cast<double>(m_end - m_first) / kSecondNs : 0};
}

void MethodReport::PrintLoss() const {
    for (const auto& [process, loss] : m_losses) {
        PrintWarning(process + ", lost: " + LossText(loss.counts, loss.bytesNotDecoded));
    }
}

}  // namespace qxlt
