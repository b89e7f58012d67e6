#pragma once
// The driver of a job: startRepair checks on the user interface thread
// that the job can run and starts the worker; repairWorker chooses the MOV
// or AVI branch, drives the engines and hands the outcome back.

#include <string>

namespace tolmi {

// The Repair command.
void startRepair();
// The worker's thread procedure; returns 0 on every path.
int repairWorker();
// Waits until the worker thread of the last job has ended.
void waitForWorker();

// The temporary folder beside the executable, and its MOV output.
std::string TemporaryDir();
// The player's parameter string of an AVI job.
std::string AviPreviewDescriptor();

}  // namespace tolmi
