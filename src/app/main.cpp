// The window program: the same core as the console's, shown in a window.

#include <QApplication>
#include <QScreen>

#include "app/Application.h"
#include "app/CMainFrame.h"
#include "app/QtWorkflowUi.h"
#include "workflow/Language.h"
#include "workflow/RepairDriver.h"
#include "workflow/RepairSession.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    tolmi::PrepareApplication(app);
    tolmi::loadLanguage();
    tolmi::CMainFrame frame;
    tolmi::QtWorkflowUi ui(frame);
    tolmi::Session().ui = &ui;
    if (const QScreen* screen = frame.screen()) frame.move(screen->availableGeometry().center() - frame.rect().center());
    frame.show();
    const int code = app.exec();
    tolmi::waitForWorker();
    tolmi::Session().ui = nullptr;
    return code;
}
