// What is thrown, by value, for bytes that cannot be what they should be. Clients may catch it too, so it is declared
// with their interface.
#pragma once

#include "IQxData.h"

using QxError = IQxData::_PERR_TYPE;
