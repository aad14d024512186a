#include "Dispatcher.h"

int main(int argc, char** argv) {
    return qxlt::RunTool({argv + 1, argv + argc});
}
