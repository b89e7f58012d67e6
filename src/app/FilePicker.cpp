#include "app/FilePicker.h"

#include <QFileDialog>

namespace tolmi {
namespace {

QString Filter(FilePick pick) {
    switch (pick) {
        // "*divx" has no point: any name that ends so is offered.
        case FilePick::Corrupted: return QStringLiteral("Video Files (*.avi *divx *.xvid *.mov *.mp4)");
        case FilePick::Reference: return QStringLiteral("Mov Files (*.mov *.mp4)");
        case FilePick::SaveMov: return QStringLiteral("Movie File (*.mov)");
        case FilePick::SaveAvi: return QStringLiteral("AVI File (*.avi)");
    }
    return {};
}

}  // namespace

QString PickWithFileDialog(QWidget* parent, FilePick pick, const QString& proposedName) {
    QFileDialog dialog(parent, QString(), QString(), Filter(pick));
    if (pick == FilePick::SaveMov || pick == FilePick::SaveAvi) {
        // The dialog asks before it lets an existing file be chosen.
        dialog.setAcceptMode(QFileDialog::AcceptSave);
        dialog.setDefaultSuffix(pick == FilePick::SaveMov ? "mov" : "avi");
        dialog.selectFile(proposedName);
    } else {
        dialog.setFileMode(QFileDialog::ExistingFile);
    }
    if (dialog.exec() != QDialog::Accepted || dialog.selectedFiles().isEmpty()) return {};
    return dialog.selectedFiles().first();
}

}  // namespace tolmi
