// tmplayer: plays the repaired file that the window names on its command line.

#include <QApplication>

#include "app/tmplayer/PlayerWindow.h"

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    app.setApplicationName("tmplayer");
    app.setDesktopFileName("tolmi-video-repair");
    tolmi::player::PlayerWindow window(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QString());
    window.show();
    window.listen();
    return app.exec();
}
