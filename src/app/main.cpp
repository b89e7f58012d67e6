// The window program: the same core as the console's, shown in a window.
// Start-up runs in a fixed order: the crash record, one instance, the
// language and settings, then the window, centred.

#include <QApplication>
#include <QScreen>

#include "app/Application.h"
#include "app/CMainFrame.h"
#include "app/CrashRecord.h"
#include "app/QtWorkflowUi.h"
#include "app/SingleInstance.h"
#include "workflow/Language.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"

int main(int argc, char** argv) {
    tolmi::InstallCrashRecord();
    QApplication app(argc, argv);
    tolmi::PrepareApplication(app);
    tolmi::SingleInstance instance;
    if (!instance.claim()) return 0;
    tolmi::loadLanguage();
    tolmi::CMainFrame frame;
    tolmi::QtWorkflowUi ui(frame);
    tolmi::Session().ui = &ui;
    tolmi::AttachCompanions(frame, instance.server());
    if (const QScreen* screen = frame.screen()) frame.move(screen->availableGeometry().center() - frame.rect().center());
    frame.show();
    const int code = app.exec();
    tolmi::waitForWorker();
    tolmi::Session().ui = nullptr;
    return code;
}
