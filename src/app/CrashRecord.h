#pragma once
// A crash leaves a record behind: the signal, the fault address and the
// stack, written to "new.dmp" in the user's data folder of the program
// (~/.local/share/Tolmi/videorepair) when that folder exists. The crash
// then goes on as it would have without the record.

#include <string>

namespace tolmi {

// The record's place for the current user ($XDG_DATA_HOME or ~/.local/share).
std::string CrashRecordPath();
// Sets the handler for the fatal signals, on a stack of its own so that a
// stack overflow can be recorded too.
void InstallCrashRecord();

}  // namespace tolmi
