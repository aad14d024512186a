// What a client shows its broker, and asks of it.
#pragma once

#include "BrokerAddress.h"
#include "BrokerOptions.h"

struct mosquitto;

namespace qxlt {

// Sets certificates, user and password as the options say. Throws a Failure (cannot start) for files that cannot be
// used.
void SetUpClient(mosquitto& client, const BrokerAddress& address, const BrokerOptions& options);

}  // namespace qxlt
