#pragma once
// The narrow band under the header: one line that says what the user is to
// do, or what the program is doing.

#include <QWidget>

namespace tolmi {

class CXStatic;

class CXTopSection : public QWidget {
    Q_OBJECT
public:
    explicit CXTopSection(QWidget* parent);
    void setTitle(const QString& text);
    QString title() const;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    CXStatic* titleLabel_;
};

}  // namespace tolmi
