// Composite descriptors made of fuzz bytes, named so that they often refer to each other, and a value that they
// describe.
#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "QxCompCallParser.h"
#include "QxData.h"
#include "QxFormat.h"

namespace {

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    QxParser parser(nullptr, nullptr);
    std::vector<char> packet = {qxformat::kPersistentBuffer, 0};
    DecodeDump(parser, packet, store);
    for (unsigned types = input.Byte() % 8; types > 0; --types) {
        store->AppendCompArgDesc(TypeName(input.Byte()), MakeDescriptor(input));
    }
    const std::vector<char> value = input.Rest();
    IQxData::_HSCompArgDesc top;
    store->GetCompArgDesc(top, "A");
    IQxData::HSICallArg pairs;
    try {
        QxCursor cursor(value.data(), value.size(), "CompositeFuzzer", &parser.Log());
        QxCompCallParser::Parse(cursor, top, pairs, &parser);
    } catch (QxData::_PERR_TYPE) {
    }
    return 0;
}
