// One dump through Parse and Extract.
#include "FuzzInput.h"
#include "FuzzPlatform.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    QxParser parser(nullptr, nullptr);
    DecodeDump(parser, FuzzInput(data, size).Rest(), store);
    return 0;
}
