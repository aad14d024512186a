#include "volume.h"

#include <qx/recorder.h>

void VolumeControl::MakeCall(unsigned long n) {
    if (n % 2 == 0)
        SetVolume(static_cast<int>(n / 2 % 21) * 5);
    else if (n % 42 == 41)
        SetMute(!m_isMuted);
    else
        GetVolume();
}

void VolumeControl::SetVolume(int level) {
    {
        QX_CALL(call, "audio", "SetVolume", qx::In(level));
        m_level = level;
    }
    if (level == 100) QX_LOG("audio", "VolumePeak", level, "loud");
}

int VolumeControl::GetVolume() const {
    QX_CALL_RETURNS(call, int, "audio", "GetVolume");
    return call.Return(m_level);
}

void VolumeControl::SetMute(bool isMuted) {
    QX_CALL(call, "audio", "SetMute", qx::In(isMuted));
    m_isMuted = isMuted;
}
