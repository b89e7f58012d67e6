#pragma once
// The job protocol between a front end and the worker: pause and resume,
// cancel with its confirmation, the finish step, the return to idle, and
// the choice of the files of a job.

#include <string>

namespace tolmi {

void togglePause();
// The Cancel command: asks the confirmation and, on Yes, stops the job or
// the save. A stopped save keeps the result for another try.
void cancelJob();

enum class HomeAnswer { Idle, JobRuns, SaveRuns, WorkerEnding };
// Home, Back and the logo. A running job is held while the user is told
// that it goes on; a save goes on without a word; a worker on its way out
// is waited for by asking again (WorkerEnding). Idle: the job's files are
// gone and the idle page is due.
HomeAnswer requestHome();
// The close command: while a job or a save runs, holds it, tells the user
// and answers false; else asks, and true means the user said Yes.
bool confirmClose();
// The finish step behind showResult: on the worker thread.
void finishJob();
// The core of the return to the idle page: deletes the job's output and
// clears paths and flags. Does nothing while a job or a save runs, nor
// while the worker has not yet returned. True when it was done.
bool returnToIdle();

// The file pick: the job kind follows from the extension alone.
void pickCorruptedFile(const std::string& path);
// An empty path stands for a dismissed picker.
void pickReferenceFile(const std::string& path);

// The label text of a path: prefix and path, or from `limit` characters on
// prefix, the first 30 characters, "..." and the last 25.
std::string DisplayForm(const std::string& prefix, const std::string& path, size_t limit);

}  // namespace tolmi
