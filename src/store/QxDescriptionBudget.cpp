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

// Memory that ran out between taking and storing leaves the counts a little off.
std::uint64_t Without(std::uint64_t taken, std::uint64_t cost) {
    return taken - std::min(taken, cost);
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

void QxDescriptionBudget::Take(const Share& share, const Share& replaced) {
    std::uint64_t& taken = m_taken[share.pid];
    const bool isOwn = replaced.pid == share.pid;
    if (share.cost > qxformat::kMaxDescriptionBytes - (isOwn ? Without(taken, replaced.cost) : taken)) {
        Refuse(share.pid);
    }
    std::uint64_t& given = m_taken[replaced.pid];
    given = Without(given, replaced.cost);
    taken += share.cost;
}

void QxDescriptionBudget::Refuse(unsigned short pid) {
    if (!m_isPrinted) {
        m_isPrinted = true;
        QxDebugPrint::GetInstance()->Print("Take", __LINE__, Major,
                                           "[QxDescriptionBudget::Take] Process %u describes more call sites, layouts "
                                           "and threads than are kept: %u MiB",
                                           static_cast<unsigned>(pid),
                                           static_cast<unsigned>(qxformat::kMaxDescriptionBytes >> 20));
    }
    throw QxData::PERR_INVALID_SIZE;
}

std::uint64_t QxDescriptionBudget::Taken() const {
    std::uint64_t sum = 0;
    for (const auto& process : m_taken) sum += process.second;
    return sum;
}

bool QxDescriptionBudget::TryTake(const Share& share) {
    std::uint64_t& taken = m_taken[share.pid];
    if (share.cost > qxformat::kMaxDescriptionBytes - taken) return false;
    taken += share.cost;
    return true;
}
