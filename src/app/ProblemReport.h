#pragma once
// The problem report: starts "reporting/tmreport" from the companions'
// folder with "Tolmi Video Repair$<file>$null". What the argument cannot
// carry (the file's full path, the program's last messages) goes along in
// its environment. A missing program is not told.

#include <QObject>
#include <QStringList>

namespace tolmi {

class ProblemReport : public QObject {
    Q_OBJECT
public:
    // Keeps the texts of the message dialogs shown in the application.
    explicit ProblemReport(QObject* parent);

    void start();
    const QStringList& lastMessages() const { return messages_; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QStringList messages_;
};

}  // namespace tolmi
