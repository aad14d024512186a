// A capture of calls within calls, of values of every kind.
#pragma once

#include <string>

#include "Workplace.h"

// Of process m[7], in two cycles, the second of which lost something. Returns its directory.
//
//     105..6105   mixer     audio.Play("hd\"mi") = -1
//     1105..3105  mixer       audio.SetVolume(85)
//     3110        mixer       audio.Log(true, 2.5)       a log record
//     6200..7200  mixer     audio.Move({x:1 y:2}) out (255)
//     300..4300   thread 4  audio.SetVolume(20)          in the second cycle
std::string NestedCapture(const Workplace& place);
