#include "UftraceText.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <optional>
#include <utility>

namespace qxlt {

namespace {

constexpr std::size_t kMostValueBytes = 1 << 20;
constexpr std::uint64_t kSecond = 1000000000;
constexpr std::size_t kFractionDigits = 9;

// Takes the number off the front of the text.
std::optional<std::uint64_t> TakeNumber(std::string_view& text, int base = 10) {
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number, base);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

bool TakePrefix(std::string_view& text, std::string_view prefix) {
    if (text.substr(0, prefix.size()) != prefix) return false;
    text.remove_prefix(prefix.size());
    return true;
}

void TakeBlanks(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
}

// Values lie at multiples of four.
std::size_t Aligned(std::size_t size) {
    return (size + 3) / 4 * 4;
}

// A text's length stands before it.
std::size_t TextSize(const std::string& text) {
    return Aligned(2 + text.size());
}

ImportedValue FractionOf(std::uint64_t bits, std::uint64_t size) {
    if (size == 64) {
        double number = 0;
        std::memcpy(&number, &bits, sizeof number);
        return FloatValue(number);
    }
    const auto half = static_cast<std::uint32_t>(bits);
    float number = 0;
    std::memcpy(&number, &half, sizeof number);
    return FloatValue(number);
}

// "i32", "u8", "x64": how it was recorded, and its bits. Whatever is not named without a sign has one.
std::optional<ImportedValue> NumberOf(std::string_view type, std::string_view text) {
    if (type.size() < 2 || !TakePrefix(text, "0x")) return std::nullopt;
    const char form = type.front();
    type.remove_prefix(1);
    const std::optional<std::uint64_t> size = TakeNumber(type);
    const std::optional<std::uint64_t> bits = TakeNumber(text, 16);
    if (!size || !bits || !type.empty() || *size > 64) return std::nullopt;
    if (form == 'f') return FractionOf(*bits, *size);
    return IntegerValue(*bits, *size, std::string_view("uxop").find(form) == std::string_view::npos);
}

// "NAME(ADDRESS) depth: N"; names may have brackets of their own.
std::string MethodOf(std::string_view text) {
    text = text.substr(0, text.rfind(" depth: "));
    const std::size_t bracket = text.rfind('(');
    return ImportedName(std::string(text.substr(0, bracket)));
}

}  // namespace

void UftraceText::Take(std::string_view line) {
    if (ContinuesText(line) || TakeValue(line)) return;
    std::string_view rest = line;
    if (TakePrefix(rest, "reading ")) {
        EndRecord();
        const std::optional<std::uint64_t> thread = TakeNumber(rest);
        m_isThread = thread && rest == ".dat";
        if (!m_isThread) return;
        UftraceRecord record;
        record.thread = *thread;
        m_sink(record);
        return;
    }
    if (m_isThread) TakeRecord(line);
}

// A text goes on until its bytes are there, and the next value of the same record may follow it at once.
bool UftraceText::ContinuesText(std::string_view line) {
    if (!m_hasText || m_taken + TextSize(m_text) >= m_valueBytes) return false;
    std::string_view rest = line;
    if (TakePrefix(rest, "  args[")) {
        const std::optional<std::uint64_t> number = TakeNumber(rest);
        if (number == m_record.values.size() + 1 && TakePrefix(rest, "] ")) return false;
    }
    m_text.append("\n").append(line);
    return true;
}

bool UftraceText::TakeValue(std::string_view line) {
    if (!m_hasRecord || !TakePrefix(line, "  ")) return false;
    if (TakePrefix(line, "args[")) {
        if (!TakeNumber(line) || !TakePrefix(line, "] ")) return false;
    } else if (!TakePrefix(line, "retval ")) {
        return false;
    }
    const std::size_t colon = line.find(": ");
    if (colon == std::string_view::npos) return false;
    AddValue(line.substr(0, colon), line.substr(colon + 2));
    return true;
}

void UftraceText::AddValue(std::string_view type, std::string_view text) {
    EndText();
    if (m_record.values.size() >= kMostValues) return;
    std::optional<ImportedValue> number = NumberOf(type, text);
    if (number) {
        m_taken += Aligned(number->bytes.size());
        m_record.values.push_back(std::move(*number));
        return;
    }
    m_text = text;
    m_hasText = true;
    // What is printed of others tells nothing of their size.
    if (type != "str") m_taken = m_valueBytes;
}

void UftraceText::EndText() {
    if (!m_hasText) return;
    m_taken += TextSize(m_text);
    m_record.values.push_back(TextValue(m_text));
    m_hasText = false;
}

// "SECONDS.NANOSECONDS THREAD: [KIND] ...".
bool UftraceText::TakeRecord(std::string_view line) {
    TakeBlanks(line);
    const std::optional<std::uint64_t> seconds = TakeNumber(line);
    if (!seconds || *seconds > UINT32_MAX || !TakePrefix(line, ".")) return false;
    if (line.find(' ') != kFractionDigits) return false;
    const std::optional<std::uint64_t> nanoseconds = TakeNumber(line);
    if (!nanoseconds) return false;
    TakeBlanks(line);
    if (!TakeNumber(line) || !TakePrefix(line, ": [")) return false;
    const std::size_t end = line.find("] ");
    if (end == std::string_view::npos) return false;
    const std::string_view kind = line.substr(0, end);
    const std::uint64_t time = *seconds * kSecond + *nanoseconds;
    if (kind == "args " || kind == "retval") {
        std::string_view size = line.substr(end + 2);
        const std::optional<std::uint64_t> bytes = TakePrefix(size, "length = ") ? TakeNumber(size) : std::nullopt;
        m_valueBytes = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.value_or(0), kMostValueBytes));
        m_taken = 0;
        return true;
    }
    EndRecord();
    m_record.time = time;
    TakeHead(kind, line.substr(end + 2));
    return true;
}

void UftraceText::TakeHead(std::string_view kind, std::string_view rest) {
    m_hasRecord = true;
    if (kind == "entry" || kind == "exit ") {
        m_record.kind = kind == "entry" ? UftraceRecord::Kind::Entry : UftraceRecord::Kind::Exit;
        m_record.method = MethodOf(rest);
    } else if (kind.substr(0, 4) == "lost") {
        m_record.kind = UftraceRecord::Kind::Lost;
        rest.remove_prefix(std::min(rest.find_first_of("0123456789"), rest.size()));
        m_record.lost = TakeNumber(rest).value_or(1);
    } else {
        m_hasRecord = false;
    }
}

void UftraceText::EndRecord() {
    EndText();
    if (m_hasRecord) m_sink(m_record);
    m_hasRecord = false;
    m_record = UftraceRecord();
    m_valueBytes = 0;
    m_taken = 0;
}

void UftraceText::Finish() {
    EndRecord();
}

}  // namespace qxlt
