#pragma once
// The command button of all sections and dialogs: drawn by the program,
// with a look for normal, hot (the mouse over it), pressed and disabled.

#include <QAbstractButton>

namespace tolmi {

class CXCmdBtn : public QAbstractButton {
    Q_OBJECT
public:
    CXCmdBtn(QWidget* parent, const QString& text);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    static constexpr int kTextMargin = 8;  // free on each side of the text
    QFont FontThatFits() const;
};

}  // namespace tolmi
