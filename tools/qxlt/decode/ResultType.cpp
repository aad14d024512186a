#include "ResultType.h"

#include <string_view>

#include "QxFormat.h"

namespace qxlt {

namespace {

constexpr std::string_view kBegin = "result<";
constexpr char kEnd = '>';

bool MayBeMissing(const IQxData::_HSCallLocation& location) {
    const std::string& type = location.args.retType;
    return location.args.retSize == qxformat::kComposite && type.compare(0, kBegin.size(), kBegin) == 0 &&
           type.rfind(kEnd) != std::string::npos;
}

}  // namespace

// What comes after the end tells apart types of one name.
std::string ResultType(const IQxData::_HSCallLocation& location) {
    const std::string& type = location.args.retType;
    if (!MayBeMissing(location)) return type;
    return type.substr(kBegin.size(), type.rfind(kEnd) - kBegin.size());
}

bool LacksResult(const IQxData::_HSCallLocation& location, const IQxData::HSCall& call) {
    return call.args.ret.size() == 1 && call.args.ret.front().empty() && MayBeMissing(location);
}

}  // namespace qxlt
