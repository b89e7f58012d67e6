#pragma once
// The About box: drawn like the message dialog, framed in grey on white,
// with the program's name, its version from the build, three links and OK.

#include <QDialog>

namespace tolmi {

class CAboutDlg : public QDialog {
    Q_OBJECT
public:
    explicit CAboutDlg(QWidget* parent);

protected:
    void paintEvent(QPaintEvent* event) override;
};

}  // namespace tolmi
