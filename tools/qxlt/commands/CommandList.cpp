#include "CommandList.h"

namespace qxlt {

const std::vector<AddFunction>& AllCommands() {
    static const std::vector<AddFunction> commands = {AddRun,    AddReplay, AddDecode, AddList, AddClean,
                                                      AddCheck,  AddTest,   AddTrace,  AddTop,  AddReport,
                                                      AddExport, AddImport, AddView,   AddFleet};
    return commands;
}

}  // namespace qxlt
