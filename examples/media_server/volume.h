// The volume control of the media server, package "audio". Call n of its thread "mixer":
//
//     n even          SetVolume(level) with level = 5 * (n / 2 % 21): 0, 5, ..., 100, and again from 0;
//                     after level 100 the log item VolumePeak(100, "loud")
//     n % 42 == 41    SetMute(isMuted), where isMuted is true the first time and changes each time
//     n odd else      GetVolume() -> level
#pragma once

class VolumeControl {
public:
    // Makes call n.
    void MakeCall(unsigned long n);

    void SetVolume(int level);
    int GetVolume() const;
    void SetMute(bool isMuted);

private:
    int m_level = 0;
    bool m_isMuted = false;
};
