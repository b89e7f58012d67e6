#pragma once
// tolmi-repair: repairs one damaged video from the command line.

namespace tolmi {

enum ExitCode : int {
    kExitRepaired = 0,
    kExitUnrepairable = 1,
    kExitUsage = 2,
    kExitNeedsReference = 3,
    kExitCannotOpen = 4,
    kExitCancelled = 130,
};

int RunRepairCommand(int argc, char** argv);

}  // namespace tolmi
