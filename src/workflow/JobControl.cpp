#include "workflow/JobControl.h"

#include <algorithm>
#include <chrono>
#include <thread>

#include "platform/Environment.h"
#include "platform/File.h"
#include "workflow/RepairSession.h"

namespace tolmi {
namespace {

std::string UpperExtension(const std::string& path) {
    const std::string name = BaseName(path);
    const size_t dot = name.find_last_of('.');
    std::string extension = dot == std::string::npos ? std::string() : name.substr(dot + 1);
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return char(std::toupper(c)); });
    return extension;
}

// Counts characters, not bytes, so that a name in any script is cut whole.
size_t CharacterCount(const std::string& text) {
    return size_t(std::count_if(text.begin(), text.end(), [](char c) { return (uint8_t(c) & 0xC0) != 0x80; }));
}

std::string FirstCharacters(const std::string& text, size_t count) {
    size_t seen = 0;
    for (size_t i = 0; i < text.size(); ++i)
        if ((uint8_t(text[i]) & 0xC0) != 0x80 && seen++ == count) return text.substr(0, i);
    return text;
}

std::string LastCharacters(const std::string& text, size_t count) {
    size_t total = CharacterCount(text);
    if (total <= count) return text;
    size_t skip = total - count, seen = 0;
    for (size_t i = 0; i < text.size(); ++i)
        if ((uint8_t(text[i]) & 0xC0) != 0x80 && seen++ == skip) return text.substr(i);
    return {};
}

void sleepMs(int ms) { std::this_thread::sleep_for(std::chrono::milliseconds(ms)); }

}  // namespace

std::string DisplayForm(const std::string& prefix, const std::string& path, size_t limit) {
    if (CharacterCount(path) < limit) return prefix + path;
    return prefix + FirstCharacters(path, 30) + "..." + LastCharacters(path, 25);
}

void togglePause() {
    RepairSession& s = Session();
    if (s.paused == 1) {
        s.paused = 0;
        return;
    }
    s.pauseFolded = 0;
    s.pauseStart = s.Now();
    s.paused = 1;
}

namespace {

void askToCancel() {
    Session().Ui().showMessage(kCancelConfirmation, "IDS_CANCEL_DLG_MSG ", "IDS_CONFIRMATION", DialogButtons::YesNo);
}

// The save is held between two steps of its move while the question is
// open; on Yes its next step ends the move, and the save thread tells the
// user and removes what it had written.
void cancelSave() {
    RepairSession& s = Session();
    togglePause();
    askToCancel();
    s.paused = 0;
    if (s.lastAnswer == 1) s.saveAllowed.exchange(0);
}

void cancelRepair() {
    RepairSession& s = Session();
    if (s.paused != 1) togglePause();
    askToCancel();
    if (s.lastAnswer != 1 || s.percent >= 99) {
        s.paused = 1;
        togglePause();
        return;
    }
    if (s.isMovJob) s.jobLive = 0;
    else s.aviRunAllowed = 0;
    // Threads cannot be suspended here: the worker is told to stop instead,
    // and leaves without a word; the return to idle waits until it has.
    s.stopRequested = 1;
    s.workerThread = 0;
    sleepMs(500);
    s.pausedSpan = 0;
    s.pausedTotal = 0;
    s.Ui().showMessage(kAborted, "IDS_REPAIR_ABORTED", "IDS_INFORMATION", DialogButtons::Ok);
    s.repairing = 0;
    s.savePageActive = 0;
    s.showWelcome = 1;
    s.Ui().goHome();
}

// Holds a running job or save while a message tells the user about it;
// one the user had paused stays paused.
void tellItRuns(const char* textKey) {
    RepairSession& s = Session();
    const bool held = s.paused != 1;
    if (held) togglePause();
    s.Ui().showMessage(kInformation, textKey, "IDS_INFORMATION", DialogButtons::Ok);
    if (held) togglePause();
}

}  // namespace

void cancelJob() {
    RepairSession& s = Session();
    if (s.repairing == 1) cancelRepair();
    else if (s.saving == 1) cancelSave();
}

HomeAnswer requestHome() {
    RepairSession& s = Session();
    if (s.saving == 1) return HomeAnswer::SaveRuns;
    if (s.repairing == 1) {
        tellItRuns("IDS_REPAIR_PROCESSING");
        return HomeAnswer::JobRuns;
    }
    return returnToIdle() ? HomeAnswer::Idle : HomeAnswer::WorkerEnding;
}

bool confirmClose() {
    RepairSession& s = Session();
    if (s.repairing == 1 || s.saving == 1) {
        tellItRuns(s.repairing == 1 ? "IDS_REPAIR_PROCESSING" : "IDS_SAVE_PROCESSING");
        return false;
    }
    s.Ui().showMessage(kCloseConfirmation, "IDS_CLOSE_DLG_MSG ", "IDS_CONFIRMATION", DialogButtons::YesNo);
    return s.lastAnswer == 1;
}

void finishJob() {
    RepairSession& s = Session();
    s.finishedJobs.fetch_add(1);
    s.stopRequested = 0;
    s.startTime = s.Now();
    s.repairing = 0;
    s.awaitingReference = 0;
    s.workerThread = 0;
}

bool returnToIdle() {
    RepairSession& s = Session();
    if (s.saving == 1 || s.repairing == 1 || s.workerAlive == 1) return false;
    s.previewRunning = 0;
    s.showWelcome = 1;
    for (File* file : {&s.aviInputFile, &s.aviOutputFile, &s.aviIndexFile, &s.aviImageFile}) file->close();
    if (!s.tempOutputPath.empty()) DeleteFilePath(s.tempOutputPath);
    if (!s.aviOutputPath.empty()) DeleteFilePath(s.aviOutputPath);
    s.tempOutputPath.clear();
    s.aviOutputPath.clear();
    s.corruptedPath.clear();
    s.corruptedName.clear();
    s.corruptedExtension.clear();
    s.corruptedDisplay.clear();
    s.referencePath.clear();
    s.referenceName.clear();
    s.referenceDisplay.clear();
    s.scanPath.clear();
    s.previewDescriptor.clear();
    for (Flag* flag : {&s.isMovJob, &s.isAviJob, &s.repairing, &s.savePageActive, &s.jobLive,
                       &s.awaitingReference, &s.finishedJobs})
        flag->store(0);
    return true;
}

void pickCorruptedFile(const std::string& path) {
    RepairSession& s = Session();
    s.corruptedPath = path;
    s.corruptedExtension = UpperExtension(path);
    s.corruptedName = BaseName(path);
    s.awaitingReference = 0;
    if (s.corruptedExtension == "MP4" || s.corruptedExtension == "MOV") {
        s.isMovJob = 1;
        s.corruptedDisplay = DisplayForm("Corrupted File: ", path, 60);
    } else {
        s.isMovJob = 0;
        s.isAviJob = 1;
        s.aviRunAllowed = 1;
        s.corruptedDisplay = DisplayForm("Path: ", path, 60);
    }
}

void pickReferenceFile(const std::string& path) {
    RepairSession& s = Session();
    s.referencePath = path;
    s.referenceName = BaseName(path);
    s.referenceDisplay = DisplayForm("Healthy File: ", path, 62);
    s.scanPath = s.referencePath;
}

}  // namespace tolmi
