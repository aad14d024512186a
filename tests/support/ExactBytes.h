// Bytes in a heap block of exactly their size: a spare byte behind them would hide a read past the end.
#pragma once

#include <cstring>
#include <memory>
#include <string>
#include <utility>

class ExactBytes final {
public:
    explicit ExactBytes(const std::string& bytes) : m_size(static_cast<int>(bytes.size())), m_block(new char[Size()]) {
        if (m_size > 0) std::memcpy(m_block.get(), bytes.data(), Size());
        m_pair = {m_size, m_block.get()};
    }

    // The form in which dumps and scripts are handed over. Valid as long as this object.
    std::pair<int, char*>& Pair() { return m_pair; }

    char* Data() { return m_block.get(); }
    unsigned Size() const { return static_cast<unsigned>(m_size); }

private:
    int m_size;
    std::unique_ptr<char[]> m_block;
    std::pair<int, char*> m_pair;
};
