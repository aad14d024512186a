// How the values of calls are read, as their call sites and the layouts of composite types tell. Worked out once for
// each of them: a dump may have millions of calls.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

#include "QxData.h"
#include "TypedValue.h"

namespace qxlt {

// What the pairs of one value of a composite type are. Pairs of a container repeat them.
struct PairLayout {
    struct Pair {
        const std::string* name;  // not owned
        ValueType type;
    };
    std::vector<Pair> pairs;  // empty: not told
    bool repeats = false;
};

// How one argument, or a result, is read.
struct ArgumentType {
    ValueType plain;                     // of the one pair without a name
    const PairLayout* layout = nullptr;  // of a composite instead; not owned

    // Of the argument's pair at that place. Nothing is told of an argument that does not have the pairs of its layout:
    // that may have been described anew since.
    ValueType Of(const IQxData::HSICallArg& argument, std::size_t pair) const;
};
using ArgumentTypes = std::vector<ArgumentType>;

// Of a call's lists; null: not told. Otherwise as long as the list.
struct CallTypes {
    const ArgumentTypes* in = nullptr;
    const ArgumentTypes* out = nullptr;
    const ArgumentTypes* ret = nullptr;
};

class ValueTypes final {
public:
    // `store` must outlive this.
    explicit ValueTypes(QxData& store) : m_store(store) {}
    ValueTypes(const ValueTypes&) = delete;
    ValueTypes& operator=(const ValueTypes&) = delete;

    // Requires: the call lies in the store, or its location does. Valid until Forget.
    CallTypes Of(const IQxData::HSCall& call);

    // To be called before the store takes a description: one that it had may be replaced.
    void Forget();

private:
    // What a site's calls hold at each moment, worked out when a call has it.
    struct Site {
        ArgumentTypes atEntry;
        ArgumentTypes always;
        ArgumentTypes atExit;
        ArgumentTypes result;
    };
    using Descriptor = IQxData::_HSCompArgDesc;

    const ArgumentTypes* ForEntry(const QxLocation& location, Site& site, std::size_t count);
    const ArgumentTypes* ForPlan(const QxLocation& location, const QxArgPlan& plan, ArgumentTypes& types,
                                 std::size_t count);
    const ArgumentTypes* ForResult(const QxLocation& location, ArgumentTypes& types, std::size_t count);
    ArgumentType TypeOf(const std::string& name, std::uint32_t size);
    const PairLayout* LayoutOf(const std::string& name);
    bool AddPairs(const Descriptor& descriptor, unsigned depth, std::vector<PairLayout::Pair>& pairs);

    QxData& m_store;
    std::unordered_map<const QxLocation*, Site> m_sites;
    std::unordered_map<std::string, PairLayout> m_layouts;  // by the type's name
    std::size_t m_pairs = 0;                                // in all of them
};

}  // namespace qxlt
