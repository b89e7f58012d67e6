#include "app/CXCmdBtn.h"

#include <QLinearGradient>
#include <QPainter>
#include <algorithm>

#include "app/AppFonts.h"
#include "app/Look.h"

namespace tolmi {
namespace {

struct Face {
    QColor top, bottom, border, text;
};

// Light grey gradient at rest; the dark face when hot; the gradient turned
// over when pressed; flat and faint when disabled.
Face FaceFor(bool enabled, bool hot, bool pressed) {
    using namespace look;
    if (!enabled) return {kButtonLight, kButtonLight, kButtonMid, kButtonMid.darker(120)};
    if (pressed) return {kButtonDark, kButtonDark.lighter(160), kButtonDark, kButtonLight};
    if (hot) return {kButtonDark.lighter(160), kButtonDark, kButtonDark, kButtonLight};
    return {kButtonLight, kButtonMid, kButtonSlate, kButtonDark};
}

}  // namespace

CXCmdBtn::CXCmdBtn(QWidget* parent, const QString& text) : QAbstractButton(parent) {
    setText(text);
    setFont(BracketFont(10, 600, kSemiboldFace, DivisorRow::B));
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
}

void CXCmdBtn::paintEvent(QPaintEvent*) {
    const Face face = FaceFor(isEnabled(), underMouse(), isDown());
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect(), parentWidget() ? parentWidget()->palette().window() : QBrush(look::kWhite));
    const QRectF body = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QLinearGradient gradient(body.topLeft(), body.bottomLeft());
    gradient.setColorAt(0, face.top);
    gradient.setColorAt(1, face.bottom);
    painter.setPen(QPen(face.border, 1));
    painter.setBrush(gradient);
    painter.drawRoundedRect(body, 4, 4);
    painter.setPen(face.text);
    painter.setFont(FontThatFits());
    painter.drawText(rect(), Qt::AlignCenter | Qt::TextSingleLine, text());
}

// A language whose word is wider than the button gets a smaller face, not
// a word cut at both ends.
QFont CXCmdBtn::FontThatFits() const {
    QFont fitting = font();
    const int room = width() - 2 * kTextMargin;
    const int needed = fontMetrics().horizontalAdvance(text());
    if (needed > room && room > 0 && fitting.pixelSize() > 0)
        fitting.setPixelSize(std::max(1, fitting.pixelSize() * room / needed));
    return fitting;
}

}  // namespace tolmi
