#include "cli/RepairCommand.h"

int main(int argc, char** argv) { return tolmi::RunRepairCommand(argc, argv); }
