#include "app/CHyperLink.h"

#include <QDesktopServices>
#include <QMessageBox>
#include <QMouseEvent>
#include <QUrl>

namespace tolmi {

CHyperLink::CHyperLink(QWidget* parent, int cellHeight, QColor linkColor, QColor background)
    : CXStatic(parent, cellHeight, linkColor, background) {
    setUnderline(true);
    setCursor(Qt::PointingHandCursor);
}

void CHyperLink::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton || !rect().contains(event->position().toPoint())) return;
    if (target_.isEmpty()) {
        emit activated();
        return;
    }
    if (!QDesktopServices::openUrl(QUrl(target_)))
        QMessageBox::critical(this, QString(), tr("The address could not be opened: %1").arg(target_));
}

}  // namespace tolmi
