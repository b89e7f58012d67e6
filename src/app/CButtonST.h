#pragma once
// A picture button: one picture at rest, another when the mouse is over
// it, a tool tip, and no text.

#include <QAbstractButton>
#include <QPixmap>

namespace tolmi {

class CButtonST : public QAbstractButton {
    Q_OBJECT
public:
    // A background that is not valid leaves the parent's colour under the picture.
    CButtonST(QWidget* parent, const QPixmap& normal, const QPixmap& hot, const QString& toolTip,
              QColor background = QColor());
    void setPictures(const QPixmap& normal, const QPixmap& hot);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap normal_, hot_;
    QColor background_;
};

}  // namespace tolmi
