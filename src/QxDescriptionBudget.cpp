#include "QxDescriptionBudget.h"

#include <algorithm>

#include "IQxLogTracker.h"
#include "QxData.h"
#include "QxDebugPrint.h"
#include "QxFormat.h"

namespace {

// What a record, a text and an argument take besides their characters.
constexpr std::uint64_t kRecordCost = 256;
constexpr std::uint64_t kTextCost = 32;
constexpr std::uint64_t kArgumentCost = 40;  // flags, size, and the plans for reading it

std::uint64_t CostOf(const std::string& text) {
    return kTextCost + text.size();
}

std::uint64_t CostOf(const std::vector<std::string>& texts) {
    std::uint64_t cost = 0;
    for (const std::string& text : texts) cost += CostOf(text);
    return cost;
}

}  // namespace

std::uint64_t QxDescriptionBudget::Cost(const IQxData::_HSCallLocation& location) {
    return kRecordCost + CostOf(location.srcCodeFileRaw) + CostOf(location.callerName) + CostOf(location.packageName) +
           CostOf(location.args.retType) + CostOf(location.args.argType) + location.args.argSize.size() * kArgumentCost;
}

std::uint64_t QxDescriptionBudget::Cost(const std::string& name, const IQxData::_HSCompArgDesc& desc) {
    return kRecordCost + CostOf(name) + CostOf(desc.memberNames) + CostOf(desc.memberTypes) +
           desc.memberSizes.size() * sizeof(std::uint32_t);
}

std::uint64_t QxDescriptionBudget::Cost(const IQxData::HSIThread& thread) {
    return kRecordCost + CostOf(thread.name);
}

void QxDescriptionBudget::Take(unsigned short pid, std::uint64_t cost, std::uint64_t replaced) {
    std::uint64_t& taken = m_taken[pid];
    // What is replaced may be another process's, whose keys can wrap into this one's.
    const std::uint64_t rest = taken - std::min(taken, replaced);
    if (cost > qxformat::kMaxDescriptionBytes - std::min(rest, qxformat::kMaxDescriptionBytes)) {
        if (!m_isPrinted) {
            QxDebugPrint::GetInstance()->Print(
                "Take", __LINE__, Major,
                "[QxDescriptionBudget::Take] Process %u describes more call sites, layouts and threads than are kept: "
                "%u MiB",
                static_cast<unsigned>(pid), static_cast<unsigned>(qxformat::kMaxDescriptionBytes >> 20));
        }
        m_isPrinted = true;
        throw QxData::PERR_INVALID_SIZE;
    }
    taken = rest + cost;
}

bool QxDescriptionBudget::TryTake(unsigned short pid, std::uint64_t cost) {
    std::uint64_t& taken = m_taken[pid];
    if (cost > qxformat::kMaxDescriptionBytes - taken) return false;
    taken += cost;
    return true;
}
