// Makes traces at random and knows what must come out of them: all buffers, items, flags and sizes, cut into fragments
// and compressed at random. Decoding is checked call for call against it.
#pragma once

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "IQxData.h"

class RandomTrace final {
public:
    // The process that the dump belongs to; the store must know it by this id.
    static constexpr unsigned short kPid = 21;

    RandomTrace(std::uint32_t seed, int calls);

    // The dump. Decoding it into an empty store gives exactly Calls().
    const std::string& Dump() const { return m_dump; }
    const std::map<unsigned long long, IQxData::HSCall>& Calls() const { return m_calls; }

private:
    using Argument = IQxData::HSICallArg;

    // One value: as it is recorded, and as it must be stored. `stored` is empty for a value that is skipped.
    struct Value {
        std::string bytes;
        std::vector<Argument> stored;
    };
    struct Type {
        std::string name;
        std::uint32_t size;   // the size word
        int descriptor = -1;  // index, for composites
    };
    struct Member {
        std::string name;
        std::uint32_t size;
        int descriptor = -1;
        bool markedInValue = false;  // variable length, with the composite mark in place of a length
    };
    struct Layout {
        std::string name;
        bool container = false;
        std::vector<Member> members;
    };
    struct Site {
        std::uint32_t locId;
        std::vector<Type> types;
        std::vector<unsigned> flags;
        Type result;
    };
    struct Item {
        unsigned tag;
        std::string payload;
    };

    unsigned Pick(unsigned below);
    bool Chance(unsigned percent) { return Pick(100) < percent; }
    std::string Bytes(std::size_t size);

    void MakeLayouts();
    void MakeSites();
    Type MakeType();
    Value MakeValue(const Type& type);
    Value MakePlain(std::uint32_t size);
    void AddComposite(const Layout& layout, std::string& bytes, Argument& pairs);
    void AddMember(const Member& member, std::string& bytes, Argument& pairs);

    void MakeThread(unsigned short tid, int calls);
    std::string MakeRun(unsigned short tid, int& callsLeft, std::vector<std::size_t>& ends);
    void Enter(std::string& run, unsigned short tid, bool first);
    void Leave(std::string& run, bool first);
    void Log(std::string& run, unsigned short tid, bool first);
    void AddStreamItem(std::string& run, unsigned tag, const std::string& payload);
    std::uint64_t EntryDelta(bool first);
    void Store(IQxData::HSCall call);
    std::string CutIntoPackets(unsigned short tid, const std::vector<std::string>& runs,
                               const std::vector<std::size_t>& lastItems);
    std::string Wrap(const std::string& packets);

    std::mt19937 m_random;
    std::vector<Layout> m_layouts;
    std::vector<Site> m_sites;
    std::string m_dump;
    std::map<unsigned long long, IQxData::HSCall> m_calls;
    std::vector<unsigned long long> m_open;  // keys, the newest last
    std::map<unsigned long long, const Site*> m_siteOf;
    std::uint64_t m_base = 0;  // of the thread that is being made
};
