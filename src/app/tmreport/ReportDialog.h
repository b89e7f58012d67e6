#pragma once
// tmreport: the problem report of a file that could not be repaired. It
// takes "product$file$extra" from its command line, shows the product and
// the file, and saves a plain-text report where the user chooses. Nothing
// is sent anywhere.

#include <QDialog>
#include <QStringList>

namespace tolmi::report {

struct ReportInput {
    QString product, fileName, extra;
    QString filePath;           // the file's full path, when the window gave it
    QStringList lastMessages;   // the window's last messages, oldest first
};
// The argument's three fields, and what the window's environment adds.
ReportInput ReadInput(const QString& argument);

// The report's text: program version, system, the file's name and size,
// and the last messages.
QString ReportText(const ReportInput& input);

class ReportDialog : public QDialog {
    Q_OBJECT
public:
    explicit ReportDialog(ReportInput input);
    // Writes the report to path whole, or not at all; false on failure.
    bool saveTo(const QString& path);

private:
    void askWhereAndSave();

    ReportInput input_;
};

}  // namespace tolmi::report
