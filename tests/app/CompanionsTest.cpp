// The programs beside the window: the player (its socket protocol, a real
// repaired file playing, a missing or silent player) and the problem
// report.

#include <QLocalServer>
#include <QLocalSocket>
#include <QPainter>
#include <QProcess>
#include <QSlider>
#include <QVideoFrame>
#include <QVideoSink>
#include <QtTest>
#include <filesystem>

#include "MovFixtures.h"
#include "WindowHarness.h"
#include "app/Application.h"
#include "app/PreviewControl.h"
#include "app/tmplayer/PlayerProtocol.h"
#include "app/tmplayer/PlayerWindow.h"
#include "app/tmreport/ReportDialog.h"
#include "workflow/Language.h"
#include "workflow/RepairSession.h"

namespace tolmi::test {

namespace fs = std::filesystem;

class CompanionsTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { UseOwnRuntimeDir(); }
    void theStartRecordRoundTripsByteForByte_data();
    void theStartRecordRoundTripsByteForByte();
    void thePlayerPlaysARepairedFileAndClosesWhenAsked();
    void aMissingPlayerIsTold();
    void aPlayerThatNeverAnswersDoesNotHoldTheWindow();
    void theReportHoldsTheFieldsOfItsArgument();

private:
    // A damaged recording repaired by the console program against its reference.
    static std::string RepairedFile(const TempDir& dir) {
        const MovRecipe recipe = H264AacRecipe("mp4", false);
        const std::string reference = MakeMovReference(recipe), recording = MakeMovRecording(recipe);
        const std::string damaged = dir.file("damaged.mp4"), repaired = dir.file("repaired.mp4");
        if (reference.empty() || recording.empty() || !CopyWithZeroedAtom(recording, damaged, "moov")) return {};
        const int status = RunCommand(TOLMI_BIN_DIR "/tolmi-repair --quiet " + ShellQuote(damaged) + " --reference " +
                                      ShellQuote(reference) + " --output " + ShellQuote(repaired));
        return status == 0 ? repaired : std::string();
    }
};

void CompanionsTest::theStartRecordRoundTripsByteForByte_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("carried");  // what fits in the record's 259 characters
    const QString longPath = "/home/user/" + QString(300, QChar('x')) + ".mov";
    QTest::newRow("plain") << "/home/user/.cache/tolmi-video-repair/$tmp/Repaired.mov"
                           << "/home/user/.cache/tolmi-video-repair/$tmp/Repaired.mov";
    QTest::newRow("not ASCII") << QString("/home/jürgen/Видео/日本.mov") << QString("/home/jürgen/Видео/日本.mov");
    QTest::newRow("longer than the record") << longPath << longPath.left(259);
}

void CompanionsTest::theStartRecordRoundTripsByteForByte() {
    QFETCH(QString, path);
    QFETCH(QString, carried);
    const QByteArray record = player::EncodeStartRecord(path);
    QCOMPARE(record.size(), 536);
    QCOMPARE(quint8(record[532]), quint8(path.size() % 256));  // the length, cut to 8 bits
    for (int at = 2 * int(carried.size()); at < 536; ++at)
        if (at != 532) QVERIFY2(record[at] == 0, qPrintable(QString::number(at)));
    QCOMPARE(player::DecodeStartRecord(record).value_or("none"), carried);
    if (carried == path) QCOMPARE(player::EncodeStartRecord(carried), record);
    QVERIFY(!player::DecodeStartRecord(record.first(535)));

    // Through the socket framing, split anywhere.
    QByteArray stream = QByteArray(1, player::kStartTag) + record + player::kCloseTag;
    QByteArray buffer = stream.left(100);
    QVERIFY(!player::TakeMessage(buffer));
    buffer += stream.mid(100);
    QCOMPARE(player::TakeMessage(buffer)->record, record);
    QCOMPARE(player::TakeMessage(buffer)->tag, player::kCloseTag);
}

