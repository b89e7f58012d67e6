// Whole jobs through the window, driven as a user drives them: a damaged
// MOV that needs a reference, and a damaged AVI, from the file pick to the
// properties of the result.

#include <QtTest>

#include "AviFixtures.h"
#include "MovFixtures.h"
#include "Probe.h"
#include "WindowHarness.h"
#include "app/Application.h"
#include "app/CXStatic.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"

namespace tolmi::test {

class WholeJobTest : public QObject {
    Q_OBJECT
private slots:
    void damagedMovIsRepairedAgainstAReference();
    void damagedAviIsRepaired();

private:
    static QString Property(WindowHarness& h, int row) {
        return h.find<CXStatic>(qPrintable("propertyValue" + QString::number(row)))->text();
    }
    // Waits until the worker has left the job in that state and the window shows it.
    static void WaitForJobEnd(JobState state, int seconds) {
        QTRY_COMPARE_WITH_TIMEOUT(Session().State(), state, HangLimitMs(seconds));
        waitForWorker();
        QCoreApplication::processEvents();
    }
};

void WholeJobTest::damagedMovIsRepairedAgainstAReference() {
    if (!HaveFfmpeg()) QSKIP("ffmpeg is not installed");
    const MovRecipe recipe = H264AacRecipe("mp4", false);
    const std::string reference = MakeMovReference(recipe), recording = MakeMovRecording(recipe);
    QVERIFY(!reference.empty() && !recording.empty());
    WindowHarness h;
    // A crash before the camera wrote its index: the movie atom is gone.
    const std::string damaged = h.dir().file("damaged.mp4");
    QVERIFY(CopyWithZeroedAtom(recording, damaged, "moov"));

    h.pickNext(QString::fromStdString(damaged));
    h.click("addFileButton");
    QCOMPARE(Session().State(), JobState::Picked);
    h.click("repairButton");
    Screenshot(h.frame(), "job_mov_first_pass");
    WaitForJobEnd(JobState::NeedsReference, 60);
    QVERIFY(!h.find("repairButton")->isEnabled());

    h.pickNext(QString::fromStdString(reference));
    h.click("referenceButton");
    QCOMPARE(Session().State(), JobState::ReferenceChosen);
    Screenshot(h.frame(), "job_mov_reference_chosen");
    h.click("repairButton");
    QVERIFY(h.find("progressBar")->isVisible());
    WaitForJobEnd(JobState::Finished, 180);
    QVERIFY(h.find("properties")->isVisible());
    Screenshot(h.frame(), "job_mov_finished");

    QCOMPARE(Property(h, 0), QString(": damaged.mp4"));
    QVERIFY2(Property(h, 1).endsWith(" MB"), qPrintable(Property(h, 1)));
    QCOMPARE(Property(h, 2), QString(": 2"));
    QCOMPARE(Property(h, 3), QString(": AVC1"));
    QCOMPARE(Property(h, 4), QString(": 25.00 fps"));
    // The movie's duration in the first track's time scale: under a second here.
    QVERIFY2(QRegularExpression(R"(^: \d\d:\d\d:\d\d$)").match(Property(h, 5)).hasMatch(), qPrintable(Property(h, 5)));
    // The result plays: most of the recording's frames before the cut are there.
    QVERIFY(ProbePackets(Session().tempOutputPath, "v:0").size() * 10 >= ProbePackets(recording, "v:0").size() * 8);
}

void WholeJobTest::damagedAviIsRepaired() {
    if (!HaveFfmpeg()) QSKIP("ffmpeg is not installed");
    const std::string clip = MakeClip(AviClips()[0]);
    QVERIFY(!clip.empty());
    WindowHarness h;
    const std::string damaged = h.dir().file("damaged.avi");
    WriteAll(damaged, Damaged(ReadAll(clip), Damage::CutAtEnd).first);

    h.pickNext(QString::fromStdString(damaged));
    h.click("addFileButton");
    h.click("repairButton");
    Screenshot(h.frame(), "job_avi_running");
    WaitForJobEnd(JobState::Finished, 120);
    QVERIFY(h.find("properties")->isVisible());
    Screenshot(h.frame(), "job_avi_finished");

    // The pass's progress reached the window, step by step.
    QVERIFY(Session().shownAviPercent > 50);
    QCOMPARE(h.find<CXStatic>("percentLabel")->text(), QString::number(Session().shownAviPercent) + '%');
    QCOMPARE(Property(h, 0), QString(": damaged.avi"));
    QCOMPARE(Property(h, 2), QString(": 2"));
    QCOMPARE(Property(h, 3), QString(": ") + QString::fromStdString(Session().aviCodecFourCC));
    QVERIFY(!Session().aviCodecFourCC.empty());
    QVERIFY(Session().aviVideoChunks > 50);
    QVERIFY(!ProbePackets(Session().aviOutputPath, "v:0").empty());
}

}  // namespace tolmi::test

TOLMI_WINDOW_TEST_MAIN(tolmi::test::WholeJobTest)
#include "WholeJobTest.moc"
