// What `uftrace dump` prints, line by line: the records of one thread after the other, the values of each below it.
//
//     reading 4711.dat
//     55390.930910794   4711: [entry] SetVolume(55a6e8c18294) depth: 1
//     55390.930910794   4711: [args ] length = 16
//       args[0] i32: 0x00000055
//       args[1] str: main
//     55390.931016805   4711: [exit ] SetVolume(55a6e8c18294) depth: 1
//     55390.931016805   4711: [retval] length = 4
//       retval i32: 0x00000055
//
// A text is printed as it stands, and may hold anything, ends of lines and what looks like a record included. How many
// bytes the values take tells where it ends.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "ImportedValues.h"

namespace qxlt {

struct UftraceRecord {
    enum class Kind { Thread, Entry, Exit, Lost };

    Kind kind = Kind::Thread;
    std::uint64_t thread = 0;
    std::uint64_t time = 0;  // nanoseconds
    std::string method;
    std::vector<ImportedValue> values;
    std::uint64_t lost = 0;  // records
};

class UftraceText final {
public:
    // A longer line is none that has to be understood.
    static constexpr std::size_t kMostLine = 128 << 10;

    // Takes each record once all of its values are there.
    using Sink = std::function<void(const UftraceRecord&)>;
    explicit UftraceText(Sink sink) : m_sink(std::move(sink)) {}

    // The next line, without its end.
    void Take(std::string_view line);

    // After the last one.
    void Finish();

private:
    bool TakeValue(std::string_view line);
    bool TakeRecord(std::string_view line);
    void TakeHead(std::string_view kind, std::string_view rest);
    bool ContinuesText(std::string_view line);
    void AddValue(std::string_view type, std::string_view text);
    void EndText();
    void EndRecord();

    const Sink m_sink;
    bool m_isThread = false;  // the records of a thread are printed, not those of the system
    bool m_hasRecord = false;
    UftraceRecord m_record;
    std::size_t m_valueBytes = 0;  // that the record's values take
    std::size_t m_taken = 0;       // by those that are complete
    bool m_hasText = false;        // the last value is a text that may go on
    std::string m_text;
};

}  // namespace qxlt
