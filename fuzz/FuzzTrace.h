// Dumps that the dump writer makes as fuzz bytes tell it: well-formed packets and items, and values that fit what is
// declared of them, so that what lies behind the checks of sizes is reached; at times something in them is wrong.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "FuzzInput.h"

class FuzzTrace final {
public:
    // The input must outlive the trace.
    explicit FuzzTrace(FuzzInput& input) : m_input(input) {}

    // The next dump. What was declared in earlier ones is remembered.
    std::string Dump();

private:
    // An argument or a member.
    struct Field {
        std::string type;
        std::uint32_t size;
        unsigned flags;
    };
    struct Layout {
        bool container = false;
        std::vector<Field> members;
    };
    using Site = std::vector<Field>;  // the arguments, and the result as the last one

    void Add(unsigned what);
    void AddHeader();
    void AddDescriptor();
    void AddLocation();
    void AddOther();
    void AddThreadName();
    void AddCall();
    void AddExit();
    void AddLog();
    void EndFragment();
    void Pack();
    void Damage();

    void AddPersistent(unsigned tag, const std::string& payload);
    void AddToStream(unsigned tag, const std::string& payload);
    Field MakeField();
    std::string TypeName();
    std::uint32_t LocationId() { return 1 + m_input.Byte() % 8u; }
    std::string Values(const Site& site, unsigned flags);
    std::string Value(const Field& field, unsigned depth);
    std::string Composite(const std::string& type, unsigned depth);
    std::string Members(const Layout& layout, unsigned depth);

    FuzzInput& m_input;
    std::map<std::string, Layout> m_layouts;
    std::map<std::uint32_t, Site> m_sites;
    std::vector<std::uint32_t> m_open;  // locations of calls that have not returned, the newest last
    std::string m_dump;
    std::string m_stream;  // of the thread, not yet in a packet
    std::string m_tail;    // what the next fragment begins with: the end of an item
};
