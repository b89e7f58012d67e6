#include "app/CXStatic.h"

#include <QPainter>

namespace tolmi {

CXStatic::CXStatic(QWidget* parent, int cellHeight, QColor textColor, QColor background, const char* face,
                   int weight)
    : QWidget(parent), textColor_(textColor), background_(background) {
    setFont(CellFont(cellHeight, face, weight));
    setAttribute(Qt::WA_OpaquePaintEvent);
}

void CXStatic::setText(const QString& text) {
    if (text == text_) return;
    text_ = text;
    update();
}

void CXStatic::setTextColor(QColor color) {
    textColor_ = color;
    update();
}

void CXStatic::setAlignment(Qt::Alignment alignment) {
    alignment_ = alignment;
    update();
}

void CXStatic::setUnderline(bool underline) {
    QFont underlined = font();
    underlined.setUnderline(underline);
    setFont(underlined);
}

void CXStatic::setWordWrap(bool wrap) {
    lineMode_ = wrap ? Qt::TextWordWrap : Qt::TextSingleLine;
    update();
}

int CXStatic::textHeight() const {
    return fontMetrics().boundingRect(QRect(0, 0, width(), 10000), int(alignment_) | lineMode_, text_).height();
}

void CXStatic::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.fillRect(rect(), background_);
    painter.setPen(textColor_);
    painter.drawText(rect(), int(alignment_) | lineMode_, text_);
}

}  // namespace tolmi
