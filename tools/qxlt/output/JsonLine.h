// JSON as the tool writes it: an object on one line, for programs that read the tool's output. It is written from front
// to back into one text. Some results have a line for each traced call, and a tree of values for each of them would
// take many times as long as all other work for it.
#pragma once

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace qxlt {

// Keys stand in the order in which they are added; nothing looks for one that is there already. Keys are written as
// they are: they hold nothing that needs an escape.
class JsonLine final {
public:
    // Begins the object that the line is: with nothing, or with what kind of record it is.
    JsonLine() = default;
    explicit JsonLine(std::string_view record) { AddText("record", record); }
    JsonLine(const JsonLine&) = delete;
    JsonLine& operator=(const JsonLine&) = delete;

    // Ends that object. Returns the line without its end.
    std::string Finish() &&;

    // A whole number, or true or false.
    template <typename Number, typename = std::enable_if_t<std::is_integral_v<Number>>>
    void Add(std::string_view key, Number number) {
        Key(key);
        AddNumber(number);
    }
    // A number with a fraction, in the fewest digits that read back as the same number; null for what JSON has no
    // number for.
    void AddFraction(std::string_view key, float number);
    void AddFraction(std::string_view key, double number);
    void AddNull(std::string_view key) { AddJson(key, "null"); }

    // Text. Where it is not UTF-8 it is repaired, and all its bytes follow in hex under the same key with "Hex"
    // appended.
    void AddText(std::string_view key, std::string_view text);

    // The same for a list of texts: when one of them is not UTF-8, a list of all of them in hex follows.
    void AddTexts(std::string_view key, const std::vector<std::string>& texts);

    // Bytes in hex, and numbers in a list.
    void AddHex(std::string_view key, std::string_view bytes);
    template <typename Number>
    void AddNumbers(std::string_view key, const std::vector<Number>& numbers) {
        BeginList(key);
        for (const Number number : numbers) {
            Separate();
            AddNumber(number);
        }
        EndList();
    }

    // A value that was written already, or the keys of such an object.
    void AddJson(std::string_view key, std::string_view json) {
        Key(key);
        Append(json);
    }
    void AddKeysOf(std::string_view object);

    // What is added until the end belongs to the object, or to the list.
    void BeginObject(std::string_view key) { AddJson(key, "{"); }
    void BeginList(std::string_view key) { AddJson(key, "["); }
    void EndObject() { Append("}"); }
    void EndList() { Append("]"); }

    // The same for what stands in a list: another object, list, or value that was written already.
    void BeginObject() { AddJson("{"); }
    void BeginList() { AddJson("["); }
    void AddJson(std::string_view json) {
        Separate();
        Append(json);
    }

private:
    static constexpr std::size_t kUsualLength = 512;  // of most calls: the text then is made once

    // Where that many bytes can be written. They count once m_length does.
    char* Room(std::size_t size) {
        if (m_text.size() - m_length < size) m_text.resize((m_text.size() + size) * 2);
        return &m_text[m_length];
    }
    void Append(std::string_view text) {
        std::memcpy(Room(text.size()), text.data(), text.size());
        m_length += text.size();
    }

    // Behind the first value of an object or a list.
    void Separate() {
        const char last = m_text[m_length - 1];
        if (last != '{' && last != '[') Append(",");
    }

    // Here, so that the length of a key is known where it is added.
    void Key(std::string_view key) {
        Separate();
        char* const begin = Room(key.size() + 3);
        *begin = '"';
        std::memcpy(begin + 1, key.data(), key.size());
        std::memcpy(begin + 1 + key.size(), "\":", 2);
        m_length += key.size() + 3;
    }

    void Quote(std::string_view text);
    void AddNumber(bool value) { Append(value ? "true" : "false"); }
    template <typename Number>
    void AddNumber(Number number) {
        if constexpr (std::is_signed_v<Number>)
            AppendSigned(number);
        else
            AppendUnsigned(number);
    }
    template <typename Number>
    void AppendFraction(std::string_view key, Number number);
    void AppendSigned(long long number);
    void AppendUnsigned(unsigned long long number);

    std::string m_text = std::string(kUsualLength, '{');  // as much of it as is written, and room
    std::size_t m_length = 1;
};

}  // namespace qxlt
