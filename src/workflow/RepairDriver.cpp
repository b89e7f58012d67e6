#include "workflow/RepairDriver.h"

#include <cstdio>
#include <memory>
#include <mutex>
#include <thread>

#include "avirepair/CRepairAVI.h"
#include "container/GFile.h"
#include "movrepair/CRepairMOV.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "workflow/JobControl.h"
#include "workflow/Properties.h"
#include "workflow/RepairSession.h"
#include "workflow/ResultCheck.h"

namespace tolmi {
namespace {

constexpr int64_t kDiskReserve = 104857600;  // 100 MiB stay free on the program's drive

std::mutex workerLock;
std::thread worker;

void failStart(int kind, const char* textKey) {
    RepairSession& s = Session();
    s.Ui().showMessage(kind, textKey, "IDS_INFORMATION", DialogButtons::Ok);
    s.repairing = 0;
    s.Ui().goHome();
}

void startWorker() {
    std::lock_guard guard(workerLock);
    if (worker.joinable()) worker.join();
    Session().workerThread = 1;
    Session().workerAlive = 1;
    worker = std::thread([] {
        MarkWorkerThread();
        repairWorker();
        Session().workerAlive = 0;
    });
}

// The way out of a job that gave no result. A job stopped by the cancel
// leaves the screen and the return to idle to the cancel, so that the
// user sees the abort once and goes home once.
void exitWithoutResult() {
    RepairSession& s = Session();
    if (s.stopRequested) return;
    s.repairing = 0;
    s.Ui().goHome();
}

// The engines stop at a write that fails, and their output is then short
// of what they reported: a disk that filled up. The job ends without a result.
void failForSpace() {
    Session().Ui().showMessage(kDiskSpace, "IDS_ERROR9", "IDS_INFORMATION", DialogButtons::Ok);
    exitWithoutResult();
}

void askUserForReference() {
    RepairSession& s = Session();
    s.paused = 0;
    s.repairing = 0;
    s.referencePath.clear();
    s.showWelcome = 1;
    s.awaitingReference = 1;
    s.workerThread = 0;
    s.Ui().askForReference();
}

int movBranch() {
    RepairSession& s = Session();
    s.jobFailed = 0;
    auto file = std::make_shared<GFile>();
    auto engine = std::make_shared<CRepairMOV>();
    s.referenceFile = file;
    s.engine = engine;
    s.Ui().showStatus("Analyzing video file...");
    file->ScanFile(s.scanPath);
    if (s.stopRequested) return 0;

    if (!file->movie) {
        s.referenceFile.reset();
        if (s.referencePath == s.corruptedPath) {
            askUserForReference();
        } else {
            s.Ui().showMessage(kInformation, "IDS_UNHEALTHY_1", "IDS_INFORMATION", DialogButtons::Ok);
            s.repairing = 0;
            s.Ui().goHome();
        }
        return 0;
    }

    const std::string dir = TemporaryDir();
    if (CreateDirectoryPath(dir)) SetHiddenAttribute(dir);
    const std::string output = JoinPath(dir, "Repaired.mov");
    DeleteFilePath(output);
    engine->SetOutputPath(output);
    engine->ScanMediaData();
    s.tempOutputPath = output;
    engine->WriteRepairedFile(s.tempOutputPath, s.corruptedPath);

    if (s.jobFailed || s.jobLive == 0 || s.stopRequested) {
        exitWithoutResult();
        return 0;
    }
    if (!MovResultIsWhole(s.tempOutputPath, s.movOutputSize)) {
        failForSpace();
        return 0;
    }
    s.jobLive.exchange(0);
    s.Ui().showResult();
    return 0;
}

int aviBranch() {
    RepairSession& s = Session();
    s.jobFailed = 0;
    s.jobLive = 1;
    auto engine = std::make_shared<CRepairAVI>();
    s.engine = engine;
    if (engine->Repair() == 0) {
        s.Ui().showMessage(kInformation, "IDS_UNHEALTHY_1", "IDS_INFORMATION", DialogButtons::Ok);
        s.jobFailed = 1;
    } else {
        s.previewDescriptor = AviPreviewDescriptor();
    }
    s.workerThread = 0;
    if (s.jobFailed || s.aviRunAllowed == 0) {
        s.jobFailed = 0;
        exitWithoutResult();
        return 0;
    }
    if (!AviResultIsWhole(s.aviOutputPath, s.aviOutputSize, uint64_t(s.aviVideoChunks) + s.aviAudioChunks)) {
        failForSpace();
        return 0;
    }
    s.Ui().showResult();
    return 0;
}

}  // namespace

std::string TemporaryDir() { return Environment::TemporaryDir(); }

std::string AviPreviewDescriptor() {
    const RepairSession& s = Session();
    // 1179011410 is "RIFF" read as a little-endian word; the header stands at 0.
    return s.aviOutputPath + "$$" + s.corruptedName + "$$" + AviSizeText(s.aviOutputSize) + "$$" +
           std::to_string(1179011410u) + "$$0";
}

void startRepair() {
    RepairSession& s = Session();
    s.repairing = 1;
    s.progressResetPending = 1;
    for (Flag* flag : {&s.paused, &s.stopRequested, &s.percent, &s.showWelcome, &s.lastAnswer}) flag->store(0);
    s.pausedSpan = 0;
    s.pausedTotal = 0;
    s.Ui().showRepairPage(s.isMovJob ? "IDS_PLEASE_WAIT_ANALYSING" : "IDS_PLEASE_WAIT");

    if (s.isMovJob && s.referencePath.empty()) {
        s.referencePath = s.corruptedPath;
        s.scanPath = s.referencePath;
    }
    const std::string& tested = s.isMovJob ? s.referencePath : s.corruptedPath;
    File file(tested, FileAccess::Read, FileCreation::OpenExisting);
    if (!file.isOpen()) {
        failStart(kInformation, s.isMovJob ? "IDS_MOVERROR4" : "IDS_AVIERROR7");
        return;
    }
    const int64_t size = int64_t(file.size().value_or(0));
    const auto freeSpace = Environment::FreeSpace(Environment::WorkDir());
    const int64_t limit = int64_t(freeSpace.value_or(0)) - kDiskReserve;
    if (size > limit) {
        file.close();
        failStart(kDiskSpace, "IDS_ERROR9");
        return;
    }
    file.close();
    startWorker();
    s.Ui().startElapsedTimer();
}

int repairWorker() { return Session().isMovJob ? movBranch() : aviBranch(); }

void waitForWorker() {
    std::lock_guard guard(workerLock);
    if (worker.joinable()) worker.join();
}

}  // namespace tolmi
