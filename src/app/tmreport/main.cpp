// tmreport: the problem report of the file named in its one argument.

#include <QApplication>

#include "app/tmreport/ReportDialog.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    app.setApplicationName("tmreport");
    app.setDesktopFileName("tolmi-video-repair");
    tolmi::report::ReportDialog dialog(tolmi::report::ReadInput(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString()));
    dialog.show();
    return app.exec();
}
