#include "QxEventMemory.h"

#include <mutex>

// Never destroyed: a worker may still run when the process ends.
std::map<std::string, std::string>& m_EventValues = *new std::map<std::string, std::string>;
std::map<std::string, bool>& m_DconditionValues = *new std::map<std::string, bool>;

namespace {
std::mutex memoryMutex;  // guards both maps; never held while anything else is called
}

QxEventMemory::Value QxEventMemory::Exchange(const std::string& event, const std::string& value) {
    const std::lock_guard<std::mutex> lock(memoryMutex);
    const std::size_t count = m_EventValues.size();
    const auto [entry, inserted] = m_EventValues.try_emplace(event, value);
    if (inserted) return {Change::First, count};
    if (entry->second == value) return {Change::Same, count};
    entry->second = value;
    return {Change::Different, count};
}

void QxEventMemory::Seed(const std::string& event, const std::string& value) {
    const std::lock_guard<std::mutex> lock(memoryMutex);
    m_EventValues.try_emplace(event, value);
}

QxEventMemory::Result QxEventMemory::ExchangeResult(const std::string& event, bool result) {
    const std::lock_guard<std::mutex> lock(memoryMutex);
    const auto [entry, inserted] = m_DconditionValues.try_emplace(event, result);
    if (inserted) return {false, false};
    const bool previous = entry->second;
    entry->second = result;
    return {true, previous};
}

void QxEventMemory::Forget(const std::string& event) {
    const std::lock_guard<std::mutex> lock(memoryMutex);
    m_EventValues.erase(event);
    m_DconditionValues.erase(event);
}

void QxEventMemory::Clear() {
    const std::lock_guard<std::mutex> lock(memoryMutex);
    m_EventValues.clear();
    m_DconditionValues.clear();
}
