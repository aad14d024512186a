#include "QxArgReader.h"

#include <algorithm>
#include <optional>

#include "IQxLogTracker.h"
#include "QxCallCost.h"
#include "QxCompCallParser.h"
#include "QxDecodeContext.h"
#include "QxFormat.h"
#include "QxShiftedText.h"

void QxArgReader::ReadPlan(const QxLocation& location, const QxArgPlan& plan, QxArgList& out) {
    const auto& args = location.site.args;
    // Most take a byte at least; a location may declare far more than a call carries.
    out.Reserve(std::min(plan.steps.size(), m_cursor.Left()));
    for (const QxArgPlan::Step& step : plan.steps) {
        SkipEmpties(step.emptiesBefore);
        ReadValue(step.size, args.argType[step.argument], out);
    }
    SkipEmpties(plan.emptiesAfter);
}

void QxArgReader::ReadValue(std::uint32_t size, const std::string& type, QxArgList& out) {
    if (size == qxformat::kComposite && m_composites == Composites::Decoded) {
        ReadComposite(type, out);
        return;
    }
    if (size == qxformat::kVariableLength) size = ReadLength();
    if (size == 0) {
        SkipEmpties(1);
        return;
    }
    if (size > m_cursor.Left()) {
        m_cursor.Refuse(Major, m_texts.valueCut, size, static_cast<unsigned>(m_cursor.Size()),
                        static_cast<unsigned>(m_cursor.Offset()));
    }
    // All bytes are passed over, though only as many as fit 16 bits are read.
    const auto textSize = static_cast<std::uint16_t>(size);
    m_context.Budget().TakePairs(1);
    m_context.Budget().TakeCallBytes(qxcost::kArgument + qxcost::OfPair(0, textSize));
    const char* const bytes = m_cursor.Bytes(size);
    AssignShifted(bytes, textSize, out.AddPlain());
}

void QxArgReader::ReadComposite(const std::string& type, QxArgList& out) {
    std::optional<IQxData::_HSCompArgDesc> scratch;
    m_context.Budget().TakeNameBytes(type.size());
    m_context.Budget().TakeCallBytes(qxcost::kArgument);
    IQxData::HSICallArg& value = out.Add();
    QxCompCallParser::Parse(m_cursor, m_context.Access().Descriptor(type, scratch), value, m_context);
    // An argument without pairs takes memory all the same.
    if (value.empty()) m_context.Budget().TakePairs(1);
}

std::uint32_t QxArgReader::ReadLength() {
    std::uint32_t length = 0;
    if (!m_cursor.TryVarint(length)) {
        m_cursor.Refuse(Major, m_texts.lengthCut, length, static_cast<unsigned>(m_cursor.Size()),
                        static_cast<unsigned>(m_cursor.Size() + 1));
    }
    return length;
}

void QxArgReader::SkipEmpties(std::uint32_t count) {
    if (count == 0 || m_texts.empty == nullptr) return;
    m_context.Log().Repeat(count, "Append", __LINE__, m_texts.emptyLevel, m_texts.empty);
}
