#pragma once
// A label of the program's own look: a solid background, one font given by
// its cell height, one colour; one line, or wrapped at word ends.

#include <QWidget>

#include "app/AppFonts.h"

namespace tolmi {

class CXStatic : public QWidget {
    Q_OBJECT
public:
    CXStatic(QWidget* parent, int cellHeight, QColor textColor, QColor background, const char* face = kFace,
             int weight = 400);

    void setText(const QString& text);
    QString text() const { return text_; }
    void setTextColor(QColor color);
    void setAlignment(Qt::Alignment alignment);
    void setUnderline(bool underline);
    void setWordWrap(bool wrap);
    // The height its text takes at its width.
    int textHeight() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QString text_;
    QColor textColor_;
    QColor background_;
    Qt::Alignment alignment_ = Qt::AlignLeft | Qt::AlignVCenter;
    int lineMode_ = Qt::TextSingleLine;
};

}  // namespace tolmi
