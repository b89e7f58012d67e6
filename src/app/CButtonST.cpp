#include "app/CButtonST.h"

#include <QPainter>

namespace tolmi {

CButtonST::CButtonST(QWidget* parent, const QPixmap& normal, const QPixmap& hot, const QString& toolTip,
                     QColor background)
    : QAbstractButton(parent), normal_(normal), hot_(hot), background_(background) {
    setToolTip(toolTip);
    setAttribute(Qt::WA_Hover);
    setFocusPolicy(Qt::NoFocus);
    setCursor(Qt::PointingHandCursor);
}

void CButtonST::setPictures(const QPixmap& normal, const QPixmap& hot) {
    normal_ = normal;
    hot_ = hot;
    update();
}

void CButtonST::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (background_.isValid()) painter.fillRect(rect(), background_);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(rect(), underMouse() || isDown() ? hot_ : normal_);
}

}  // namespace tolmi
