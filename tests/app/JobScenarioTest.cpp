// Whole jobs through the window, driven as a user drives them, on files
// that ffmpeg makes: each scenario picks a file, starts the repair (held at
// its first figure shown, as on a slow disk, so that the user can act on a
// running job; on a busy machine the figure may leap far ahead), does
// what the user does, and ends with the messages the user saw, the state
// the window shows and what is left on the disk.

#include <QAbstractButton>
#include <QtTest>
#include <deque>
#include <filesystem>

#include "AviFixtures.h"
#include "MovFixtures.h"
#include "Probe.h"
#include "WindowHarness.h"
#include "app/Application.h"
#include "app/CMessageDlg.h"
#include "app/CXBottomSection.h"
#include "app/CXStatic.h"
#include "platform/Environment.h"
#include "platform/File.h"
#include "workflow/Language.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"
#include "workflow/SaveFlow.h"

namespace tolmi::test {
namespace {

namespace fs = std::filesystem;

QString Text(const char* key) { return QString::fromStdString(LoadText(key)); }

// Answers every message dialog as it opens: questions from a script (No
// when it is empty), the others by their one way out; keeps their texts.
class Answerer : public QObject {
public:
    Answerer() {
        connect(&poll_, &QTimer::timeout, this, &Answerer::answer);
        poll_.start(20);
    }
    std::deque<const char*> questions;
    QStringList seen;
    std::function<void(QWidget*)> onQuestion;

private:
    void answer() {
        auto* dialog = qobject_cast<CMessageDlg*>(QApplication::activeModalWidget());
        if (!dialog || dialog->property("answered").toBool()) return;
        dialog->setProperty("answered", true);
        seen << dialog->findChild<CXStatic*>("body")->text();
        const char* button = "okButton";
        if (QWidget* yes = dialog->findChild<QWidget*>("yesButton"); yes && yes->isVisible()) {
            if (onQuestion) onQuestion(dialog);
            button = questions.empty() ? "noButton" : questions.front();
            if (!questions.empty()) questions.pop_front();
        } else if (!dialog->findChild<QWidget*>("okButton")->isVisible()) {
            button = "cancelButton";  // the report offer
        }
        QTest::mouseClick(dialog->findChild<QWidget*>(button), Qt::LeftButton);
    }
    QTimer poll_;
};

enum class Input { MovWithItsMovie, MovWithoutMovie, Avi };

struct Run {
    WindowHarness h;
    Answerer dialogs;
    std::string damaged, reference;
    std::string target;
    QStringList openedFolders;
    int exitCode = -1;
    int64_t now = 1'800'000'000;

