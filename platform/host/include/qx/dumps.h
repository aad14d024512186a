// Puts calls that something else than the recorder recorded into dumps: they are described and written as the control
// does it with those of recordings, so that whoever reads dumps cannot tell the two apart. One thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace qx {
namespace host {

// How a value is read.
struct ValueType {
    // The size of a type with a meaning of its own: its length stands before the value.
    static constexpr std::uint32_t kCounted = 16383;

    // A plain value: a number, or a text, which is counted.
    struct Plain {
        std::string name;        // of the member; empty when there is only one
        std::string type;        // the type's
        std::uint32_t size = 0;  // bytes, 1 to 16, or kCounted
    };

    std::string name;
    // One without a name, not counted: that value. Otherwise a composite of these, or a list, whose elements are.
    std::vector<Plain> members;
    bool isList = false;
};

// A value, and its type: the bytes of all members in their order, as AppendNumber, AppendText and AppendCount give
// them.
struct Value {
    ValueType type;
    std::string bytes;
};

// The least significant byte first. `size` is at most 8.
void AppendNumber(std::string& bytes, std::uint64_t number, std::size_t size);
// Texts are cut to 8,192 bytes.
void AppendText(std::string& bytes, const std::string& text);
// How many elements follow, ahead of them.
void AppendCount(std::string& bytes, std::size_t count);

// What all calls of one form have in common.
struct CallSite {
    std::string method;
    std::string package;
    std::string file;
    std::uint32_t line = 0;
    std::vector<ValueType> in;   // recorded at entry
    std::vector<ValueType> out;  // at exit
    std::optional<ValueType> result;
};

// Who made a call. Numbers are the reader's own: a thread has one that no other thread of the same time has, whatever
// its process.
struct CallThread {
    std::uint32_t process = 0;
    std::uint16_t number = 0;
    std::string name;
};

// How a call returned.
struct CallExit {
    std::uint64_t time = 0;  // not before the entry's; kept in whole microseconds after it
    std::string out;
    std::string result;
};

struct CallRecord {
    std::uint32_t site = 0;  // as DumpMaker::Site gave it
    std::uint64_t time = 0;  // nanoseconds
    std::string in;          // the bytes of all values, in the order of the site

    std::optional<CallExit> exit;  // nothing: it never returned
};

// Makes the dumps of all processes of one name, one after the other.
class DumpMaker {
public:
    explicit DumpMaker(const std::string& process);
    DumpMaker(const DumpMaker&) = delete;
    DumpMaker& operator=(const DumpMaker&) = delete;
    ~DumpMaker();

    // The number of a call site in all dumps; 0 when there is no place for it: 9,999 call sites, 32 MiB of
    // descriptions, and values of one call in 60,000 bytes.
    std::uint32_t Site(const CallSite& site);

    // Adds a call to the next dump. Returns whether it had a place there. Requires: its site is not 0, and its bytes
    // are what the site says.
    bool Add(const CallThread& thread, const CallRecord& call);

    // How many bytes of values the next dump has so far.
    std::size_t Size() const;

    // The dump of all that was added since the last one.
    std::string Take();

private:
    class Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace host
}  // namespace qx
