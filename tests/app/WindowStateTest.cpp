// The window in each state of a job, its message dialog of every kind, and
// the font table; screenshots of each into the build folder.

#include <QAbstractButton>
#include <QScreen>
#include <QtTest>
#include <functional>
#include <thread>

#include "WindowHarness.h"
#include "app/AppFonts.h"
#include "app/Application.h"
#include "app/CMessageDlg.h"
#include "app/CXContainer.h"
#include "app/CXProgressBar.h"
#include "app/CXStatic.h"
#include "app/CXTopSection.h"
#include "app/ScreenModel.h"
#include "workflow/JobControl.h"
#include "workflow/Language.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"

namespace tolmi::test {
namespace {

QString Text(const char* key) { return QString::fromStdString(LoadText(key)); }

const QString kMovPath = "/home/user/Videos/Holiday at the lake/clip_0042_from_the_phone_camera.mov";
const QString kAviPath = "/home/user/Videos/birthday.avi";

void PickMov(WindowHarness& h) {
    h.pickNext(kMovPath);
    h.click("addFileButton");
}

// The running page as the driver and a MOV engine show it, at 42 %.
void RunMov(WindowHarness& h) {
    PickMov(h);
    RepairSession& s = Session();
    s.repairing = 1;
    s.showWelcome = 0;
    s.referencePath = s.corruptedPath;
    h.frame().showRepairPage("IDS_PLEASE_WAIT_ANALYSING");
    s.percent = 42;
    h.frame().setProgress(42);
    auto* bar = h.find<CXProgressBar>("progressBar");
    QTRY_COMPARE_WITH_TIMEOUT(bar->drawnWidth(), (bar->width() + 99) / 100 * 42, HangLimitMs(5));
}

// The driver's first pass over a file without a movie, for real.
void AskForReference(WindowHarness& h) {
    const std::string junk = h.dir().file("clip.mov");
    WriteAll(junk, std::vector<uint8_t>(5000, 0x11));
    h.pickNext(QString::fromStdString(junk));
    h.click("addFileButton");
    h.click("repairButton");
    QTRY_COMPARE_WITH_TIMEOUT(Session().State(), JobState::NeedsReference, HangLimitMs(20));
    waitForWorker();
    QCoreApplication::processEvents();  // the worker's last call to the window
}

// A finished AVI job as its worker leaves it.
void FinishAvi(WindowHarness& h) {
    h.pickNext(kAviPath);
    h.click("addFileButton");
    RepairSession& s = Session();
    s.aviOutputPath = h.dir().file("Repaired.avi");
    s.aviOutputSize = 7654321;
    s.aviVideoChunks = 250;
    s.aviAudioChunks = 190;
    s.aviMicroSecPerFrame = 40000;
    s.aviCodecFourCC = "XVID";
    h.frame().showResult();
}

struct StateRow {
    const char* name;
    std::function<void(WindowHarness&)> setUp;
    JobState state;
    const char* titleKey;
    std::vector<Ctl> shown;
    std::vector<Ctl> disabled;
    std::vector<std::pair<const char*, QString>> texts;  // object name, text
};

// Built when the language is loaded, since the texts come from it.
std::vector<StateRow> StateRows() {
    return {
        {"Idle", [](WindowHarness&) {}, JobState::Idle, "IDS_SELECT_VIDEO", {Ctl::AddHint, Ctl::AddFile}, {},
         {{"addHintLabel", Text("IDS_CLICK_ADD")}}},
        {"PickedMov", PickMov, JobState::Picked, "IDS_SELECT_VIDEO",
         {Ctl::Selected, Ctl::Corrupted, Ctl::Repair, Ctl::Back}, {},
         {{"selectedLabel", Text("IDS_FILE_SELECTED")},
          {"corruptedLabel", "Corrupted File: /home/user/Videos/Holiday at t...from_the_phone_camera.mov"}}},
        {"PickedAvi",
         [](WindowHarness& h) {
             h.pickNext(kAviPath);
             h.click("addFileButton");
         },
         JobState::Picked, "IDS_SELECT_VIDEO", {Ctl::Selected, Ctl::AviPath, Ctl::Repair, Ctl::Back, Ctl::AddFile}, {},
         {{"aviPathLabel", "Path: " + kAviPath}}},
        {"Running", RunMov, JobState::Running, "IDS_REPAIRING_VIDEO",
         {Ctl::Selected, Ctl::Corrupted, Ctl::Pause, Ctl::Cancel, Ctl::Status, Ctl::Bar, Ctl::Percent, Ctl::StartTime,
          Ctl::Elapsed},
         {},
         {{"pauseButton", Text("IDS_PAUSE")}, {"percentLabel", "42%"}, {"startTimeValue", " 00:00:00"},
          {"statusLine", Text("IDS_PLEASE_WAIT_ANALYSING")}}},
        {"Paused",
         [](WindowHarness& h) {
             RunMov(h);
             h.click("pauseButton");
         },
         JobState::Paused, "IDS_REPAIRING_VIDEO",
         {Ctl::Selected, Ctl::Corrupted, Ctl::Pause, Ctl::Cancel, Ctl::Status, Ctl::Bar, Ctl::Percent, Ctl::StartTime,
          Ctl::Elapsed},
         {},
         {{"pauseButton", Text("IDS_RESUME")}}},
        {"NeedsReference", AskForReference, JobState::NeedsReference, "IDS_SELECT_REFERNCE_HEADER",
         {Ctl::Selected, Ctl::Corrupted, Ctl::Reference, Ctl::Repair, Ctl::Back, Ctl::ReferenceButton, Ctl::HelpLink},
         {Ctl::Repair},
         {{"referenceLabel", Text("IDS_SELECT_REFERENCE")}, {"helpLink", Text("IDS_WHY_HEALTHY")}}},
        {"ReferenceChosen",
         [](WindowHarness& h) {
             AskForReference(h);
             h.pickNext("/home/user/Videos/healthy.mov");
             h.click("referenceButton");
         },
         JobState::ReferenceChosen, "IDS_SELECT_REFERNCE_HEADER",
         {Ctl::Selected, Ctl::Corrupted, Ctl::Reference, Ctl::Repair, Ctl::Back, Ctl::ReferenceButton, Ctl::HelpLink},
         {},
         {{"referenceLabel", "Healthy File: /home/user/Videos/healthy.mov"}}},
        {"Finished", FinishAvi, JobState::Finished, "IDS_REPAIRED_DETAILS",
         {Ctl::Home, Ctl::PreviewButton, Ctl::Save, Ctl::Unable, Ctl::ReportLink, Ctl::Properties,
          Ctl::PreviewPicture},
         {},
         {{"propertyLabel0", Text("IDS_FILE_NAME")}, {"propertyValue0", ": birthday.avi"},
          {"propertyValue1", ": 7.30 MB"}, {"propertyValue2", ": 2"}, {"propertyValue3", ": XVID"},
          {"propertyValue4", ": 40"}, {"propertyValue5", ": 00:00:10"}}},
        {"Saving",
         [](WindowHarness& h) {
             FinishAvi(h);
             RepairSession& s = Session();
             s.saving = 1;
             s.savePageActive = 1;
             s.saveTargetPath = "/home/user/Videos/Repaired videos/TolmiVideoRepair_ 23-11-2026-22-40-5.avi";
             h.frame().refresh();
         },
         JobState::Saving, "IDS_SAVING_VIDEO",
         {Ctl::AviPath, Ctl::Cancel, Ctl::Status, Ctl::Bar, Ctl::Percent, Ctl::StartTime, Ctl::Elapsed}, {},
         {{"aviPathLabel", Text("IDS_DESTINATION") + ": /home/user/Videos/Repaired vid...r_ 23-11-2026-22-40-5.avi"},
          {"statusLine", Text("IDS_PLEASE_WAIT_SAVING")}}},
    };
}

bool IsRed(QRgb pixel) { return qRed(pixel) > 200 && qGreen(pixel) < 90 && qBlue(pixel) < 90; }

}  // namespace

class WindowStateTest : public QObject {
    Q_OBJECT
private slots:
    void eachStateShowsItsControlsAndTexts_data();
    void eachStateShowsItsControlsAndTexts();
    void coloursAndGeometry();
    void dialogKinds_data();
    void dialogKinds();
    void reportOfferComparesTheFailureTexts();
    void fontDivisorTable_data();
    void fontDivisorTable();
};

void WindowStateTest::eachStateShowsItsControlsAndTexts_data() {
    QTest::addColumn<int>("row");
    for (size_t i = 0; i < StateRows().size(); ++i) QTest::newRow(StateRows()[i].name) << int(i);
}

void WindowStateTest::eachStateShowsItsControlsAndTexts() {
    QFETCH(int, row);
    WindowHarness h;
    const StateRow expected = StateRows()[size_t(row)];
    expected.setUp(h);
    QCOMPARE(Session().State(), expected.state);
    QCOMPARE(h.frame().top()->title(), Text(expected.titleKey));
    for (int c = int(Ctl::AddHint); c <= int(Ctl::PreviewPicture); ++c) {
        const Ctl control = Ctl(c);
        QWidget* widget = h.find(CtlName(control));
        QVERIFY2(widget, CtlName(control));
        const bool shown = std::count(expected.shown.begin(), expected.shown.end(), control) > 0;
        const bool enabled = std::count(expected.disabled.begin(), expected.disabled.end(), control) == 0;
        QVERIFY2(widget->isVisible() == shown, CtlName(control));
        if (shown) QVERIFY2(widget->isEnabled() == enabled, CtlName(control));
    }
    for (const auto& [name, text] : expected.texts) {
        QWidget* widget = h.find(name);
        QVERIFY2(widget, name);
        auto* label = qobject_cast<CXStatic*>(widget);
        auto* button = qobject_cast<QAbstractButton*>(widget);
        QCOMPARE(label ? label->text() : button->text(), text);
    }
    Screenshot(h.frame(), QString("state_") + expected.name);
}

// The colours that carry meaning, read back from the drawn window, and the
// places of the three sections at the window's size and after a maximise.
void WindowStateTest::coloursAndGeometry() {
    WindowHarness h;
    for (bool maximizedOnce : {false, true}) {
        QCOMPARE(h.frame().size(), QSize(1025, 585));
        QCOMPARE(h.frame().top()->geometry(), QRect(8, 70, 1009, 52));
        QCOMPARE(h.frame().container()->geometry(), QRect(8, 122, 1009, 369));
        QCOMPARE(h.find("cancelButton")->parentWidget()->geometry(), QRect(8, 491, 1009, 89));
        if (maximizedOnce) break;
        h.click("maximizeButton");
        QCOMPARE(h.frame().size(), h.frame().screen()->availableGeometry().size());
        QCOMPARE(h.find("maximizeButton")->toolTip(), QString("Restore"));
        h.click("maximizeButton");
    }
    RunMov(h);
    const QImage window = h.frame().grab().toImage();
    QCOMPARE(window.pixelColor(500, 5), QColor(0x05, 0x50, 0x93));   // the header band
    QCOMPARE(window.pixelColor(3, 5), QColor(Qt::white));             // the margin beside it
    CXProgressBar* bar = h.find<CXProgressBar>("progressBar");
    const int meet = bar->drawnWidth();
    QCOMPARE(meet, (bar->width() + 99) / 100 * 42);
    const QImage drawn = bar->grab().toImage();
    QCOMPARE(drawn.pixelColor(meet - 1, 2), QColor(0x23, 0xb9, 0x49));
    QCOMPARE(drawn.pixelColor(meet, 2), QColor(0xeb, 0xeb, 0xeb));

    // The hot look of a command button and of a header button.
    for (const char* name : {"pauseButton", "closeButton"}) {
        QWidget* button = h.find(name);
        const QPoint centre = button->rect().center() + QPoint(0, button->height() / 4);
        const QColor normal = button->grab().toImage().pixelColor(centre);
        QTest::mouseMove(button, centre);
        QTRY_VERIFY(button->underMouse());
        QVERIFY2(button->grab().toImage().pixelColor(centre) != normal, name);
        Screenshot(*h.frame().window(), QString("hot_") + name);
    }

    WindowHarness asking;
    AskForReference(asking);
    const QImage prompt = asking.find("referenceLabel")->grab().toImage();
    int red = 0;
    for (int y = 0; y < prompt.height(); ++y)
        for (int x = 0; x < prompt.width(); ++x) red += IsRed(prompt.pixel(x, y));
    QVERIFY2(red > 50, "the prompt for a reference is drawn in red");
}

struct DialogRow {
    const char* name;
    int kind;
    const char* textKey;
    std::vector<const char*> buttons;  // the visible buttons
    const char* press;
    int answer;        // lastAnswer after the press; -1: unchanged
    bool thirdLine;
};

const std::vector<DialogRow>& DialogRows() {
    static const std::vector<DialogRow> rows = {
        {"kind1_close_yes", kCloseConfirmation, "IDS_CLOSE_DLG_MSG ", {"yesButton", "noButton"}, "yesButton", 1, false},
        {"kind2_cancel_no", kCancelConfirmation, "IDS_CANCEL_DLG_MSG ", {"yesButton", "noButton"}, "noButton", 0, false},
        {"kind2_cancel_close_button", kCancelConfirmation, "IDS_CANCEL_DLG_MSG ", {"yesButton", "noButton"},
         "dialogClose", 0, false},
        {"kind3_aborted", kAborted, "IDS_REPAIR_ABORTED", {"okButton"}, "okButton", 0, false},
        {"kind4_information", kInformation, "IDS_REPAIR_PROCESSING", {"okButton"}, "okButton", 0, false},
        {"kind4_report_share", kInformation, "IDS_UNHEALTHY_1", {"cancelButton", "shareButton"}, "shareButton", -1,
         false},
        {"kind4_report_cancel", kInformation, "IDS_MOVERROR3", {"cancelButton", "shareButton"}, "cancelButton", 0,
         false},
        {"kind5_disk_space", kDiskSpace, "IDS_ERROR9", {"okButton"}, "okButton", 0, true},
    };
    return rows;
}

void WindowStateTest::dialogKinds_data() {
    QTest::addColumn<int>("row");
    for (size_t i = 0; i < DialogRows().size(); ++i) QTest::newRow(DialogRows()[i].name) << int(i);
}

// What the dialog showed while it was open.
struct DialogSeen {
    int kind = -1;
    QString body;
    std::vector<std::string> buttons;  // the visible ones
    bool third = false, link = false, stayedOpen = false;
};

DialogSeen LookAndAnswer(QWidget* dialog, const DialogRow& row) {
    DialogSeen seen;
    seen.kind = Session().messageKind;
    seen.body = dialog->findChild<CXStatic*>("body")->text();
    for (const char* name : {"yesButton", "noButton", "okButton", "cancelButton", "shareButton"})
        if (QWidget* button = dialog->findChild<QWidget*>(name); button && button->isVisible()) seen.buttons.push_back(name);
    seen.third = dialog->findChild<QWidget*>("third") != nullptr;
    seen.link = dialog->findChild<QWidget*>("reportLink") != nullptr;
    Screenshot(*dialog, QString("dialog_") + row.name);
    // Neither Esc nor the window manager's close answers it.
    QTest::keyClick(dialog, Qt::Key_Escape);
    dialog->close();
    QCoreApplication::processEvents();
    seen.stayedOpen = dialog->isVisible() && Session().messageKind == row.kind;
    QTest::mouseClick(dialog->findChild<QWidget*>(row.press), Qt::LeftButton);
    return seen;
}

// Each dialog is raised by a worker thread, as the driver raises it, and
// answered on the GUI thread.
void WindowStateTest::dialogKinds() {
    QFETCH(int, row);
    WindowHarness h;
    const DialogRow& expected = DialogRows()[size_t(row)];
    RepairSession& s = Session();
    s.lastAnswer = 1;
    QSignalSpy reports(&h.frame(), &CMainFrame::reportRequested);
    DialogSeen seen;
    WhenDialogOpens([&](QWidget* dialog) { seen = LookAndAnswer(dialog, expected); });
    std::atomic<bool> returned{false};
    std::thread worker([&] {
        const bool question = expected.kind <= kCancelConfirmation;
        s.Ui().showMessage(expected.kind, expected.textKey, question ? "IDS_CONFIRMATION" : "IDS_INFORMATION",
                           question ? DialogButtons::YesNo : DialogButtons::Ok);
        returned = true;
    });
    QTRY_VERIFY_WITH_TIMEOUT(returned, HangLimitMs(10));
    worker.join();

    QCOMPARE(seen.kind, expected.kind);
    QCOMPARE(seen.body, Text(expected.textKey));
    QCOMPARE(seen.buttons, std::vector<std::string>(expected.buttons.begin(), expected.buttons.end()));
    QCOMPARE(seen.third, expected.thirdLine);
    QCOMPARE(seen.link, expected.buttons.size() == 2 && expected.kind > kCancelConfirmation);
    QVERIFY(seen.stayedOpen);
    QCOMPARE(s.lastAnswer.load(), expected.answer < 0 ? 1 : expected.answer);
    QCOMPARE(s.messageKind.load(), int(kNoMessage));
    QCOMPARE(reports.count(), expected.answer < 0 ? 1 : 0);
}

// The offer follows the texts of the language in force, whatever their case;
// a key the language lacks counts as an empty text.
void WindowStateTest::reportOfferComparesTheFailureTexts() {
    WindowHarness h;
    const QString unrepairable = Text("IDS_UNHEALTHY_1");
    QVERIFY(CMessageDlg::OffersReport(kInformation, Text("IDS_MOVERROR4").toUpper()));
    QVERIFY(CMessageDlg::OffersReport(kDiskSpace, unrepairable));
    QVERIFY(!CMessageDlg::OffersReport(kInformation, Text("IDS_AVIERROR7")));
    QVERIFY(!CMessageDlg::OffersReport(kCancelConfirmation, unrepairable));
    QVERIFY(!CMessageDlg::OffersReport(kInformation, QString()));

    const std::string lacking = h.dir().file("lg/lacking.ini");
    const std::vector<uint8_t> english = ReadAll(h.dir().file("lg/eng.ini"));
    std::string text(english.begin(), english.end());
    text.erase(text.find("IDS_UNHEALTHY_1="), text.find('\n', text.find("IDS_UNHEALTHY_1=")) - text.find("IDS_UNHEALTHY_1=") + 1);
    WriteAll(lacking, std::vector<uint8_t>(text.begin(), text.end()));
    Language().languagePath = lacking;
    QVERIFY(CMessageDlg::OffersReport(kInformation, QString()));
    QVERIFY(!CMessageDlg::OffersReport(kInformation, unrepairable));
}

void WindowStateTest::fontDivisorTable_data() {
    QTest::addColumn<int>("dpiX");
    QTest::addColumn<int>("dpiY");
    QTest::addColumn<int>("pixelsA");  // of a 20-point font, row A
    QTest::addColumn<int>("pixelsB");  // of a 10-point font, row B
    QTest::newRow("96 is in no bracket") << 96 << 96 << 27 << 14;
    QTest::newRow("120 takes the first") << 120 << 120 << 26 << 13;
    QTest::newRow("126 itself takes none") << 126 << 126 << 35 << 18;
    QTest::newRow("140 takes the second") << 140 << 140 << 27 << 14;
    QTest::newRow("both must lie inside") << 120 << 140 << 39 << 20;
    QTest::newRow("250 takes the last") << 250 << 250 << 38 << 19;
    QTest::newRow("251 takes none") << 251 << 251 << 70 << 36;
}

void WindowStateTest::fontDivisorTable() {
    QFETCH(int, dpiX);
    QFETCH(int, dpiY);
    QFETCH(int, pixelsA);
    QFETCH(int, pixelsB);
    QCOMPARE(BracketPixelHeight(20, dpiX, dpiY, DivisorRow::A), pixelsA);
    QCOMPARE(BracketPixelHeight(10, dpiX, dpiY, DivisorRow::B), pixelsB);
}

}  // namespace tolmi::test

TOLMI_WINDOW_TEST_MAIN(tolmi::test::WindowStateTest)
#include "WindowStateTest.moc"
