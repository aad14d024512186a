// Composite descriptors made of fuzz bytes, named so that they often refer to each other, and a value that they
// describe, which is read as one text as well.
#include <cstdlib>
#include <utility>

#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "QxCompCallArg.h"
#include "QxCompCallParser.h"
#include "QxData.h"
#include "QxFormat.h"

namespace {

constexpr std::uint64_t kPairsLeft = 10000;

std::string TypeName(unsigned number) {
    return std::string(1, static_cast<char>('A' + number % 8));
}

std::uint32_t MemberSize(FuzzInput& input) {
    const unsigned kind = input.Byte();
    if (kind % 4 == 0) return qxformat::kComposite;
    if (kind % 4 == 1) return qxformat::kVariableLength;
    return kind % 4 == 2 ? 0u : kind;
}

IQxData::_HSCompArgDesc MakeDescriptor(FuzzInput& input) {
    IQxData::_HSCompArgDesc desc;
    desc.isContainer = input.Byte() % 2;
    for (unsigned members = input.Byte() % 8; members > 0; --members) {
        desc.memberSizes.push_back(MemberSize(input));
        desc.memberTypes.push_back(TypeName(input.Byte()));
        if (input.Byte() % 4 != 0) desc.memberNames.push_back("m");
    }
    return desc;
}

using Reading = std::pair<int, IQxData::HSICallArg>;  // the bytes taken, and the pairs

// What the bounded reader has found whole, the readers that trust their bytes must read alike.
void ReadTrusted(std::vector<char>& value, IQxData::_HSCompArgDesc& top, QxParser& parser, const Reading& expected) {
    Reading whole;
    whole.first = QxCompCallParser::Parse(value.data(), top, whole.second, &parser);
    Reading part;
    const auto read = top.isContainer == 0 ? QxCompCallParser::ParseComposite : QxCompCallParser::ParseContainer;
    part.first = read(value.data(), top, part.second, &parser);
    if (whole != expected || part != expected) std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    QxParser parser(nullptr, nullptr);
    std::vector<char> packet = {qxformat::kPersistentBuffer, 0};
    DecodeDump(parser, packet, store);
    const unsigned how = input.Byte();
    for (unsigned types = how % 8; types > 0; --types) {
        store->AppendCompArgDesc(TypeName(input.Byte()), MakeDescriptor(input));
    }
    // A few bytes may stand for as many pairs as a dump may hold, which takes a second: mostly the limit is near.
    if (how < 248) parser.Budget().TakePairs(qxformat::kMaxPairsOfDump - kPairsLeft);
    std::vector<char> value = input.Rest();
    std::string text;
    ReadStringArg(value.data(), static_cast<unsigned>(value.size()), text);
    IQxData::_HSCompArgDesc top;
    store->GetCompArgDesc(top, "A");
    IQxData::HSICallArg pairs;
    try {
        QxCursor cursor(value.data(), value.size(), "CompositeFuzzer", parser.Log());
        QxCompCallParser::Parse(cursor, top, pairs, parser);
        ReadTrusted(value, top, parser, {static_cast<int>(cursor.Offset()), std::move(pairs)});
    } catch (QxData::_PERR_TYPE) {
    }
    return 0;
}
