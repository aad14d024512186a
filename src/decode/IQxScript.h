// A kind of script, chosen by the name of the script's top element. To add a kind: derive from this class, and add a
// line to QxKinds.cpp.
#pragma once

class QxParser;

class IQxScript {
public:
    virtual ~IQxScript() = default;

    // Runs the loaded script over the calls in the parser's store. Returns non-zero for success.
    virtual int Trace(QxParser* parser) = 0;
};
