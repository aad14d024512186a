// Cuts a fuzzer's bytes into numbers and blocks. Runs dry quietly: what is missing reads as zero or empty.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class FuzzInput final {
public:
    // The bytes must outlive the input.
    FuzzInput(const std::uint8_t* data, std::size_t size) : m_data(data), m_left(size) {}

    bool Empty() const { return m_left == 0; }

    std::uint8_t Byte() {
        if (m_left == 0) return 0;
        --m_left;
        return *m_data++;
    }

    std::uint16_t Word() {
        const unsigned low = Byte();
        return static_cast<std::uint16_t>(low | static_cast<unsigned>(Byte()) << 8);
    }

    // Up to `count` bytes, in a heap block of exactly their size, so that the sanitizer sees the first byte beyond.
    std::vector<char> Block(std::size_t count) {
        const std::size_t taken = std::min(count, m_left);
        std::vector<char> block(m_data, m_data + taken);
        block.shrink_to_fit();
        m_data += taken;
        m_left -= taken;
        return block;
    }

    // A block that its own two-byte length goes ahead of.
    std::vector<char> SizedBlock() { return Block(Word()); }
    std::vector<char> Rest() { return Block(m_left); }

    std::string Text(std::size_t count) {
        const std::vector<char> block = Block(count);
        return std::string(block.begin(), block.end());
    }

private:
    const std::uint8_t* m_data;
    std::size_t m_left;
};
