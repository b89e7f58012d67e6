#pragma once
// The one dialog of every question and message: a blue title band, a sign,
// the caption and the text, and the buttons of the kind (1 and 2 ask Yes or
// No; 3 to 5 tell, with OK). A text that says a file cannot be repaired
// offers a problem report instead of the OK button. The answer lands in the
// session's lastAnswer; Esc and the window manager's close do nothing.

#include <QDialog>

namespace tolmi {

class CXCmdBtn;
class CXStatic;

class CMessageDlg : public QDialog {
    Q_OBJECT
public:
    CMessageDlg(const QString& body, const QString& caption, int kind, QWidget* parent);

    // True when the body is one of the texts that a file cannot be repaired.
    static bool OffersReport(int kind, const QString& body);

signals:
    // The link or Share: the problem report of the corrupted file.
    void reportRequested();

public slots:
    void reject() override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private:
    // Every way out: the answer (or none, for the report), messageKind back to 0.
    void finish(int answer);
    CXCmdBtn* addButton(const char* name, const char* key, int left, int answer);
    void makeRoomForBody(CXStatic* bodyLabel);

    int kind_;
    int extra_ = 0;  // pixels the body needs beyond the layout's own
};

}  // namespace tolmi
