// qxlt-fleet: the whole tool, with what needs a broker or a database. People call qxlt, which becomes this program for
// those commands.
#include "Dispatcher.h"

int main(int argc, char** argv) {
    return qxlt::RunTool({argv + 1, argv + argc});
}
