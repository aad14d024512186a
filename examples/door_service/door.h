// The doors of the door service, package "door". Call n of the service, with k = n / 4:
//
//     n % 4 == 0    CheckCard("card-C") -> true, with C = k % 10; card 7 is refused: false, and the log item
//                   CardRefused("card-7", k)
//     n % 4 == 1    OpenDoor(door{opened, is_open, name}) -> k: `opened` is k at entry and k + 1 at exit, is_open is
//     set
//                   in between, name is "front" for even k, else "back"
//     n % 4 == 2    ReadSensor(frame) -> size: frame is recorded at exit and holds the bytes 0 to size - 1, with
//                   size = k % 8
//     n % 4 == 3    GetTemperature() -> 20 + (k % 20) / 4
#pragma once

#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

struct door {
    uint32_t opened;  // how often
    bool is_open;
    char name[8];
};

// Makes call n.
void door_make_call(uint32_t n);

bool door_check_card(const char* card, uint32_t round);
uint32_t door_open(struct door* door);
// Fills in at most `room` bytes, and tells how many.
size_t door_read_sensor(uint32_t round, unsigned char* frame, size_t room);
double door_get_temperature(uint32_t round);
