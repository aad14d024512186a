// A decoder of one kind of packet payload. To add a kind: derive from this class, give its tag a name in QxFormat.h,
// and add a line to QxKinds.cpp. Hand each item on with QxParser::DecodeItem, and tell with UseAround what else of the
// payload was taken: bytes that nobody takes count as not decoded.
#pragma once

class QxParser;

class IQxBuffer {
public:
    virtual ~IQxBuffer() = default;

    // Takes in one payload of `size` bytes. `prefixSize` is the packet's, 0 without one. Returns how many bytes it used
    // up. Throws a QxData::_PERR_TYPE for damage.
    virtual int Parse(const char* data, unsigned int size, unsigned short prefixSize, QxParser* parser) = 0;

    // Decodes what Parse has joined so far, if this kind joins anything.
    virtual void Extract(QxParser* parser) = 0;
};
