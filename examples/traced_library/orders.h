// The orders of the order service, in a database that lives as long as the process. Order n, in rounds of 50:
//
//     n % 50 == 0    the orders so far are deleted
//     n % 10 == 9    its number is that of the order before, which the database refuses: a constraint
//     n % 25 == 7    its statement is misspelt, and is refused before it could run
#pragma once

#include <sqlite3.h>
#include <stdbool.h>
#include <stdint.h>

// Null when there is no memory.
sqlite3* orders_open(void);

// Takes order n. Returns whether the database did.
bool orders_take(sqlite3* database, uint32_t n);
