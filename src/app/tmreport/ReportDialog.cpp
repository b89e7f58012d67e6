#include "app/tmreport/ReportDialog.h"

#include <QDialogButtonBox>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QFormLayout>
#include <QLabel>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSaveFile>
#include <QSysInfo>
#include <QVBoxLayout>

namespace tolmi::report {

ReportInput ReadInput(const QString& argument) {
    // The product and the extra field hold no "$"; a file name may.
    const qsizetype first = argument.indexOf('$'), last = argument.lastIndexOf('$');
    ReportInput input{argument.left(first), first < last ? argument.mid(first + 1, last - first - 1) : QString(),
                      first < last ? argument.mid(last + 1) : QString(), qEnvironmentVariable("TOLMI_REPORT_FILE"), {}};
    const QString messages = qEnvironmentVariable("TOLMI_REPORT_MESSAGES");
    if (!messages.isEmpty()) input.lastMessages = messages.split('\n');
    // A path for another file than the argument's is not this report's.
    if (QFileInfo(input.filePath).fileName() != input.fileName) input.filePath.clear();
    return input;
}

QString ReportText(const ReportInput& input) {
    const QFileInfo file(input.filePath);
    const QString size = !input.filePath.isEmpty() && file.exists() ? QString::number(file.size()) + " bytes" : "unknown";
    QStringList lines{
        "Problem report: " + input.product,
        "Program version: " TOLMI_VERSION,
        "System: " + QSysInfo::prettyProductName() + ", kernel " + QSysInfo::kernelVersion() + ", " +
            QSysInfo::currentCpuArchitecture(),
        "File name: " + input.fileName,
        "File size: " + size,
        "Last messages:",
    };
    if (input.lastMessages.isEmpty()) lines << "  (none)";
    for (const QString& message : input.lastMessages) lines << "  " + message;
    return lines.join('\n') + '\n';
}

ReportDialog::ReportDialog(ReportInput input) : input_(std::move(input)) {
    setWindowTitle(input_.product + " - problem report");
    setObjectName("reportDialog");
    auto* form = new QFormLayout;
    form->addRow("Product:", new QLabel(input_.product, this));
    form->addRow("File:", new QLabel(input_.fileName, this));
    auto* text = new QPlainTextEdit(ReportText(input_), this);
    text->setReadOnly(true);
    text->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);  // long lines wrap
    text->setObjectName("reportText");
    auto* hint = new QLabel("Save the report and send it to the maker's support with your own words.", this);
    hint->setWordWrap(true);
    auto* buttons = new QDialogButtonBox(QDialogButtonBox::Save | QDialogButtonBox::Close, this);
    connect(buttons->button(QDialogButtonBox::Save), &QPushButton::clicked, this, &ReportDialog::askWhereAndSave);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(hint);
    layout->addWidget(text, 1);
    layout->addWidget(buttons);
    resize(560, 400);
}

bool ReportDialog::saveTo(const QString& path) {
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) return false;
    file.write(ReportText(input_).toUtf8());
    return file.commit();
}

void ReportDialog::askWhereAndSave() {
    const QString proposal = QDir::home().filePath("Tolmi Video Repair report.txt");
    const QString path = QFileDialog::getSaveFileName(this, "Save the report", proposal, "Text files (*.txt)");
    if (path.isEmpty()) return;
    if (!saveTo(path)) QMessageBox::warning(this, windowTitle(), "The report could not be saved to " + path + ".");
}

}  // namespace tolmi::report