void CompanionsTest::thePlayerPlaysARepairedFileAndClosesWhenAsked() {
#if defined(__SANITIZE_ADDRESS__)
    QSKIP("GStreamer and PulseAudio keep memory to the end of the process, which LeakSanitizer reports as lost; "
          "the player is played in the normal build");
#endif
    if (!HaveFfmpeg()) QSKIP("ffmpeg is not installed");
    const char* plugins = "/usr/lib/x86_64-linux-gnu/gstreamer-1.0/";
    if (!fs::exists(std::string(plugins) + "libgstlibav.so") || !fs::exists(std::string(plugins) + "libgstisomp4.so"))
        QSKIP("no GStreamer decoder for H.264 in MP4: install gstreamer1.0-plugins-good and gstreamer1.0-libav");
    TempDir dir;
    const std::string repaired = RepairedFile(dir);
    QVERIFY(!repaired.empty());
    const QString descriptor = QString::fromStdString(repaired) + "$$clip_0042.mp4$$1.25 MB$$4321$$98765$$0";

    {  // In this process, where its frames can be watched.
        player::PlayerWindow window(descriptor);
        QImage frame;
        connect(window.videoSink(), &QVideoSink::videoFrameChanged, &window, [&](const QVideoFrame& f) {
            if (f.isValid()) frame = f.toImage();
        });
        window.show();
        QTRY_VERIFY_WITH_TIMEOUT(!frame.isNull(), HangLimitMs(30));
        QTRY_VERIFY_WITH_TIMEOUT(window.mediaPlayer().position() > 500, HangLimitMs(30));
        QVERIFY(window.findChild<QSlider*>("position")->value() > 0);
        QCOMPARE(window.windowTitle(), QString("tmplayer"));
        QVERIFY(window.findChild<QWidget*>("fileInfo")->property("text").toString().contains("clip_0042.mp4"));
        // A video widget grabs blank: the frame is drawn where it shows.
        QPixmap picture = window.grab();
        QPainter painter(&picture);
        const QRect area = window.videoArea()->geometry();
        const QImage scaled = frame.scaled(area.size(), Qt::KeepAspectRatio, Qt::SmoothTransformation);
        painter.fillRect(area, Qt::black);
        painter.drawImage(area.center() - scaled.rect().center(), scaled);
        painter.end();
        QDir().mkpath(TOLMI_SCREENSHOT_DIR);
        QVERIFY(picture.save(TOLMI_SCREENSHOT_DIR "/player_playing.png"));
    }

    // The program itself: it says it has started, and closes on request.
    QLocalServer window;
    QVERIFY(window.listen(player::WindowServerName()));
    QProcess playerProgram;
    playerProgram.setProcessEnvironment([] {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        return environment;
    }());
    playerProgram.start(TOLMI_BIN_DIR "/tmplayer", {descriptor});
    QVERIFY(window.waitForNewConnection(HangLimitMs(20)));
    QLocalSocket* started = window.nextPendingConnection();
    QTRY_VERIFY_WITH_TIMEOUT(started->bytesAvailable() > 0 || started->waitForReadyRead(100), HangLimitMs(5));
    QCOMPARE(started->readAll(), QByteArray(1, player::kStartedTag));
    PreviewControl::closePlayer();
    QVERIFY(playerProgram.waitForFinished(HangLimitMs(10)));
    QCOMPARE(playerProgram.exitStatus(), QProcess::NormalExit);
    QCOMPARE(playerProgram.exitCode(), 0);
}

void CompanionsTest::aMissingPlayerIsTold() {
    WindowHarness h;  // its module folder has no player
    PreviewControl preview(&h.frame(), nullptr);
    QString title, text;
    ReadNextMessageBox(title, text);
    preview.startPreview();
    QCOMPARE(text, QString("The specified file was not found."));
    QCOMPARE(title, QString::fromStdString(LoadText("IDS_RUNNING3")));
    QCOMPARE(int(Session().previewRunning), 1);  // until Home, Close or Save
    h.click("homeHeaderButton");
    QCOMPARE(int(Session().previewRunning), 0);
}

// A player that takes the close request and says nothing: the window goes on.
void CompanionsTest::aPlayerThatNeverAnswersDoesNotHoldTheWindow() {
    QLocalServer silent;
    QVERIFY(silent.listen(player::PlayerServerName()));
    Session().previewRunning = 1;
    PreviewControl(nullptr, nullptr).endPreview();
    QVERIFY(silent.waitForNewConnection(0) || silent.hasPendingConnections());
    QLocalSocket* request = silent.nextPendingConnection();
    QVERIFY(request->waitForReadyRead(1000) || request->bytesAvailable() > 0);
    QCOMPARE(request->readAll(), QByteArray(1, player::kCloseTag));
    QCOMPARE(int(Session().previewRunning), 0);
}

void CompanionsTest::theReportHoldsTheFieldsOfItsArgument() {
    TempDir dir;
    const std::string file = dir.file("clip$0042.mov");
    WriteAll(file, std::vector<uint8_t>(12345, 7));
    qputenv("TOLMI_REPORT_FILE", QByteArray::fromStdString(file));
    qputenv("TOLMI_REPORT_MESSAGES", "Information: The file could not be repaired.\nConfirmation: Cancel the repair?");
    report::ReportDialog dialog(report::ReadInput("Tolmi Video Repair$clip$0042.mov$null"));
    dialog.show();
    Screenshot(dialog, "report_dialog");
    const QString target = QString::fromStdString(dir.file("report.txt"));
    QVERIFY(dialog.saveTo(target));
    QFile saved(target);
    QVERIFY(saved.open(QIODevice::ReadOnly));
    const QString text = QString::fromUtf8(saved.readAll());
    for (const QString& line : {QString("Problem report: Tolmi Video Repair"), QString("Program version: " TOLMI_EXPECTED_VERSION),
                                QString("File name: clip$0042.mov"), QString("File size: 12345 bytes"),
                                QString("  Information: The file could not be repaired."),
                                QString("  Confirmation: Cancel the repair?")})
        QVERIFY2(text.split('\n').contains(line), qPrintable(line + " in\n" + text));
    QVERIFY(text.contains("System: " + QSysInfo::prettyProductName()));
    qunsetenv("TOLMI_REPORT_FILE");
    qunsetenv("TOLMI_REPORT_MESSAGES");
}

}  // namespace tolmi::test

TOLMI_WINDOW_TEST_MAIN(tolmi::test::CompanionsTest)
#include "CompanionsTest.moc"
