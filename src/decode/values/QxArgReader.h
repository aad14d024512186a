// Reads the recorded values of a call or log item into argument lists: which arguments, in which order, each by its
// size word.
#pragma once

#include <cstdint>
#include <string>

#include "IQxData.h"
#include "QxArgList.h"
#include "QxCursor.h"
#include "QxLocation.h"

class QxDecodeContext;

class QxArgReader final {
public:
    // The messages of one kind of item; the items differ in their wording.
    struct Texts {
        const char* lengthCut;  // the value's length is cut; %u size, %u payload size, %u offset
        const char* empty;      // a value of size 0, which is skipped; no argument; null prints nothing
        int emptyLevel;
        const char* valueCut;  // the value is cut; %u size, %u payload size, %u offset
    };

    enum class Composites { Decoded, PlainBytes };

    // Reads at `cursor`, which must outlive the reader, as must `texts` and `context`.
    QxArgReader(QxCursor& cursor, QxDecodeContext& context, const Texts& texts, Composites composites)
        : m_cursor(cursor), m_context(context), m_texts(texts), m_composites(composites) {}

    // Appends the planned arguments of the location to `out`. Throws PERR_INVALID_SIZE.
    void ReadPlan(const QxLocation& location, const QxArgPlan& plan, QxArgList& out);

    // Appends one value of that size word and type to `out`; nothing for a size of 0. Throws PERR_INVALID_SIZE.
    void ReadValue(std::uint32_t size, const std::string& type, QxArgList& out);

private:
    void ReadComposite(const std::string& type, QxArgList& out);
    std::uint32_t ReadLength();
    void SkipEmpties(std::uint32_t count);

    QxCursor& m_cursor;
    QxDecodeContext& m_context;
    const Texts& m_texts;
    const Composites m_composites;
};
