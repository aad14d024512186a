// Each buffer decoder alone, handed its payload outside any dump: what it may read is the size that it was given. At
// times there is not even a store.
#include <stdexcept>

#include "FuzzInput.h"
#include "FuzzPlatform.h"
#include "QxCompressedBuffer.h"
#include "QxData.h"
#include "QxPersistentBuffer.h"
#include "QxThreadBuffer.h"
#include "QxThreadProperties.h"

namespace {

std::unique_ptr<IQxBuffer> MakeBuffer(unsigned kind) {
    switch (kind % 4) {
        case 0:
            return std::make_unique<QxThreadBuffer>();
        case 1:
            return std::make_unique<QxPersistentBuffer>();
        case 2:
            return std::make_unique<QxThreadProperties>();
        default:
            return std::make_unique<QxCompressedBuffer>();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    FuzzInput input(data, size);
    const std::shared_ptr<IQxData> store = MakeFuzzStore();
    QxParser parser(nullptr, nullptr);
    std::pair<int, char*> nothing(0, nullptr);
    const unsigned kind = input.Byte();
    parser.Parse(nothing, kind < 192 ? store : nullptr);
    const std::unique_ptr<IQxBuffer> buffer = MakeBuffer(kind);
    try {
        while (!input.Empty()) {
            const std::uint16_t prefixSize = input.Byte() % 2 == 0 ? std::uint16_t{0} : input.Word();
            const std::vector<char> payload = input.SizedBlock();
            buffer->Parse(payload.data(), static_cast<unsigned>(payload.size()), prefixSize, &parser);
        }
        buffer->Extract(&parser);
    } catch (QxData::_PERR_TYPE) {
    } catch (const std::length_error&) {
    }
    return 0;
}
