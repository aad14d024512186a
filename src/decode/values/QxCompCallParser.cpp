#include "QxCompCallParser.h"

#include <optional>
#include <string>

#include "QxCallCost.h"
#include "QxCursor.h"
#include "QxFormat.h"
#include "QxParser.h"
#include "QxShiftedText.h"

namespace {

// The decoding of one value.
class Value final {
public:
    // Writes over the pairs of `out` from that one on.
    Value(QxCursor& cursor, IQxData::HSICallArg& out, std::size_t from, QxDecodeContext& context)
        : m_cursor(cursor), m_out(out), m_used(from), m_context(context) {}

    // As the descriptor says: a container or a composite.
    void Read(const IQxData::_HSCompArgDesc& desc) {
        if (desc.isContainer == 0) {
            ReadComposite(desc, 1);
        } else {
            ReadContainer(desc);
        }
    }
    void ReadContainer(const IQxData::_HSCompArgDesc& desc);
    void ReadComposite(const IQxData::_HSCompArgDesc& desc, unsigned depth);

    // Removes what is left of the pairs that were written over.
    void End() { m_out.resize(m_used); }

private:
    void ReadFixed(std::uint32_t size, const std::string& name, const std::string& type, unsigned depth);
    void ReadVariable(const std::string& name, const std::string& type, unsigned depth);
    void ReadNested(const std::string& type, unsigned depth);
    void AddPair(const std::string& name, std::uint32_t valueSize);

    QxCursor& m_cursor;
    IQxData::HSICallArg& m_out;
    std::size_t m_used;
    QxDecodeContext& m_context;
    std::uint64_t m_pairsLeft = qxformat::kMaxPairsOfValue;
};

// The lists of names and types may be shorter than that of sizes: the members after their end have none.
const std::string& EntryOrEmpty(const std::vector<std::string>& list, std::size_t index) {
    static const std::string& empty = *new std::string;
    return index < list.size() ? list[index] : empty;
}

void Value::ReadContainer(const IQxData::_HSCompArgDesc& desc) {
    const auto count = static_cast<std::int32_t>(m_cursor.Varint());
    for (std::int32_t i = 0; i < count; ++i) {
        const std::size_t offset = m_cursor.Offset();
        const std::uint64_t pairsLeft = m_pairsLeft;
        ReadComposite(desc, 1);
        // An element that leaves no trace makes all further ones alike, whatever their number.
        if (m_cursor.Offset() == offset && m_pairsLeft == pairsLeft) return;
    }
}

void Value::ReadComposite(const IQxData::_HSCompArgDesc& desc, unsigned depth) {
    if (depth > qxformat::kMaxCompositeDepth) {
        m_cursor.Refuse(Major, "[QxCompCallParser::ParseComposite] Composites nest deeper than %u",
                        qxformat::kMaxCompositeDepth);
    }
    for (std::size_t i = 0; i < desc.memberSizes.size(); ++i) {
        const std::string& name = EntryOrEmpty(desc.memberNames, i);
        const std::string& type = EntryOrEmpty(desc.memberTypes, i);
        if (desc.memberSizes[i] == qxformat::kVariableLength) {
            ReadVariable(name, type, depth);
        } else {
            ReadFixed(desc.memberSizes[i], name, type, depth);
        }
    }
}

// A nested member gives its own members first and then a pair for itself; one whose length is the composite mark,
// below, gives no pair for itself. Clients tell the two apart by it.
void Value::ReadFixed(std::uint32_t size, const std::string& name, const std::string& type, unsigned depth) {
    if (size == qxformat::kComposite) {
        ReadNested(type, depth);
        AddPair(name, 0);
    } else {
        AddPair(name, size);
    }
}

void Value::ReadVariable(const std::string& name, const std::string& type, unsigned depth) {
    const std::uint32_t length = m_cursor.Varint();
    if (length == qxformat::kComposite) {
        ReadNested(type, depth);
    } else {
        AddPair(name, length == qxformat::kVariableLength ? 0 : length);
    }
}

void Value::ReadNested(const std::string& type, unsigned depth) {
    std::optional<IQxData::_HSCompArgDesc> scratch;
    m_context.Budget().TakeNameBytes(type.size());
    ReadComposite(m_context.Access().Descriptor(type, scratch), depth + 1);
}

// Reads the value, of whose size the low 16 bits count. Nothing is kept before it is allowed.
void Value::AddPair(const std::string& name, std::uint32_t valueSize) {
    const auto length = static_cast<std::uint16_t>(valueSize);
    const char* const bytes = m_cursor.Bytes(length);
    if (m_pairsLeft == 0) m_cursor.Refuse(Major, "[QxCompCallParser::Parse] One value holds too many argument pairs");
    --m_pairsLeft;
    m_context.Budget().TakePairs(1);
    m_context.Budget().TakeNameBytes(name.size());
    m_context.Budget().TakeCallBytes(qxcost::OfPair(name.size(), length));
    if (m_used == m_out.size()) m_out.emplace_back();
    auto& pair = m_out[m_used++];
    pair.first = name;
    AssignShifted(bytes, length, pair.second);
}

QxCursor TrustedCursor(const char* bytes, QxParser* parser) {
    return {bytes, QxCursor::kTrusted, "QxCompCallParser::Parse", parser->Log()};
}

}  // namespace

void QxCompCallParser::Parse(QxCursor& cursor, const IQxData::_HSCompArgDesc& desc, IQxData::HSICallArg& out,
                             QxDecodeContext& context) {
    Value value(cursor, out, 0, context);
    value.Read(desc);
    value.End();
}

int QxCompCallParser::Parse(char* bytes, IQxData::_HSCompArgDesc& desc, IQxData::HSICallArg& out, QxParser* parser) {
    QxCursor cursor = TrustedCursor(bytes, parser);
    Value(cursor, out, out.size(), *parser).Read(desc);
    return static_cast<int>(cursor.Offset());
}

int QxCompCallParser::ParseContainer(char* bytes, IQxData::_HSCompArgDesc& desc, IQxData::HSICallArg& out,
                                     QxParser* parser) {
    QxCursor cursor = TrustedCursor(bytes, parser);
    Value(cursor, out, out.size(), *parser).ReadContainer(desc);
    return static_cast<int>(cursor.Offset());
}

int QxCompCallParser::ParseComposite(char* bytes, IQxData::_HSCompArgDesc& desc, IQxData::HSICallArg& out,
                                     QxParser* parser) {
    QxCursor cursor = TrustedCursor(bytes, parser);
    Value(cursor, out, out.size(), *parser).ReadComposite(desc, 1);
    return static_cast<int>(cursor.Offset());
}
