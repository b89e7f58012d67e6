#pragma once
// The colours of the window, named once. Written as Qt's red-green-blue
// values.

#include <QColor>
#include <QRect>

namespace tolmi::look {

inline const QColor kHeaderBlue{0x05, 0x50, 0x93};
inline const QColor kBand{0xf7, 0xf7, 0xf7};
inline const QColor kWhite{Qt::white};
inline const QColor kText{0x4b, 0x4b, 0x4b};
inline const QColor kDialogText{0x3c, 0x3c, 0x3c};
inline const QColor kSelectedGreen{0x22, 0x8b, 0x22};
inline const QColor kPromptRed{0xff, 0x00, 0x00};
inline const QColor kBar{0x23, 0xb9, 0x49};
inline const QColor kBarBackground{0xeb, 0xeb, 0xeb};
inline const QColor kDialogFoot{0xeb, 0xeb, 0xeb};
inline const QColor kDialogFrame{0xac, 0xac, 0xac};

// The command buttons' gradients.
inline const QColor kButtonDark{0x4c, 0x4c, 0x4c};
inline const QColor kButtonLight{0xf5, 0xf5, 0xf5};
inline const QColor kButtonMid{0xc8, 0xc8, 0xc8};
inline const QColor kButtonSlate{0x99, 0x88, 0x77};

// A rectangle given by its edges, right and bottom outside it.
inline QRect Ltrb(int left, int top, int right, int bottom) { return QRect(left, top, right - left, bottom - top); }

}  // namespace tolmi::look
