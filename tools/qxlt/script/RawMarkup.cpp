#include "RawMarkup.h"

#include <algorithm>
#include <string_view>

namespace qxlt {

namespace {

constexpr std::size_t kNowhere = std::string::npos;
constexpr std::string_view kBlanks = " \t\r\n";

struct Skipped {
    std::string_view begin;
    std::string_view end;
};
constexpr Skipped kSkipped[] = {{"<!--", "-->"}, {"<?", "?>"}, {"<![CDATA[", "]]>"}, {"</", ">"}};

bool StandsAt(const std::string& text, std::size_t at, std::string_view part) {
    return text.compare(at, part.size(), part) == 0;
}

// Where the next start tag begins; nowhere when something comes before it that cannot be passed over.
std::size_t NextTag(const std::string& text, std::size_t at) {
    for (at = text.find('<', at); at != kNowhere; at = text.find('<', at)) {
        const auto* const found = std::find_if(std::begin(kSkipped), std::end(kSkipped),
                                               [&](const Skipped& kind) { return StandsAt(text, at, kind.begin); });
        if (found == std::end(kSkipped)) return StandsAt(text, at, "<!") ? kNowhere : at;
        at = text.find(found->end, at + found->begin.size());
    }
    return kNowhere;
}

struct Attribute {
    std::string name;
    std::size_t begin;  // of the value, behind the quote
    std::size_t end;    // the closing quote
    char quote;
};

// The attribute that begins at or behind `at`; none when the tag ends before, or what stands there is no attribute.
std::optional<Attribute> ReadAttribute(const std::string& text, std::size_t at) {
    const std::size_t name = text.find_first_not_of(kBlanks, at);
    const std::size_t nameEnd = text.find_first_of("= \t\r\n<>/\"'", name);
    const std::size_t sign = text.find_first_not_of(kBlanks, nameEnd);
    if (sign == kNowhere || text[sign] != '=' || nameEnd == name) return std::nullopt;
    const std::size_t quote = text.find_first_not_of(kBlanks, sign + 1);
    if (quote == kNowhere || (text[quote] != '"' && text[quote] != '\'')) return std::nullopt;
    const std::size_t end = text.find(text[quote], quote + 1);
    if (end == kNowhere) return std::nullopt;
    return Attribute{text.substr(name, nameEnd - name), quote + 1, end, text[quote]};
}

// The bytes of a reference that needs no declaration; 0 when none stands at the ampersand.
std::size_t ReferenceLength(std::string_view text) {
    for (const std::string_view known : {"&amp;", "&lt;", "&gt;", "&quot;", "&apos;"}) {
        if (text.substr(0, known.size()) == known) return known.size();
    }
    if (text.substr(0, 2) != "&#") return 0;
    const std::size_t digits = text.substr(0, 3) == "&#x" ? 3 : 2;
    const std::size_t end = text.find_first_not_of(digits == 3 ? "0123456789abcdefABCDEF" : "0123456789", digits);
    return end != std::string_view::npos && end > digits && text[end] == ';' ? end + 1 : 0;
}

// Where the value holds raw markup for the first time, if at all; and the value as it must be written.
struct Mended {
    std::size_t raw = kNowhere;
    std::string value;
};

Mended Mend(std::string_view value) {
    Mended mended;
    for (std::size_t at = 0; at < value.size();) {
        const std::size_t reference = value[at] == '&' ? ReferenceLength(value.substr(at)) : 0;
        const bool isRaw = value[at] == '<' || (value[at] == '&' && reference == 0);
        if (isRaw) {
            mended.raw = std::min(mended.raw, at);
            mended.value += value[at] == '<' ? "&lt;" : "&amp;";
            ++at;
        } else {
            const std::size_t taken = std::max<std::size_t>(reference, 1);
            mended.value += value.substr(at, taken);
            at += taken;
        }
    }
    return mended;
}

// A value that goes on over a tag's or a line's end has lost its quote.
bool IsWhole(std::string_view value) {
    return value.find("/>") == std::string_view::npos && value.find_first_of("\r\n") == std::string_view::npos;
}

}  // namespace

std::optional<RawMarkup> FindRawMarkup(const std::string& text, std::size_t begin, std::size_t stop,
                                       TextEncoding encoding) {
    // What a document type declares is not known here.
    const bool isPlain = encoding != TextEncoding::Other && text.find("<!ENTITY") == kNowhere;
    const std::size_t tag = isPlain ? NextTag(text, begin) : kNowhere;
    if (tag == kNowhere || tag > stop) return std::nullopt;
    const bool isUnknownEntity = tag == stop;
    std::size_t at = text.find_first_of(" \t\r\n/>", tag);
    for (auto attribute = ReadAttribute(text, at); attribute; attribute = ReadAttribute(text, at)) {
        at = attribute->end + 1;
        if (!isUnknownEntity && stop > attribute->end) continue;
        const std::string_view value(text.data() + attribute->begin, attribute->end - attribute->begin);
        const Mended mended = Mend(value);
        const std::size_t raw = mended.raw == kNowhere ? kNowhere : attribute->begin + mended.raw;
        const bool isReason = raw != kNowhere && (isUnknownEntity || raw <= stop);
        if (isReason && IsWhole(value)) {
            TextWalker walker(text, 0, {1, 1}, encoding);
            walker.Skip(raw);
            return RawMarkup{text[raw], walker.Place(),
                             attribute->name + "=" + attribute->quote + mended.value + attribute->quote};
        }
        if (!isUnknownEntity || isReason) return std::nullopt;
    }
    return std::nullopt;
}

}  // namespace qxlt
