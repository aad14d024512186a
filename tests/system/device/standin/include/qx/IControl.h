// The stand-in device's control: the slots that the tracker calls come first, the device's own after them.
#ifndef STANDIN_QX_ICONTROL_H
#define STANDIN_QX_ICONTROL_H

#include <string>
#include <vector>

namespace qx {

class IControl {
public:
    virtual ~IControl() {}
    virtual bool getQxBufferDump(std::vector<char>& path, const std::string& process, bool first) = 0;
    virtual bool isRecording(const std::string& process) = 0;
};

}  // namespace qx

#endif
