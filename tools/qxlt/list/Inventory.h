// What a program records, put together from a capture, from dumps or from a live process: its threads, and its methods
// with what is recorded of their calls.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Fault.h"
#include "IQxData.h"
#include "Progress.h"
#include "QxScriptWords.h"
#include "RunStart.h"

namespace qxlt {

// The tags of a script that take something out of a call.
inline constexpr qxscript::Tag kRecordedTags[] = {qxscript::Tag::In, qxscript::Tag::Out, qxscript::Tag::Ret};

// One value that a method's calls carry, as a script asks for it.
struct RecordedValue {
    std::string type;       // as the program has it
    std::size_t argument;   // index among all arguments of the method; meaningless for a result
    std::string coreType;   // of what a script reads: of a composite the first member's
    unsigned int coreSize;  // in bytes, or a size mark
};

// One call site.
struct RecordedMethod {
    unsigned short pid = 0;
    std::string process;                // its name, empty when it is not known
    IQxData::_HSCallLocation location;  // with the result as the program has it
    std::vector<RecordedValue> in;      // what calls carry at entry, in the order of a script's index
    std::vector<RecordedValue> out;     // at exit
    std::vector<RecordedValue> ret;     // the result, if there is one
    std::uint64_t calls = 0;
    std::optional<IQxData::HSCall> example;  // a call that has returned, cut short, if there was one

    const std::string& Name() const { return location.callerName; }

    // What calls carry where a script's tag asks for it. Requires: the tag is one of kRecordedTags.
    const std::vector<RecordedValue>& Values(qxscript::Tag tag) const;

    // What the example holds there; null when it has no such value. Requires: as above.
    const IQxData::HSICallArg* Example(qxscript::Tag tag, std::size_t index) const;
};

struct RecordedProcess {
    std::string name;
    unsigned short pid = 0;
    std::vector<std::uint32_t> ids;  // of all processes of the name, whole; empty where the dumps do not tell
    std::string ended;               // when the process recorded last, if it has ended
};

struct RecordedThread {
    IQxData::HSIThread thread;
    std::optional<std::uint32_t> processId;  // whole
};

// Whether a call of such a run counts.
using CountChoice = std::function<bool(const IQxData::HSCall& call, const RunStart& start)>;

class Inventory final {
public:
    // A capture, or the dumps of one process, decoded in this order. What is wrong in them goes to `faults`. Calls
    // count that are chosen: all of them without a choice. Throws a Failure (cannot start) for what cannot be read.
    static Inventory Read(const std::vector<std::string>& paths, const FaultSink& faults, Progress& progress,
                          const CountChoice& choice = nullptr);

    // What is recorded under these names now, by those that run or, where none does, by the one that ended last. Throws
    // a Failure (cannot start) that says why when there is nothing.
    static Inventory Take(const std::vector<std::string>& processes, const FaultSink& faults,
                          const CountChoice& choice = nullptr);

    // By pid, then by name.
    const std::vector<RecordedProcess>& Processes() const { return m_processes; }

    // By pid, then by thread id.
    const std::vector<RecordedThread>& Threads() const { return m_threads; }

    // By pid, then by package, name and number.
    const std::vector<RecordedMethod>& Methods() const { return m_methods; }

    // Whether nothing was wrong.
    bool Whole() const { return m_whole; }

private:
    class Reader;

    std::vector<RecordedProcess> m_processes;
    std::vector<RecordedThread> m_threads;
    std::vector<RecordedMethod> m_methods;
    bool m_whole = true;
};

// Whether a script's type gives what was passed. True when that cannot be told. Requires: the type is no other word.
bool Fits(qxscript::Type type, const RecordedValue& value);

// The type that reads the value in a script; the other one when none does.
qxscript::Type FittingType(const RecordedValue& value);

}  // namespace qxlt
