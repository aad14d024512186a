// The player of the media server, package "player". Call n of its thread "status", with k = n / 4:
//
//     n % 4 == 0    GetStatus() -> Status{state, title, position{track, milliseconds}}, where state is 0, 1, 2 in turn
//                   (k % 3: idle, playing, paused), title "Track T", track = T = k % 12 + 1, milliseconds = 1000 * k
//     n % 4 == 1    ListTracks(titles): recorded at exit, "Track 1" to "Track C" with C = k % 4
//     n % 4 == 2    SeekTo(position): milliseconds is 250 * k at entry and rounded down to whole seconds at exit; then
//                   the log item Heartbeat(k, "alive")
//     n % 4 == 3    ListMarkers() -> the positions {1, 0}, {2, 1000}, ..., k % 3 of them
#pragma once

#include <cstdint>
#include <string>
#include <vector>

struct Position {
    int track = 0;
    std::int64_t milliseconds = 0;
};

enum class PlayerState : unsigned char { Idle, Playing, Paused };

struct Status {
    PlayerState state = PlayerState::Idle;
    std::string title;
    Position position;
};

class Player {
public:
    // Makes call n.
    void MakeCall(unsigned long n);

    Status GetStatus() const;
    void ListTracks(std::vector<std::string>& titles) const;
    void SeekTo(Position& position);
    std::vector<Position> ListMarkers() const;

private:
    unsigned long m_round = 0;
};
