// qxlt-fleet: the whole tool, with what needs a broker or a database. People call qxlt, which becomes this program for
// those commands.
#include "Dispatcher.h"
#include "Extensions.h"
#include "FleetReceiver.h"

int main(int argc, char** argv) {
    qxlt::Extensions extensions;
    extensions.receive = qxlt::ReceiveFleet;
    return qxlt::RunTool({argv + 1, argv + argc}, extensions);
}
