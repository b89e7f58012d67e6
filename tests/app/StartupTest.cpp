// The window program's start and its menus: one instance at a time, the
// crash record, the About box with the build's version, the language and
// help menus.

#include <signal.h>

#include <QAction>
#include <QLocalSocket>
#include <QMenu>
#include <QProcess>
#include <QtTest>
#include <filesystem>

#include "WindowHarness.h"
#include "app/Application.h"
#include "app/CXCmdBtn.h"
#include "app/CXStatic.h"
#include "app/SingleInstance.h"
#include "app/tmplayer/PlayerProtocol.h"
#include "platform/ProfileFile.h"
#include "workflow/Language.h"

namespace tolmi::test {

namespace fs = std::filesystem;

class StartupTest : public QObject {
    Q_OBJECT
private slots:
    void initTestCase() { UseOwnRuntimeDir(); }
    void aSecondStartTellsAndEndsWhileTheFirstRunsOn();
    void aCrashLeavesItsRecordWhereTheFolderExists_data();
    void aCrashLeavesItsRecordWhereTheFolderExists();
    void theMenusOfTheHeader_data();
    void theMenusOfTheHeader();

private:
    // The real window program, offscreen, with home and runtime folders of the test.
    std::unique_ptr<QProcess> startWindowProgram(const TempDir& home) {
        auto process = std::make_unique<QProcess>();
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "offscreen");
        environment.insert("HOME", QString::fromStdString(home.path()));
        environment.remove("XDG_DATA_HOME");
        process->setProcessEnvironment(environment);
        process->start(TOLMI_BIN_DIR "/tolmi-video-repair", {});
        return process;
    }
    static bool WindowAnswers() {
        QLocalSocket socket;
        socket.connectToServer(player::WindowServerName());
        return socket.waitForConnected(200);
    }
};

void StartupTest::aSecondStartTellsAndEndsWhileTheFirstRunsOn() {
    TempDir home;
    const auto first = startWindowProgram(home);
    QTRY_VERIFY_WITH_TIMEOUT(WindowAnswers(), HangLimitMs(20));

    QString title = "unset", text;
    ReadNextMessageBox(title, text);
    SingleInstance second;
    QVERIFY2(!second.claim(), "a second start must end (with code 0)");
    QCOMPARE(text, QString(kAlreadyRunning));
    QCOMPARE(title, QString());  // no language is known yet
    QCOMPARE(first->state(), QProcess::Running);
    QVERIFY(WindowAnswers());
    first->kill();
    first->waitForFinished();
}

void StartupTest::aCrashLeavesItsRecordWhereTheFolderExists_data() {
    QTest::addColumn<bool>("folderExists");
    QTest::newRow("folder") << true;
    QTest::newRow("no folder") << false;
}

// The record is left by the real program, crashed from outside.
void StartupTest::aCrashLeavesItsRecordWhereTheFolderExists() {
    QFETCH(bool, folderExists);
    TempDir home;
    const fs::path folder = fs::path(home.path()) / ".local/share/Tolmi/videorepair";
    if (folderExists) fs::create_directories(folder);
    const auto window = startWindowProgram(home);
    QTRY_VERIFY_WITH_TIMEOUT(WindowAnswers(), HangLimitMs(20));
    ::kill(pid_t(window->processId()), SIGSEGV);
    QVERIFY(window->waitForFinished(HangLimitMs(20)));
    QCOMPARE(window->exitStatus(), QProcess::CrashExit);  // the crash goes on after the record

    const fs::path record = folder / "new.dmp";
    QCOMPARE(fs::exists(record), folderExists);
    if (!folderExists) return;
    const auto bytes = ReadAll(record.string());
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(bytes.data()), qsizetype(bytes.size()));
    QVERIFY2(text.contains("signal 11 (SEGV)"), qPrintable(text));
    QVERIFY(text.contains("fault address 0x"));
    const qsizetype frames = text.mid(text.indexOf("backtrace:")).count('\n');
    QVERIFY2(frames >= 3, qPrintable(text));
}

