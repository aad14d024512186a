#include "DumpHeader.h"

#include <memory>
#include <utility>

#include "QxCycle.h"
#include "QxObservedData.h"

namespace qxlt {

namespace {

class HeaderStore final : public QxObservedData {
public:
    void AppendHeader(unsigned short pid, std::string process, std::string qxVersion, std::string swBuildString,
                      std::string swVersionModel, std::string extraField1, std::string extraField2) override {
        if (!header) header = DumpHeader{process, pid};
        QxData::AppendHeader(pid, std::move(process), std::move(qxVersion), std::move(swBuildString),
                             std::move(swVersionModel), std::move(extraField1), std::move(extraField2));
    }

    std::optional<DumpHeader> header;
};

}  // namespace

std::optional<DumpHeader> HeaderOf(std::vector<char> dump) {
    const auto store = std::make_shared<HeaderStore>();
    QxCycle(nullptr, nullptr, store).Decode(std::string(), dump);
    return store->header;
}

std::optional<std::uint32_t> WholeProcessId(const std::string& qxVersion, const std::string& extraField1) {
    constexpr std::size_t kDigits = 8;
    if (qxVersion.rfind("host ", 0) != 0 || extraField1.size() != kDigits) return std::nullopt;
    if (extraField1.find_first_not_of("0123456789") != std::string::npos) return std::nullopt;
    return static_cast<std::uint32_t>(std::stoul(extraField1));
}

}  // namespace qxlt
