#include "FuzzTool.h"

#include "Messages.h"
#include "QxDebugPrint.h"
#include "Replayer.h"

void RunFuzzedCommand(void (*add)(CLI::App&, qxlt::Invocation&), std::vector<std::string> arguments) {
    QxDebugPrint::GetInstance()->SetLevel(Info);
    CLI::App app;
    qxlt::Invocation invocation;
    add(app, invocation);
    arguments.insert(arguments.begin(), app.get_subcommands(nullptr).front()->get_name());
    // The parser takes its arguments from the back.
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
    try {
        invocation.work();
    } catch (const qxlt::Failure& failure) {
        qxlt::PrintError(failure.what());
    }
    qxlt::ForgetEvents();
}
