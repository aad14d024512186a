// qxlt-import-ctf DIR CAPTURE [MAP]: what `qxlt import ctf` is. People call that.
#include <exception>

#include "CtfImport.h"
#include "Failure.h"
#include "Messages.h"

int main(int argc, char** argv) {
    if (argc != 3 && argc != 4) {
        qxlt::PrintError("usage: qxlt import ctf DIR -o CAPTURE [--map FILE]");
        return qxlt::kCannotStart;
    }
    try {
        return qxlt::ImportCtfHere({argv[1], argv[2], argc == 4 ? argv[3] : ""});
    } catch (const qxlt::Failure& failure) {
        qxlt::PrintError(failure.what());
        return failure.Status();
    } catch (const std::exception& error) {
        qxlt::PrintError(error.what());
        return qxlt::kCannotStart;
    }
}
