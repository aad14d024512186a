// A decoder of one kind of item. To add a kind: derive from this class, give its tag a name in QxFormat.h, and add a
// line to QxKinds.cpp. A decoder that leaves its item out and goes on calls DropItem: the item's bytes then count as
// not decoded.
#pragma once

#include <vector>

class QxParser;

class IQxItem {
public:
    virtual ~IQxItem() = default;

    // Decodes one whole payload into the parser's store. Returns the payload's size. Throws a QxData::_PERR_TYPE for
    // damage; the item has then stored nothing.
    virtual int Append(std::vector<char>& payload, QxParser* parser) = 0;
};
