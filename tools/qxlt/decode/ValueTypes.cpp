#include "ValueTypes.h"

#include "QxFormat.h"

namespace qxlt {

namespace {

// Descriptors name one another, so that a few of them may stand for any number of pairs. What is past these is not
// told.
constexpr std::size_t kMostPairsOfOne = 4096;
constexpr std::size_t kMostPairs = 262144;

const std::string& EntryAt(const std::vector<std::string>& list, std::size_t at) {
    static const std::string none;
    return at < list.size() ? list[at] : none;
}

}  // namespace

ValueType ArgumentType::Of(const IQxData::HSICallArg& argument, std::size_t pair) const {
    if (layout == nullptr) return argument.size() == 1 ? plain : ValueType();
    const std::size_t count = layout->pairs.size();
    if (count == 0 || (layout->repeats ? argument.size() % count != 0 : argument.size() != count)) return {};
    const PairLayout::Pair& told = layout->pairs[layout->repeats ? pair % count : pair];
    return *told.name == argument[pair].first ? told.type : ValueType();
}

CallTypes ValueTypes::Of(const IQxData::HSCall& call) {
    const QxLocation& location = m_store.Location(call.locId, call.pid);
    Site& site = m_sites[&location];
    return {ForEntry(location, site, call.args.in.size()),
            ForPlan(location, location.atExit, site.atExit, call.args.out.size()),
            ForResult(location, site.result, call.args.ret.size())};
}

// A log record carries all arguments.
const ArgumentTypes* ValueTypes::ForEntry(const QxLocation& location, Site& site, std::size_t count) {
    const bool isEntry = location.atEntry.steps.size() == count;
    return isEntry ? ForPlan(location, location.atEntry, site.atEntry, count)
                   : ForPlan(location, location.always, site.always, count);
}

// A site may declare any number of arguments: no work is done for them before some call has them all.
const ArgumentTypes* ValueTypes::ForPlan(const QxLocation& location, const QxArgPlan& plan, ArgumentTypes& types,
                                         std::size_t count) {
    if (count == 0 || plan.steps.size() != count) return nullptr;
    if (!types.empty()) return &types;
    for (const QxArgPlan::Step& step : plan.steps) {
        types.push_back(TypeOf(EntryAt(location.site.args.argType, step.argument), step.size));
    }
    return &types;
}

const ArgumentTypes* ValueTypes::ForResult(const QxLocation& location, ArgumentTypes& types, std::size_t count) {
    if (count != 1) return nullptr;
    if (types.empty()) types.push_back(TypeOf(location.site.args.retType, location.site.args.retSize));
    return &types;
}

ArgumentType ValueTypes::TypeOf(const std::string& name, std::uint32_t size) {
    if (size == qxformat::kComposite) return {{}, LayoutOf(name)};
    return {ValueTypeOf(name, size), nullptr};
}

const PairLayout* ValueTypes::LayoutOf(const std::string& name) {
    const auto [entry, isNew] = m_layouts.try_emplace(name);
    PairLayout& layout = entry->second;
    if (!isNew) return &layout;
    const Descriptor& descriptor = m_store.CompArgDesc(name);
    layout.repeats = descriptor.isContainer != 0;
    if (m_pairs >= kMostPairs || !AddPairs(descriptor, 1, layout.pairs)) layout.pairs = {};
    m_pairs += layout.pairs.size();
    return &layout;
}

// In the order in which decoding adds them: a nested composite's members stand before it. Returns whether all of them
// could be told. A counted member may hold a composite, which the layout does not tell: its pairs will not fit.
bool ValueTypes::AddPairs(const Descriptor& descriptor, unsigned depth, std::vector<PairLayout::Pair>& pairs) {
    if (depth > qxformat::kMaxCompositeDepth) return false;
    for (std::size_t i = 0; i < descriptor.memberSizes.size(); ++i) {
        const std::uint32_t size = descriptor.memberSizes[i];
        const std::string& type = EntryAt(descriptor.memberTypes, i);
        const bool isNested = size == qxformat::kComposite;
        if (isNested && !AddPairs(m_store.CompArgDesc(type), depth + 1, pairs)) return false;
        if (pairs.size() == kMostPairsOfOne) return false;
        pairs.push_back({&EntryAt(descriptor.memberNames, i), ValueTypeOf(type, size)});
    }
    return true;
}

void ValueTypes::Forget() {
    m_sites.clear();
    m_layouts.clear();
    m_pairs = 0;
}

}  // namespace qxlt