void StartupTest::theMenusOfTheHeader_data() {
    QTest::addColumn<QString>("updateProgram");
    QTest::addColumn<QString>("updateMessage");  // what Update shows
    QTest::newRow("no update program") << QString() << QString();
    QTest::newRow("an update program") << QString("/usr/bin/true") << QString();
    QTest::newRow("a missing update program") << QString("/nowhere/update") << "The specified file was not found.";
}

void StartupTest::theMenusOfTheHeader() {
    QFETCH(QString, updateProgram);
    QFETCH(QString, updateMessage);
    const bool screenshots = updateProgram.isEmpty();
    WindowHarness h;
    if (!updateProgram.isEmpty())
        WriteProfileString(Language().settingsPath, kProfileSection, "UPD", updateProgram.toStdString());
    AttachCompanions(h.frame(), nullptr);
    auto openMenu = [&](const char* button, const char* name) {
        h.click(button);
        QMenu* menu = nullptr;
        const bool open = QTest::qWaitFor([&] { return (menu = h.frame().findChild<QMenu*>(name)) && menu->isVisible(); });
        return open ? menu : nullptr;
    };
    auto entries = [](QMenu* menu) {
        QStringList texts;
        for (QAction* action : menu->actions()) texts << action->text();
        return texts;
    };

    QMenu* menu = openMenu("helpButton", "helpMenu");
    QVERIFY(menu);
    QCOMPARE(entries(menu), (QStringList{"&Help", "&Support", "&About"}));
    if (screenshots) ScreenshotOfScreen(h.frame(), "menu_help");
    QString version;
    WhenDialogOpens([&](QWidget* about) {
        version = about->findChild<CXStatic*>("aboutVersion")->text();
        if (screenshots) Screenshot(*about, "about_box");
        QTest::mouseClick(about->findChild<CXCmdBtn*>("okButton"), Qt::LeftButton);
    });
    menu->actions().last()->trigger();
    QCOMPARE(version, QString::fromStdString(LoadText("IDS_VERSION_TEXT")) + " " TOLMI_EXPECTED_VERSION);

    menu = openMenu("menuButton", "mainMenu");
    QVERIFY(menu);
    const QStringList expected = updateProgram.isEmpty() ? QStringList{"&Language"} : QStringList{"&Language", "Update"};
    QCOMPARE(entries(menu), expected);
    if (!updateProgram.isEmpty()) {
        // A started program shows nothing (a box would hold the test up);
        // one that cannot start is told.
        QString title, text;
        if (!updateMessage.isEmpty()) ReadNextMessageBox(title, text);
        menu->actions().last()->trigger();
        QCOMPARE(text, updateMessage);
        return;
    }
    auto* languages = menu->findChild<QMenu*>("languageMenu");
    QCOMPARE(languages->actions().size(), 6);
    menu->setActiveAction(menu->actions().first());
    QTRY_VERIFY(languages->isVisible());
    ScreenshotOfScreen(h.frame(), "menu_language");
    // German, at once in the fixed texts and in those of the state.
    languages->actions().at(2)->trigger();
    menu->close();
    QCOMPARE(h.find<CXCmdBtn>("addFileButton")->text(), QString("Datei hinzufügen"));
    QCOMPARE(h.find<CXStatic>("titleLabel")->text(), QString("Video zum Reparieren auswählen"));
    // The longer German hint is shown whole.
    auto* hint = h.find<CXStatic>("addHintLabel");
    QVERIFY(hint->fontMetrics().horizontalAdvance(hint->text()) <= hint->width());
    Screenshot(h.frame(), "idle_german");
}

}  // namespace tolmi::test

TOLMI_WINDOW_TEST_MAIN(tolmi::test::StartupTest)
#include "StartupTest.moc"
