#pragma once
// Every picture of the window, drawn by the program itself with QPainter:
// sharp at any device pixel ratio and the same on every machine.

#include <QPixmap>

class QPainter;

namespace tolmi {

enum class Art {
    AppIcon,      // 256 x 256, scaled down for the small icon
    Logo,         // 340 x 48, white on the header's blue
    Close,        // the header's 24 x 24 buttons
    Maximize,
    Restore,
    Minimize,
    Menu,
    Help,
    Home,
    Welcome,      // 400 x 200, the idle page
    Busy,         // 400 x 200, while a job or save runs
    Preview,      // 441 x 309, the result's preview button
    Question,     // 70 x 62, the dialog's signs
    Information,
    DialogClose,  // 24 x 24, on the dialog's title band
};

QSize ArtSize(Art art);
// The picture at its size, for a screen of the given pixel ratio.
QPixmap DrawArt(Art art, bool hot = false, qreal devicePixelRatio = 1.0);
// The picture on any paint device, at its size (for the installed icon's SVG).
void PaintArt(QPainter& painter, Art art, bool hot = false);

}  // namespace tolmi
