#include "DumpHeader.h"

#include <exception>
#include <memory>
#include <utility>

#include "QxObservedData.h"
#include "QxParser.h"

namespace qxlt {

namespace {

// A header on its way in ends the decoding.
class HeaderStore final : public QxObservedData {
public:
    void AppendHeader(unsigned short pid, std::string process, std::string, std::string, std::string, std::string,
                      std::string) override {
        throw DumpHeader{std::move(process), pid};
    }
};

void Decode(std::vector<char>& dump) {
    std::pair<int, char*> bytes(static_cast<int>(dump.size()), dump.data());
    QxParser parser(nullptr, nullptr);
    parser.Parse(bytes, std::make_shared<HeaderStore>());
    parser.Extract();
}

}  // namespace

std::optional<DumpHeader> HeaderOf(std::vector<char>& dump) {
    try {
        Decode(dump);
    } catch (const DumpHeader& header) {
        return header;
    } catch (const std::exception&) {
        // Whoever decodes the dump for its calls meets it as well, and tells of it.
    }
    return std::nullopt;
}

std::optional<std::uint32_t> WholeProcessId(const std::string& qxVersion, const std::string& extraField1) {
    constexpr std::size_t kDigits = 8;
    if (qxVersion.rfind("host ", 0) != 0 || extraField1.size() != kDigits) return std::nullopt;
    if (extraField1.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
    return static_cast<std::uint32_t>(std::stoul(extraField1));
}

}  // namespace qxlt
