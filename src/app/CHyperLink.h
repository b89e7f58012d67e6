#pragma once
// A link in text: underlined, a hand cursor, one colour for link, visited
// and hover. With a target it opens the address in the browser; without
// one it only says it was clicked, and its owner acts.

#include "app/CXStatic.h"

namespace tolmi {

class CHyperLink : public CXStatic {
    Q_OBJECT
public:
    CHyperLink(QWidget* parent, int cellHeight, QColor linkColor, QColor background);

    void setTarget(const QString& address) { target_ = address; }

signals:
    void activated();

protected:
    void mouseReleaseEvent(QMouseEvent* event) override;

private:
    QString target_;
};

}  // namespace tolmi
