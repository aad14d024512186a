// qxlt-fleet: the whole tool, with what needs a broker or a database. People call qxlt, which becomes this program for
// those commands.
#include <memory>

#include "Dispatcher.h"
#include "FleetReceiver.h"
#include "PublishPart.h"

namespace {

std::unique_ptr<qxlt::IRunPart> Publish(const qxlt::PublishOptions& options,
                                        const qxlt::RunSurroundings& surroundings) {
    return std::make_unique<qxlt::PublishPart>(options, surroundings);
}

}  // namespace

int main(int argc, char** argv) {
    qxlt::Extensions extensions;
    extensions.publish = Publish;
    extensions.receive = qxlt::ReceiveFleet;
    return qxlt::RunTool({argv + 1, argv + argc}, extensions);
}
