// Writes the program's icon for installing: the SVG and PNGs of the
// hicolor sizes, drawn by the same code as the window's own icon.

#include <QDir>
#include <QGuiApplication>
#include <QPainter>
#include <QSvgGenerator>

#include "app/Artwork.h"

int main(int argc, char** argv) {
    QGuiApplication app(argc, argv);
    if (argc != 2) return 2;
    const QDir out(QString::fromLocal8Bit(argv[1]));
    const QSize size = tolmi::ArtSize(tolmi::Art::AppIcon);
    QSvgGenerator svg;
    svg.setFileName(out.filePath("tolmi-video-repair.svg"));
    svg.setSize(size);
    svg.setViewBox(QRect(QPoint(0, 0), size));
    svg.setTitle("Tolmi Video Repair");
    {
        QPainter painter(&svg);
        if (!painter.isActive()) return 1;
        tolmi::PaintArt(painter, tolmi::Art::AppIcon);
    }
    const QImage icon = tolmi::DrawArt(tolmi::Art::AppIcon).toImage();
    for (int side : {48, 128, 256}) {
        const QString name = out.filePath(QString("tolmi-video-repair-%1.png").arg(side));
        if (!icon.scaled(side, side, Qt::KeepAspectRatio, Qt::SmoothTransformation).save(name)) return 1;
    }
    return 0;
}
