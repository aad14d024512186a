#include "door.h"

#include <qx/recorder_c.h>
#include <stdio.h>
#include <string.h>

QX_TRACE_STRUCT(door_table, struct door, "Door", QX_MEMBER(struct door, uint32, opened),
                QX_MEMBER(struct door, bool, is_open), QX_MEMBER_CHARS(struct door, name));

void door_make_call(uint32_t n) {
    const uint32_t round = n / 4;
    char card[16];
    unsigned char frame[8];
    struct door door = {round, false, "front"};
    switch (n % 4) {
        case 0:
            snprintf(card, sizeof(card), "card-%u", (unsigned)(round % 10));
            door_check_card(card, round);
            break;
        case 1:
            if (round % 2 == 1) strcpy(door.name, "back");
            door_open(&door);
            break;
        case 2:
            door_read_sensor(round, frame, sizeof(frame));
            break;
        default:
            door_get_temperature(round);
    }
}

bool door_check_card(const char* card, uint32_t round) {
    QX_CALL_RETURNS(call, bool, "door", "CheckCard", QX_IN(text, card));
    if (strcmp(card, "card-7") != 0) QX_RETURN(call, true);
    QX_LOG("door", "CardRefused", QX_IN(text, card), QX_IN(uint32, round));
    QX_RETURN(call, false);
}

uint32_t door_open(struct door* door) {
    QX_CALL_RETURNS(call, uint32, "door", "OpenDoor", QX_INOUT_STRUCT(door_table, door));
    door->is_open = true;
    QX_RETURN(call, door->opened++);
}

size_t door_read_sensor(uint32_t round, unsigned char* frame, size_t room) {
    size_t size = 0;
    QX_CALL_RETURNS(call, size, "door", "ReadSensor", QX_OUT_BYTES(frame, size));
    for (; size < round % 8 && size < room; ++size) frame[size] = (unsigned char)size;
    QX_RETURN(call, size);
}

double door_get_temperature(uint32_t round) {
    QX_CALL_RETURNS(call, double, "door", "GetTemperature");
    QX_RETURN(call, 20 + (double)(round % 20) / 4);
}