    std::string tmp() const { return h.dir().file("$tmp"); }
    int shownPercent() { return h.find<CXStatic>("percentLabel")->text().chopped(1).toInt(); }
    void tick() { emit h.frame().bottom()->clockTicked(); }
    QString elapsed() { return h.find<CXStatic>("elapsedTimeValue")->text(); }
};

// Waits until the worker has left the job in that state and the window shows it.
void WaitForState(JobState state, int seconds) {
    QTRY_COMPARE_WITH_TIMEOUT(Session().State(), state, HangLimitMs(seconds));
    waitForWorker();
    QCoreApplication::processEvents();
}

std::vector<std::string> FilesIn(const std::string& dir) {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(dir, error)) names.push_back(entry.path().filename().string());
    return names;
}

// A slow disk for the save: it holds with a third written until the user
// has answered, then goes on with the real copy's own answer.
void SaveOnASlowDisk(std::atomic<bool>& held) {
    OverrideFileMover([&held](const std::string& from, const std::string& to, const MoveProgress& progress) {
        return CopyFileWithProgress(from, to, [&](uint64_t total, uint64_t moved) {
            if (moved == 0) {
                held = true;
                if (!progress(total, total / 3)) return false;
                while (Session().messageKind == kNoMessage && Session().saveAllowed && held)
                    std::this_thread::sleep_for(std::chrono::milliseconds(10));
                while (Session().messageKind != kNoMessage) std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
            return progress(total, moved);
        });
    });
}

void Save(Run& run, const std::string& name) {
    run.target = run.h.dir().file(name);
    run.h.pickNext(QString::fromStdString(run.target));
    run.h.click("saveButton");
}

void SaveAndWaitForHome(Run& run) {
    Save(run, "saved.mov");
    WaitForState(JobState::Idle, 30);
}

struct Scenario {
    const char* name;
    Input input;
    std::deque<const char*> questions;                 // the answers to the questions, in order
    std::function<void(Run&)> beforeRepair, whileRunning, whenEnded;
    JobState end;
    std::vector<const char*> messages;                 // text keys of the dialogs seen, in order
};

void Release(Run& run) { run.h.release(); }

std::vector<Scenario> Scenarios() {
    return {
        {"MovWithItsOwnMovieIsSaved", Input::MovWithItsMovie, {}, {},
         [](Run& run) {
             Screenshot(run.h.frame(), "job_running");
             Release(run);
             WaitForState(JobState::Finished, 120);
             Screenshot(run.h.frame(), "job_finished");
             SaveAndWaitForHome(run);
             QVERIFY(!ProbePackets(run.target, "v:0").empty());
             QCOMPARE(run.openedFolders, QStringList{QString::fromStdString(run.h.dir().path())});
             QVERIFY(FilesIn(run.tmp()).empty());
         },
         {}, JobState::Idle, {"IDS_SAVE_COMPLETED"}},
        {"MovWithoutMovieAgainstAReference", Input::MovWithoutMovie, {}, {}, Release,
         [](Run& run) {
             QCOMPARE(run.h.find<CXStatic>("propertyValue0")->text(), QString(": damaged.mp4"));
             QCOMPARE(run.h.find<CXStatic>("propertyValue3")->text(), QString(": AVC1"));
             QVERIFY(ProbePackets(Session().tempOutputPath, "v:0").size() * 10 >=
                     ProbePackets(run.reference, "v:0").size() * 8);
         },
         JobState::Finished, {}},
        {"Avi", Input::Avi, {}, {}, Release,
         [](Run& run) {
             QCOMPARE(run.h.find<CXStatic>("percentLabel")->text(), QString::number(Session().shownAviPercent) + '%');
             QVERIFY(!ProbePackets(Session().aviOutputPath, "v:0").empty());
         },
         JobState::Finished, {}},
        {"CancelAnsweredNoThenYes", Input::MovWithItsMovie, {"noButton", "yesButton"}, {},
         [](Run& run) {
             run.dialogs.onQuestion = [](QWidget* dialog) { Screenshot(*dialog, "job_cancel_question"); };
             run.h.click("cancelButton");
             QCOMPARE(Session().State(), JobState::Running);
             run.h.click("cancelButton");
             WaitForState(JobState::Idle, 30);
             QTRY_VERIFY_WITH_TIMEOUT(FilesIn(run.tmp()).empty(), HangLimitMs(10));
         },
         {}, JobState::Idle, {"IDS_CANCEL_DLG_MSG ", "IDS_CANCEL_DLG_MSG ", "IDS_REPAIR_ABORTED"}},
        {"PauseLeavesItsTimeOut", Input::MovWithItsMovie, {}, {},
         [](Run& run) {
             run.now += 4;
             run.tick();
             QCOMPARE(run.elapsed(), QString(" 00:00:04"));
             run.h.click("pauseButton");
             QCOMPARE(run.h.find<QAbstractButton>("pauseButton")->text(), Text("IDS_RESUME"));
             Screenshot(run.h.frame(), "job_paused");
             run.now += 60;
             run.tick();
             QCOMPARE(run.elapsed(), QString(" 00:00:04"));
             run.h.click("pauseButton");
             QCOMPARE(run.h.find<QAbstractButton>("pauseButton")->text(), Text("IDS_PAUSE"));
             run.now += 2;
             run.tick();
             QCOMPARE(run.elapsed(), QString(" 00:00:06"));
             Release(run);
         },
         {}, JobState::Finished, {}},
        {"CloseAndHomeDuringAJob", Input::MovWithItsMovie, {}, {},
         [](Run& run) {
             // The close button, the window manager's close, the header's Home and the logo.
             run.h.click("closeButton");
             run.h.frame().close();
             run.h.click("homeHeaderButton");
             run.h.click("logo");
             QVERIFY(run.h.frame().isVisible());
             QCOMPARE(Session().State(), JobState::Running);
             QCOMPARE(run.exitCode, -1);
             Release(run);
         },
         {}, JobState::Finished, {"IDS_REPAIR_PROCESSING", "IDS_REPAIR_PROCESSING", "IDS_REPAIR_PROCESSING",
                                  "IDS_REPAIR_PROCESSING"}},
        {"CancelDuringASave", Input::MovWithItsMovie, {"yesButton"}, {}, Release,
         [](Run& run) {
             std::atomic<bool> held{false};
             SaveOnASlowDisk(held);
             Save(run, "saved.mov");
             QTRY_VERIFY_WITH_TIMEOUT(held && run.shownPercent() > 0, HangLimitMs(10));
             Screenshot(run.h.frame(), "job_saving");
             run.h.click("homeHeaderButton");  // says nothing, changes nothing
             QCOMPARE(Session().State(), JobState::Saving);
             run.h.click("cancelButton");
             // The result page comes back, with the result to save again.
             QTRY_VERIFY_WITH_TIMEOUT(run.h.find("saveButton")->isVisible(), HangLimitMs(10));
             OverrideFileMover(nullptr);
             QCOMPARE(Session().State(), JobState::Finished);
             QVERIFY(!FileExists(run.target));
             QVERIFY(FileExists(Session().tempOutputPath));
         },
         JobState::Finished, {"IDS_CANCEL_DLG_MSG ", "IDS_SAVE_ABORTED"}},
        {"ReplaceWhoseMoveFails", Input::MovWithItsMovie, {}, {}, Release,
         [](Run& run) {
             OverrideFileMover([](const std::string&, const std::string&, const MoveProgress&) { return MoveResult::Failed; });
             WriteAll(run.h.dir().file("saved.mov"), {1, 2, 3});
             Save(run, "saved.mov");
             QTRY_VERIFY_WITH_TIMEOUT(run.h.find("saveButton")->isVisible(), HangLimitMs(10));
             QCOMPARE(ReadAll(run.target), (std::vector<uint8_t>{1, 2, 3}));
             QVERIFY(FileExists(Session().tempOutputPath));
         },
         JobState::Finished, {"IDS_SAVE_ABORTED"}},
        {"NotEnoughSpaceToSave", Input::MovWithItsMovie, {}, {}, Release,
         [](Run& run) {
             Environment::OverrideFreeSpace(1000);
             Save(run, "saved.mov");
             Environment::OverrideFreeSpace(uint64_t(1) << 40);
             QVERIFY(!FileExists(run.target));
             QVERIFY(run.h.find("saveButton")->isEnabled());
         },
         JobState::Finished, {"IDS_ERROR9"}},
        {"CannotOpen", Input::MovWithItsMovie, {}, [](Run& run) { fs::remove(run.damaged); }, {}, {},
         JobState::Idle, {"IDS_MOVERROR4"}},
        {"CloseWhenFinishedAnsweredYes", Input::MovWithItsMovie, {"yesButton"}, {}, Release,
         [](Run& run) {
             const std::string result = Session().tempOutputPath;
             run.h.click("closeButton");
             QCOMPARE(run.exitCode, 0);
             QVERIFY(!FileExists(result));
         },
         JobState::Idle, {"IDS_CLOSE_DLG_MSG "}},
    };
}

// The input of a scenario, made by ffmpeg and damaged as cameras and crashes damage files.
bool MakeInput(Run& run, Input input) {
    if (input == Input::Avi) {
        const std::string clip = MakeClip(AviClips()[0]);
        run.damaged = run.h.dir().file("damaged.avi");
        if (!clip.empty()) WriteAll(run.damaged, Damaged(ReadAll(clip), Damage::CutAtEnd).first);
        return !clip.empty();
    }
    const MovRecipe recipe = H264AacRecipe("mp4", false);
    run.reference = MakeMovReference(recipe);
    const std::string recording = MakeMovRecording(recipe);
    if (run.reference.empty() || recording.empty()) return false;
    run.damaged = run.h.dir().file("damaged.mp4");
    if (input == Input::MovWithItsMovie) fs::copy_file(recording, run.damaged);
    else CopyWithZeroedAtom(recording, run.damaged, "moov");
    return true;
}

}  // namespace

class JobScenarioTest : public QObject {
    Q_OBJECT
private slots:
    void scenario_data();
    void scenario();
};

void JobScenarioTest::scenario_data() {
    QTest::addColumn<int>("row");
    for (size_t i = 0; i < Scenarios().size(); ++i) QTest::newRow(Scenarios()[i].name) << int(i);
}

void JobScenarioTest::scenario() {
    QFETCH(int, row);
    if (!HaveFfmpeg()) QSKIP("ffmpeg is not installed");
    Run run;
    OverrideFileMover(nullptr);  // the real file system, whatever the row before left
    const Scenario scenario = Scenarios()[size_t(row)];
    QVERIFY(MakeInput(run, scenario.input));
    run.dialogs.questions = scenario.questions;
    run.h.frame().setFolderOpener([&run](const QString& folder) { run.openedFolders << folder; });
    run.h.frame().setExit([&run](int code) { run.exitCode = code; });
    Session().clock = [&run] { return run.now; };

    run.h.pickNext(QString::fromStdString(run.damaged));
    run.h.click("addFileButton");
    if (scenario.input == Input::MovWithoutMovie) {
        run.h.click("repairButton");
        WaitForState(JobState::NeedsReference, 60);
        run.h.pickNext(QString::fromStdString(run.reference));
        run.h.click("referenceButton");
    }
    if (scenario.beforeRepair) scenario.beforeRepair(run);
    run.h.holdWorkerAt(1);
    run.h.click("repairButton");
    if (scenario.whileRunning) {
        QTRY_VERIFY_WITH_TIMEOUT(run.shownPercent() > 0, HangLimitMs(60));
        QCOMPARE(Session().State(), JobState::Running);
        scenario.whileRunning(run);
        if (QTest::currentTestFailed()) return;
    }
    if (scenario.whenEnded) {
        WaitForState(JobState::Finished, 120);
        scenario.whenEnded(run);
        if (QTest::currentTestFailed()) return;
    }
    WaitForState(scenario.end, 60);

    QStringList expected;
    for (const char* key : scenario.messages) expected << Text(key);
    QCOMPARE(run.dialogs.seen, expected);
    if (scenario.end == JobState::Idle) {
        QTRY_VERIFY_WITH_TIMEOUT(FilesIn(run.tmp()).empty(), HangLimitMs(10));
    }
}

}  // namespace tolmi::test

TOLMI_WINDOW_TEST_MAIN(tolmi::test::JobScenarioTest)
#include "JobScenarioTest.moc"
