#include "status.h"

#include <qx/recorder.h>

QX_TRACE_STRUCT(Position, track, milliseconds)
QX_TRACE_STRUCT(Status, state, title, position)

void Player::MakeCall(unsigned long n) {
    m_round = n / 4;
    std::vector<std::string> titles;
    Position position{static_cast<int>(m_round % 12) + 1, static_cast<std::int64_t>(250 * m_round)};
    switch (n % 4) {
        case 0:
            GetStatus();
            break;
        case 1:
            ListTracks(titles);
            break;
        case 2:
            SeekTo(position);
            QX_LOG("player", "Heartbeat", static_cast<std::uint32_t>(m_round), "alive");
            break;
        default:
            ListMarkers();
    }
}

Status Player::GetStatus() const {
    QX_CALL_RETURNS(call, Status, "player", "GetStatus");
    const int track = static_cast<int>(m_round % 12) + 1;
    const PlayerState state = static_cast<PlayerState>(m_round % 3);
    return call.Return({state, "Track " + std::to_string(track), {track, static_cast<std::int64_t>(1000 * m_round)}});
}

void Player::ListTracks(std::vector<std::string>& titles) const {
    QX_CALL(call, "player", "ListTracks", qx::Out(titles));
    for (unsigned long i = 1; i <= m_round % 4; ++i) titles.push_back("Track " + std::to_string(i));
}

void Player::SeekTo(Position& position) {
    QX_CALL(call, "player", "SeekTo", qx::InOut(position));
    position.milliseconds -= position.milliseconds % 1000;
}

std::vector<Position> Player::ListMarkers() const {
    QX_CALL_RETURNS(call, std::vector<Position>, "player", "ListMarkers");
    std::vector<Position> markers;
    for (unsigned long i = 0; i < m_round % 3; ++i) {
        markers.push_back({static_cast<int>(i) + 1, static_cast<std::int64_t>(1000 * i)});
    }
    return call.Return(markers);
}
