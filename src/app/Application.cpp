#include "app/Application.h"

#include <QApplication>
#include <QIcon>

#include "app/AppFonts.h"
#include "app/AppMenus.h"
#include "app/Artwork.h"
#include "app/CMainFrame.h"
#include "app/PreviewControl.h"
#include "app/ProblemReport.h"

namespace tolmi {

void PrepareApplication(QApplication& app) {
    app.setApplicationName("Tolmi Video Repair");
    app.setApplicationVersion(TOLMI_VERSION);
    app.setDesktopFileName("tolmi-video-repair");
    InstallFontSubstitutes();
    QIcon icon;
    for (qreal ratio : {1.0, 2.0}) icon.addPixmap(DrawArt(Art::AppIcon, false, ratio));
    app.setWindowIcon(icon);
}

void AttachCompanions(CMainFrame& frame, QLocalServer* server) {
    new AppMenus(frame);
    auto* preview = new PreviewControl(&frame, server);
    QObject::connect(&frame, &CMainFrame::previewRequested, preview, &PreviewControl::startPreview);
    frame.setPreviewEnd([preview] { preview->endPreview(); });
    auto* report = new ProblemReport(&frame);
    QObject::connect(&frame, &CMainFrame::reportRequested, report, &ProblemReport::start);
}

}  // namespace tolmi
