// Items alone, one after the other: locations and descriptors among them shape how later calls are read.
#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "QxData.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    QxParser parser(nullptr, nullptr);
    std::pair<int, char*> nothing(0, nullptr);
    parser.Parse(nothing, store);
    while (!input.Empty()) {
        const unsigned char tag = input.Byte();
        std::vector<char> payload = input.SizedBlock();
        try {
            parser.ParseItem(tag, payload);
        } catch (QxData::_PERR_TYPE) {
        }
    }
    return 0;
}
