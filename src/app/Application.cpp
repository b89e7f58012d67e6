#include "app/Application.h"

#include <QApplication>
#include <QIcon>

#include "app/AppFonts.h"
#include "app/Artwork.h"

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

}  // namespace tolmi
