#include "QxTimeMaker.h"

#include "QxParser.h"

int QxTimeMaker::Append(std::vector<char>& payload, QxParser* parser) {
    parser->Store().ResetThreadTime();
    return static_cast<int>(payload.size());
}
